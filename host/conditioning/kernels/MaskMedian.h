// What do most of the 5 x 5 blocks around each block say?  Sums of five rows, then of five columns.  Called by MotionGate,
// which owns every array.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr std::size_t medianReach = 2;  // blocks to either side
inline constexpr std::size_t medianRows = 2 * medianReach + 1;
inline constexpr int mostOfMedian = static_cast<int>(medianRows * medianRows / 2 + 1);  // 13 of 25

// sum[i] = how many of rows[0][i] .. rows[4][i] are set, i < count.  Rows of {0,255}; one may stand for several.
void CountSet(const std::array<const std::uint8_t*, medianRows>& rows, std::uint8_t* sum, std::size_t count);

// mask[i] = the sums of medianRows columns, from sum[i] on, reach mostOfMedian ? 255 : 0, i < count.
// sum: count + 2 * medianReach elements, block i at sum[i + medianReach].
void MarkMedian(const std::uint8_t* sum, std::uint8_t* mask, std::size_t count);

}  // namespace Host::Kernels
