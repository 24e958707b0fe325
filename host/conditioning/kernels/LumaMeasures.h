// How bright is a picture beside another one, how wide is its range of luma, and how much colour has it?  Called by
// Disturbances.
#pragma once

#include <cstddef>
#include <cstdint>

#include "conditioning/kernels/EdgeComparison.h"

namespace Host::Kernels {

inline constexpr int blackLuma = 16;     // brightness counts from here: video's black
inline constexpr int brightEnough = 16;  // levels above black from which on a block's brightness can be compared
inline constexpr int evenRatio = 64;     // as bright as before

// Brightness now, in 64ths of that before; at most 255.
constexpr int BrightnessRatio(int luma, int before) {
    const int now = luma > blackLuma ? luma - blackLuma : 0, then = before - blackLuma;
    const int ratio = (now * evenRatio + then / 2) / then;
    return ratio < 255 ? ratio : 255;
}

struct RatioQuartiles {
    int low = evenRatio, middle = evenRatio, high = evenRatio;  // 64ths: a quarter, half, three quarters are not above
    std::size_t compared = 0;                                   // blocks asked that were bright enough before
};

// Quartiles need no more than every third block.
inline constexpr std::size_t ratioStep = 3;

RatioQuartiles CompareBrightness(const std::uint8_t* luma, const std::uint8_t* before, std::size_t count);

// Of the blocks that CompareBrightness asks: how many have a ratio of at most `low`, how many of at least `high`?  Both in
// 1..254; without a division.
struct RatioTails {
    std::size_t compared, low, high;
};
RatioTails CountRatioTails(const std::uint8_t* luma, const std::uint8_t* before, int low, int high, std::size_t count);

// reference[i] nearer to luma[i] by `step` levels, or as near as it gets, i < count.  step: 0..255.
void StepTowards(const std::uint8_t* luma, std::uint8_t* reference, std::uint8_t step, std::size_t count);

// Grey levels between the darkest and the brightest block when a twentieth of both ends does not count.
int LumaSpread(const std::uint8_t* luma, std::size_t count);

// Mean over a box of how far Cb and Cr together are beyond 127..129, in 16ths of a level.
int Colourfulness(const std::uint8_t* cb, const std::uint8_t* cr, int columns, BlockBox box);

}  // namespace Host::Kernels
