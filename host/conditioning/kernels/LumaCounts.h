// How many blocks are that bright, or got that much brighter?  Counts over luma, and what a detector gets to see of it.  No
// loop keeps anything between calls.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// How many are brighter than `level`, i < count.
std::size_t CountBrighter(const std::uint8_t* luma, std::uint8_t level, std::size_t count);

// How many got brighter by `levels` or more, and how many darker.
struct LumaChanges {
    std::size_t brighter, darker;
};

// Counts them, and hasChanged[i] = either ? 1 : 0, i < count.  levels: 1..255.
LumaChanges MarkLumaChanges(const std::uint8_t* luma, const std::uint8_t* before, std::uint8_t levels,
                            std::uint8_t* hasChanged, std::size_t count);

// One block: so many tenths of its luma, rounded to nearest.  tenths: 1..10.
constexpr std::uint8_t Dimmed(std::uint8_t luma, std::uint8_t tenths) {
    const auto sum = static_cast<std::uint16_t>(luma * tenths + 5);     // 5..2555
    return static_cast<std::uint8_t>(std::uint32_t{sum} * 6554 >> 16);  // a tenth, exact up to 16388
}

// dimmed[i] = Dimmed(luma[i], tenths), i < count.
void DimLuma(const std::uint8_t* luma, std::uint8_t tenths, std::uint8_t* dimmed, std::size_t count);

}  // namespace Host::Kernels
