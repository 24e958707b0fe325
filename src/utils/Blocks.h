// Over which blocks does a loop run?  The words that kernels and their callers share.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Promise for the loop that follows: block i touches index i only, so that blocks may be worked on side by side.
#if defined(__clang__)
#define MD_INDEPENDENT_BLOCKS _Pragma("clang loop vectorize(enable)")
#else
#define MD_INDEPENDENT_BLOCKS _Pragma("GCC ivdep")
#endif

// For a loop that does little per block: what it costs to go around is paid once for four vectors.
#if defined(__clang__)
#define MD_FOUR_AT_ONCE
#else
#define MD_FOUR_AT_ONCE _Pragma("GCC unroll 4")
#endif

namespace MD {

// Blocks first to last - 1 of a plane.
struct BlockRange {
    std::size_t first;
    std::size_t last;

    constexpr std::size_t Count() const { return last - first; }
};

// Kernels ask their questions chunk by chunk: most chunks have nothing to write, and what they read stays in cache. Whoever
// works on a chunk sees it alone: planes From() its first block on, notes on the stack, both indexed 0 to count - 1.
inline constexpr std::size_t chunkLength = 256;

// A frame is worked on by stretches of some chunks: what each is asked stays in the caches near the processor, and what it
// takes to ask, as finding the planes of each age, is shared by many blocks.
inline constexpr std::size_t stretchLength = 4 * chunkLength;

// Pieces of a chunk, where few of its blocks are meant: most pieces have nothing to ask.
inline constexpr std::size_t pieceLength = 32;

// Part of whoever calls it, so that work() can be, too: that is compiled for the processors of the caller.
#define MD_PART_OF_CALLER [[gnu::always_inline]] inline

// work(BlockRange part) for parts of at most `length` blocks, from the first to the last.
template <class Work>
MD_PART_OF_CALLER void ForEachPart(BlockRange range, std::size_t length, Work work) {
    for (std::size_t first = range.first; first < range.last; first += length)
        work(BlockRange{first, first + length < range.last ? first + length : range.last});
}
template <class Work>
MD_PART_OF_CALLER void ForEachChunk(BlockRange range, Work work) {
    ForEachPart(range, chunkLength, work);
}
template <class Work>
MD_PART_OF_CALLER void ForEachPiece(BlockRange chunk, Work work) {
    ForEachPart(chunk, pieceLength, work);
}

MD_PART_OF_CALLER bool IsAnySet(const std::uint8_t* marks, std::size_t count) {
    std::size_t j = 0;
    for (; j + sizeof(std::uint64_t) <= count; j += sizeof(std::uint64_t)) {  // where many are, the first of them do
        std::uint64_t word;
        std::memcpy(&word, marks + j, sizeof word);
        if (word != 0) return true;
    }
    for (; j < count; ++j)
        if (marks[j]) return true;
    return false;
}

// Bytes or other lanes that were read as one word. The first in memory is the first here, too, whatever the byte order.
namespace Lanes {

inline constexpr std::uint64_t topBits = 0x8080808080808080;  // bit 7 of every byte

// Bit 7 of every byte that is not 0.
constexpr std::uint64_t NonZeroBytes(std::uint64_t word) { return (((word & ~topBits) + ~topBits) | word) & topBits; }

// The lane of the first bit that is set, and the word without that bit: of words with any, at most one in every lane.
template <class Lane>
constexpr int First(std::uint64_t word) {
    const int before =
        std::endian::native == std::endian::little ? std::countr_zero(word) : std::countl_zero(word);  // bits in memory
    return static_cast<int>(static_cast<unsigned>(before) / (8 * sizeof(Lane)));
}
constexpr std::uint64_t WithoutFirst(std::uint64_t word) {
    if constexpr (std::endian::native == std::endian::little) return word & (word - 1);
    else return word ^ (std::uint64_t{1} << (63 - std::countl_zero(word)));
}

}  // namespace Lanes

// |a - b|, in bytes.
constexpr std::uint8_t ByteDistance(std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>((a > b ? a : b) - (a > b ? b : a));  // vectors know the larger and the smaller
}

// 255 or 0. Wide at first, as the result of a comparison of floats is in vectors.
constexpr std::uint8_t MarkOf(bool isSet) { return static_cast<std::uint8_t>(-static_cast<std::int32_t>(isSet)); }

// A block grid; block (x, y) has index y * columns + x.
struct Grid {
    int columns;
    int rows;
};

}  // namespace MD
