// What does a kernel loop of this room promise?
#pragma once

// For the loop that follows: column (or block) i writes index i only, and nothing that another column reads.
#if defined(__clang__)
#define HOST_INDEPENDENT_COLUMNS _Pragma("clang loop vectorize(assume_safety)")
#else
#define HOST_INDEPENDENT_COLUMNS _Pragma("GCC ivdep")
#endif
