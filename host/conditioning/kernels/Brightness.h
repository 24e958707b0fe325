// How much brighter is a picture than its reference, how much have the two in common, and how does the reference follow?
// Rules for one block and loops over blocks. Called by BrightnessBalance.
//
// Luma of a reference is kept in 1/128 of a level: 0..32640.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr int referenceUnit = 128;  // of one level of luma
inline constexpr int ratioUnit = 4096;     // a ratio of 1
inline constexpr int largestRatio = 4 * ratioUnit, smallestRatio = ratioUnit / 4;
inline constexpr int lumaOffset = 8;   // levels that are added to light, so that noise near black makes no large ratios
inline constexpr int leastColour = 4;  // |Cb - 128| + |Cr - 128| of a block that has a colour; codecs leave less in grey
inline constexpr int followStep = 64;  // of referenceUnit: half a level a picture
inline constexpr int relaxShift = 10;  // a reference relaxes by 1/1024 of its light a picture
inline constexpr int highestReference = 255 * referenceUnit;

// Light of a luma, in the same unit: what a change of exposure multiplies, and the offset. black: luma without light.
constexpr int LightOf(int luma, int black, int unit = 1) {
    return (luma > black * unit ? luma - black * unit : 0) + lumaOffset * unit;
}

// One block: its light by the reference's, in 1/ratioUnit, rounded down; within smallestRatio..largestRatio.
constexpr std::uint32_t RatioOf(int luma, int reference, int black) {
    const auto light = static_cast<std::uint32_t>(LightOf(luma, black)) * referenceUnit * ratioUnit;
    const auto known = static_cast<std::uint32_t>(LightOf(reference, black, referenceUnit));
    const std::uint32_t ratio = (light + known / 2) / known;
    return ratio < smallestRatio ? smallestRatio : ratio > largestRatio ? largestRatio : ratio;
}

// One level of luma with the ratio taken out: 0..255, rounded to nearest.
constexpr std::uint8_t Balanced(int luma, int ratio, int black) {
    const int light = (LightOf(luma, black) * ratioUnit + ratio / 2) / ratio;
    const int balanced = light - lumaOffset + black;
    return static_cast<std::uint8_t>(balanced < 0 ? 0 : balanced > 255 ? 255 : balanced);
}

// The same in 1/referenceUnit. Finer than what is shown: a reference that followed whole levels would never relax.
constexpr std::uint16_t BalancedReference(int luma, int ratio, int black) {
    const int light = (LightOf(luma, black) * referenceUnit * ratioUnit + ratio / 2) / ratio;
    const int balanced = light + (black - lumaOffset) * referenceUnit;
    return static_cast<std::uint16_t>(balanced < 0 ? 0 : balanced > highestReference ? highestReference : balanced);
}

// One block of the reference, half a level at most nearer to the target.
constexpr std::uint16_t Followed(int reference, int target) {
    const int distance = target - reference;
    const int step = distance > followStep ? followStep : distance < -followStep ? -followStep : distance;
    return static_cast<std::uint16_t>(reference + step);
}

// One block of the reference, 1/1024 of its light brighter (direction 1) or darker (-1).
constexpr std::uint16_t Relaxed(int reference, int black, int direction) {
    const int step = (LightOf(reference, black, referenceUnit) + (1 << (relaxShift - 1))) >> relaxShift;
    const int relaxed = reference + direction * step;
    return static_cast<std::uint16_t>(relaxed < 0 ? 0 : relaxed > highestReference ? highestReference : relaxed);
}

constexpr bool HasColour(int cb, int cr) {
    const int blue = cb > 128 ? cb - 128 : 128 - cb, red = cr > 128 ? cr - 128 : 128 - cr;
    return blue + red >= leastColour;
}

// Sums over blocks of luma y and of the reference r, in levels.
struct LumaSums {
    std::uint64_t y, r, yy, rr, yr;
};
LumaSums SumLuma(const std::uint8_t* luma, const std::uint16_t* reference, std::size_t count);

std::size_t CountColoured(const std::uint8_t* cb, const std::uint8_t* cr, std::size_t count);

// How many have a ratio of at most `low`, and of at most `high`, i < count?  Without a division, to ask before CountRatios.
// Both in smallestRatio..2 * ratioUnit.
struct RatioCounts {
    std::size_t low, high;
};
RatioCounts CountRatiosUpTo(const std::uint8_t* luma, const std::uint16_t* reference, int black, int low, int high,
                            std::size_t count);

// histogram[ratio - smallestRatio] is how many blocks have this ratio; it is cleared first.
inline constexpr std::size_t ratioBins = largestRatio - smallestRatio + 1;
void CountRatios(const std::uint8_t* luma, const std::uint16_t* reference, int black, std::uint32_t* histogram,
                 std::size_t count);

// The ratio that half of the blocks do not exceed, and the next.  count: how many there are, at least 1.
int MedianRatio(const std::uint32_t* histogram, std::size_t count);

// luma[i] = Balanced(luma[i], ...)
void BalanceLuma(std::uint8_t* luma, int ratio, int black, std::size_t count);

// reference[i] = Followed(reference[i], luma[i] * referenceUnit); Followed(reference[i], BalancedReference(luma[i], ...));
// Relaxed(reference[i], ...); luma[i] * referenceUnit.
void FollowLuma(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count);
void FollowBalancedLuma(std::uint16_t* reference, const std::uint8_t* luma, int ratio, int black, std::size_t count);
void RelaxReference(std::uint16_t* reference, int black, int direction, std::size_t count);
void TakeReference(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count);

}  // namespace Host::Kernels
