// How restless was a block over the whole ring?  Called by MotionDetector-DiffState.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "utils/Levels.h"

namespace MD::Kernels {

inline constexpr int framesOfRing = 11;

// One row of blocks: how many of them are selected, and their total variation in grey levels.
struct RowVariation {
    std::int64_t sum;
    int count;
};

// lumaOfAge: [block] luma planes of the ages 0 to 10. isSelected: [block], non-zero takes part. Blocks first to last - 1.
extern const Loop<RowVariation(const std::uint8_t* const (&lumaOfAge)[framesOfRing], const std::uint8_t* isSelected,
                               std::ptrdiff_t first, std::ptrdiff_t last)>
    VariationOfRow;

}  // namespace MD::Kernels
