// Does a picture have its edges where another one has them?  Steps of luma from block to block, compared over a box of
// blocks.  Called by Disturbances.  Light changes steps a little and leaves them where they are; a camera that is turned
// moves them.
#pragma once

#include <cstdint>

namespace Host::Kernels {

inline constexpr int structuredStep = 16;  // grey levels; sum over both directions from which on a block has an edge

// From a block to the next one and to the one below.
struct LumaStep {
    int right, down;  // grey levels, -255..255
};

constexpr LumaStep StepAt(const std::uint8_t* luma, int columns) { return {luma[1] - luma[0], luma[columns] - luma[0]}; }

constexpr int SizeOf(LumaStep step) {
    return (step.right < 0 ? -step.right : step.right) + (step.down < 0 ? -step.down : step.down);
}

constexpr bool IsStructured(LumaStep reference) { return SizeOf(reference) >= structuredStep; }

// A step that is more than three quarters of the reference's away from it is another one.
constexpr bool IsAnother(LumaStep step, LumaStep reference) {
    return 4 * SizeOf({step.right - reference.right, step.down - reference.down}) > 3 * SizeOf(reference);
}

// Over all blocks that have neighbours to the right and below.
struct EdgeCounts {
    int structured = 0;     // blocks of the reference that have an edge
    int another = 0;        // of these, with another step
    int structuredNow = 0;  // blocks of the picture that have an edge

    void Add(const EdgeCounts& more);
};

// Likewise.
struct StepPowers {
    std::int64_t product = 0;    // sum of step times reference
    std::int64_t power = 0;      // sum of the steps squared
    std::int64_t reference = 0;  // of the reference's
};

// Blocks left to right - 1, top to bottom - 1; one past them to the right and below is read.
struct BlockBox {
    int left, top, right, bottom;
};

EdgeCounts CompareEdges(const std::uint8_t* luma, const std::uint8_t* reference, int columns, BlockBox box);

// Much cheaper: to ask first.
StepPowers CompareSteps(const std::uint8_t* luma, const std::uint8_t* reference, int columns, BlockBox box);

}  // namespace Host::Kernels
