// What do the blocks of every object say together?  Loops over a label map: 0, or the place of the block's object, from 1.
// No loop keeps anything between calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Host::Kernels {

// visit(i) in order where labels[i] is an object's, i < count; it may change labels[i], and none behind it.  Most blocks are
// nobody's: eight at a time are passed over.
template <class Visit>
void ForEachLabelled(const std::uint16_t* labels, std::size_t count, Visit visit) {
    constexpr std::size_t together = 8;
    std::size_t i = 0;
    for (; count - i >= together; i += together) {
        std::uint64_t four[2];
        std::memcpy(four, labels + i, sizeof four);
        if ((four[0] | four[1]) == 0) continue;
        for (std::size_t k = i; k < i + together; ++k)
            if (labels[k] != 0) visit(k);
    }
    for (; i < count; ++i)
        if (labels[i] != 0) visit(i);
}

// The largest of them, i < count; 0: no object has a block here.
std::uint16_t LargestPlace(const std::uint16_t* labels, std::size_t count);

// isLabelled[i] = labels[i] is an object's ? 1 : 0, i < count.
void MarkLabelled(const std::uint16_t* labels, std::uint8_t* isLabelled, std::size_t count);

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
    ForEachLabelled(labels, count, [&](std::size_t i) { labels[i] = isDropped(labels[i]) ? std::uint16_t{0} : labels[i]; });
}

}  // namespace Host::Kernels
