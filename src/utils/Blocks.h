// Over which blocks does a loop run?  The words that kernels and their callers share.
#pragma once

#include <cstddef>
#include <cstdint>

// Promise for the loop that follows: block i touches index i only, so that blocks may be worked on side by side.
#if defined(__clang__)
#define MD_INDEPENDENT_BLOCKS _Pragma("clang loop vectorize(enable)")
#else
#define MD_INDEPENDENT_BLOCKS _Pragma("GCC ivdep")
#endif

// Blocks first to last - 1 of a plane.
struct BlockRange {
    std::size_t first;
    std::size_t last;
};

// Kernels ask their questions chunk by chunk: most chunks have nothing to write, and what they read stays in cache.
inline constexpr std::size_t chunkLength = 256;

// work(BlockRange chunk), from the first to the last.
template <class Work>
void ForEachChunk(BlockRange range, Work work) {
    for (std::size_t first = range.first; first < range.last; first += chunkLength)
        work(BlockRange{first, first + chunkLength < range.last ? first + chunkLength : range.last});
}

inline bool IsAnySet(const std::uint8_t* marks, std::size_t count) {
    std::uint8_t any = 0;
    for (std::size_t j = 0; j < count; ++j) any |= marks[j];
    return any != 0;
}

// |a - b|, in bytes.
constexpr std::uint8_t ByteDistance(std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>(a > b ? a - b : b - a); }

// A block grid; block (x, y) has index y * columns + x.
struct Grid {
    int columns;
    int rows;
};
