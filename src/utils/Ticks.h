// How far apart are two times?  Used wherever times given by the host are compared.
#pragma once

#include <cstdint>

namespace Utils {

// Ticks from `then` to `now`, modulo 2^64: defined for any two stamps that a host may give.
constexpr std::int64_t ElapsedTicks(std::int64_t now, std::int64_t then) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(then));
}

// The top bit is set where more than `limit` ticks, which are not negative, lie between the two. A comparison by sign alone,
// for loops: vectors of 64 bits can be subtracted on every level, but not compared.
constexpr std::uint64_t SignOfOlder(std::int64_t now, std::int64_t then, std::int64_t limit) {
    const std::uint64_t elapsed = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(then);
    return (static_cast<std::uint64_t>(limit) - elapsed) & ~elapsed;  // the difference wraps for a negative distance only
}

}  // namespace Utils
