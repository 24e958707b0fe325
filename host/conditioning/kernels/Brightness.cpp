// How is a plane compared with its reference, and changed?  See Brightness.h.
#include "conditioning/kernels/Brightness.h"

#include <algorithm>
#include <array>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

constexpr std::size_t pieceOfSums = 16384;  // blocks whose sums of squares fit 32 bits, signed
static_assert(std::int64_t{255} * 255 * pieceOfSums <= INT32_MAX);

LumaSums SumPiece(const std::uint8_t* luma, const std::uint16_t* reference, std::size_t count) {
    int y = 0, r = 0, yy = 0, rr = 0, yr = 0;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {  // 16 bits, of which two products at a time are added up
        const std::int16_t seen = luma[i];
        const auto known = static_cast<std::int16_t>((reference[i] + referenceUnit / 2) / referenceUnit);
        y += seen;
        r += known;
        yy += seen * seen;
        rr += known * known;
        yr += seen * known;
    }
    const auto wide = [](int sum) { return static_cast<std::uint64_t>(sum); };
    return {wide(y), wide(r), wide(yy), wide(rr), wide(yr)};
}

constexpr std::size_t pieceOfCounts = 240;  // blocks whose count fits a byte

// HasColour, in bytes: sums are cut off where they are enough.
std::uint8_t IsColoured(std::uint8_t cb, std::uint8_t cr) {
    constexpr std::uint8_t enough = leastColour;
    const auto blue = static_cast<std::uint8_t>(cb > 128 ? cb - 128 : 128 - cb);
    const auto red = static_cast<std::uint8_t>(cr > 128 ? cr - 128 : 128 - cr);
    const std::uint8_t someBlue = blue < enough ? blue : enough, someRed = red < enough ? red : enough;
    const auto both = static_cast<std::uint8_t>(someBlue + someRed);
    return both >= enough ? 1 : 0;
}

}  // namespace

LumaSums SumLuma(const std::uint8_t* luma, const std::uint16_t* reference, std::size_t count) {
    LumaSums sums = {};
    for (std::size_t first = 0; first < count; first += pieceOfSums) {
        const LumaSums piece = SumPiece(luma + first, reference + first, std::min(pieceOfSums, count - first));
        sums.y += piece.y;
        sums.r += piece.r;
        sums.yy += piece.yy;
        sums.rr += piece.rr;
        sums.yr += piece.yr;
    }
    return sums;
}

std::size_t CountColoured(const std::uint8_t* cb, const std::uint8_t* cr, std::size_t count) {
    std::size_t coloured = 0;
    for (std::size_t first = 0; first < count; first += pieceOfCounts) {
        const std::size_t length = std::min(pieceOfCounts, count - first);
        std::uint8_t ofPiece = 0;
        HOST_INDEPENDENT_COLUMNS
        for (std::size_t i = first; i < first + length; ++i)
            ofPiece = static_cast<std::uint8_t>(ofPiece + IsColoured(cb[i], cr[i]));
        coloured += ofPiece;
    }
    return coloured;
}

// RatioOf(...) <= limit, both sides times the reference's light.
RatioCounts CountRatiosUpTo(const std::uint8_t* luma, const std::uint16_t* reference, int black, int low, int high,
                            std::size_t count) {
    const auto lowFactor = static_cast<std::uint16_t>(low + 1), highFactor = static_cast<std::uint16_t>(high + 1);
    const auto darkest = static_cast<std::uint8_t>(black);
    const auto darkestReference = static_cast<std::uint16_t>(black * referenceUnit);
    int upToLow = 0, upToHigh = 0;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t seen = luma[i];
        const std::uint16_t known = reference[i];
        const auto light = static_cast<std::uint8_t>(seen > darkest ? seen - darkest : 0);
        const auto aboveDark = static_cast<std::uint16_t>(known > darkestReference ? known - darkestReference : 0);
        const auto knownLight = static_cast<std::uint16_t>(aboveDark + lumaOffset * referenceUnit);
        const std::int32_t dividend = (light + lumaOffset) * (referenceUnit * ratioUnit) + knownLight / 2;
        upToLow += dividend < static_cast<std::int32_t>(std::uint32_t{knownLight} * lowFactor) ? 1 : 0;
        upToHigh += dividend < static_cast<std::int32_t>(std::uint32_t{knownLight} * highFactor) ? 1 : 0;
    }
    return {static_cast<std::size_t>(upToLow), static_cast<std::size_t>(upToHigh)};
}

void CountRatios(const std::uint8_t* luma, const std::uint16_t* reference, int black, std::uint32_t* histogram,
                 std::size_t count) {
    std::fill_n(histogram, ratioBins, std::uint32_t{0});
    for (std::size_t i = 0; i < count; ++i) ++histogram[RatioOf(luma[i], reference[i], black) - smallestRatio];
}

int MedianRatio(const std::uint32_t* histogram, std::size_t count) {
    std::size_t below = 0;
    for (std::size_t bin = 0; bin + 1 < ratioBins; ++bin) {
        below += histogram[bin];
        if (below > count / 2) return smallestRatio + static_cast<int>(bin);
    }
    return largestRatio;
}

void BalanceLuma(std::uint8_t* luma, int ratio, int black, std::size_t count) {
    std::array<std::uint8_t, 256> balanced;
    for (int level = 0; level < 256; ++level) balanced[static_cast<std::size_t>(level)] = Balanced(level, ratio, black);
    for (std::size_t i = 0; i < count; ++i) luma[i] = balanced[luma[i]];
}

void FollowLuma(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = Followed(reference[i], luma[i] * referenceUnit);
}

void FollowBalancedLuma(std::uint16_t* reference, const std::uint8_t* luma, int ratio, int black, std::size_t count) {
    std::array<std::uint16_t, 256> target;
    for (int level = 0; level < 256; ++level)
        target[static_cast<std::size_t>(level)] = BalancedReference(level, ratio, black);
    for (std::size_t i = 0; i < count; ++i) reference[i] = Followed(reference[i], target[luma[i]]);
}

void RelaxReference(std::uint16_t* reference, int black, int direction, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = Relaxed(reference[i], black, direction);
}

void TakeReference(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = static_cast<std::uint16_t>(luma[i] * referenceUnit);
}

}  // namespace Host::Kernels
