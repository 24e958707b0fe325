// Over which blocks does a loop run?  The words that kernels and their callers share.
#pragma once

#include <cstddef>

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

// A block grid; block (x, y) has index y * columns + x.
struct Grid {
    int columns;
    int rows;
};
