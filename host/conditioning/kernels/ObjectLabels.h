// What do the blocks of every object say together?  Loops over a label map: 0, or the place of the block's object, from 1.
// Called by MotionGate, HoleFill and ObjectHold, which own every array.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// The largest of them, i < count; 0: no object has a block here.
std::uint16_t LargestPlace(const std::uint16_t* labels, std::size_t count);

// One object: are at least `percent` (0..100) of its blocks confirmed?  True of an object without a block.
constexpr bool IsConfirmed(std::uint32_t blocks, std::uint32_t confirmed, std::uint32_t percent) {
    return std::uint64_t{confirmed} * 100 >= std::uint64_t{blocks} * percent;
}

// i < count, where labels[i] is an object's: counts the block in blocks[labels[i]], and in confirmed[labels[i]] if it moves
// or is calm.  Masks of {0,255}.
void CountConfirmed(const std::uint16_t* labels, const std::uint8_t* isMoving, const std::uint8_t* isCalm,
                    std::uint32_t* blocks, std::uint32_t* confirmed, std::size_t count);

// labels[i] = 0 where isDropped(labels[i]), i < count: not asked of nobody's blocks.
template <class IsDropped>
void DropObjects(std::uint16_t* labels, std::size_t count, IsDropped isDropped) {
    for (std::size_t i = 0; i < count; ++i)
        if (labels[i] != 0 && isDropped(labels[i])) labels[i] = 0;
}

}  // namespace Host::Kernels
