// In which unit do conditioning and detector tell time?
#pragma once

#include <cstdint>

namespace Host {

using Ticks = std::int64_t;  // 100 ns each

inline constexpr Ticks ticksPerSecond = 10'000'000;

}  // namespace Host
