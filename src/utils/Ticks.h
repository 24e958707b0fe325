// How far apart are two times?  Used wherever times given by the host are compared.
#pragma once

#include <cstdint>

namespace Utils {

// Ticks from `then` to `now`, modulo 2^64: defined for any two stamps that a host may give.
constexpr std::int64_t ElapsedTicks(std::int64_t now, std::int64_t then) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(then));
}

}  // namespace Utils
