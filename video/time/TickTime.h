// How are seconds and ticks converted?  The words for time that all share.
#pragma once

#include <cmath>
#include <cstdint>

namespace Video {

using Ticks = std::int64_t;  // 100 ns

inline constexpr Ticks oneSecond = 10'000'000;  // ticks

constexpr double ToSeconds(Ticks ticks) { return static_cast<double>(ticks) / static_cast<double>(oneSecond); }

// Nearest tick. Precondition: |seconds| below ToSeconds of the largest tick count, 9.2e11, so that the result fits.
inline Ticks FromSeconds(double seconds) { return std::llround(seconds * static_cast<double>(oneSecond)); }

// As printed in results: milliseconds, the third decimal rounded.
inline double PrintedSeconds(Ticks ticks) {
    return static_cast<double>(std::llround(static_cast<double>(ticks) / 10'000.0)) / 1000.0;
}

}  // namespace Video
