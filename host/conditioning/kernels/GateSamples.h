// Which blocks look like what was seen there before, and which of them are remembered anew?  The picture against one sample
// of every block at a time, and the replacing of samples.  Called by MotionGate, which owns every array.
//
// No kernel writes outside the elements it is told to write, none keeps anything between calls; what is written overlaps
// nothing that is read, unless it is the same array.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// Colours of blocks, one plane per component.
struct BlockColours {
    const std::uint8_t* y;   // [block]
    const std::uint8_t* cb;  // [block]
    const std::uint8_t* cr;  // [block]

    BlockColours From(std::size_t first) const { return {y + first, cb + first, cr + first}; }
};

// The larger without the smaller: three instructions for sixteen blocks.
constexpr std::uint8_t Apart(std::uint8_t a, std::uint8_t b) {
    const std::uint8_t larger = a > b ? a : b, smaller = a < b ? a : b;
    return static_cast<std::uint8_t>(larger - smaller);
}

// One block: how far is a colour from a sample?  In levels of luma; 255: that far or further.
//
// Stands for a third of the sum of the three differences of a full-range BGR pixel.  A level of luma moves all three
// channels by one.  A level of Cb or Cr moves their sum by 2.1 where nothing else moves, hardly where luma moves more: what
// the one adds to a channel, the other takes from the next.  Half a level of the larger lies between, and rounding down
// keeps the noise of two planes out of still blocks.
constexpr std::uint8_t ColourDistance(std::uint8_t y, std::uint8_t cb, std::uint8_t cr, std::uint8_t sampleY,
                                      std::uint8_t sampleCb, std::uint8_t sampleCr) {
    const std::uint8_t luma = Apart(y, sampleY), blueness = Apart(cb, sampleCb), redness = Apart(cr, sampleCr);
    const std::uint8_t larger = blueness > redness ? blueness : redness;
    const std::uint8_t chroma = static_cast<std::uint8_t>(larger >> 1);
    const std::uint8_t room = static_cast<std::uint8_t>(255 - luma);
    return static_cast<std::uint8_t>(luma + (chroma < room ? chroma : room));
}

// As many samples must match.
inline constexpr std::uint8_t wantedMatches = 2;

// What the samples looked at so far say of a block.
struct Matches {
    std::uint8_t found;    // 0..wantedMatches
    std::uint8_t nearest;  // levels of luma; the smaller distance of those that matched, 255 before the first
};

// One block, one more sample at `distance`: nothing changes once there are enough.
constexpr Matches WithSample(Matches before, std::uint8_t distance, std::uint8_t limit) {
    const bool counts = (distance < limit) & (before.found < wantedMatches);
    const std::uint8_t missed = counts ? 0 : 255;  // a mask: further choices would be branches
    const auto counted = static_cast<std::uint8_t>(distance | missed);
    return {static_cast<std::uint8_t>(before.found + 1 + missed), counted < before.nearest ? counted : before.nearest};
}

// All samples of all blocks: planes [block] of Y, Cb, Cr, one sample after another.
struct BlockSamples {
    const std::uint8_t* planes;
    std::size_t blocks;  // in a plane
    std::size_t count;   // samples known

    BlockColours Of(std::size_t sample) const {
        const std::uint8_t* const y = planes + 3 * sample * blocks;
        return {y, y + blocks, y + 2 * blocks};
    }
};

// i < count: from {0, 255} on, WithSample of sample after sample; nearest[i] is what that gives, isMoving[i] = not enough
// were found ? 255 : 0.  limit[i] as for WithSample.
void FindMatches(BlockColours picture, BlockSamples samples, const std::uint8_t* limit, std::uint8_t* nearest,
                 std::uint8_t* isMoving, std::size_t count);

// to[i] = isTaken[i] ? from[i] : to[i], i < count.
void ReplaceTaken(const std::uint8_t* isTaken, const std::uint8_t* from, std::uint8_t* to, std::size_t count);

}  // namespace Host::Kernels
