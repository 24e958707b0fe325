// Which loops do processors with AVX2 run?  The same ones, compiled for them: sources of kernels once more, in a namespace
// of their own. Segmentation is not among them: it follows objects from block to block, and gains nothing from vectors.
#define MD_LEVEL_IS_AVX2

#include "utils/Levels.h"

#if MD_HAS_AVX2_LOOPS
// NOLINTBEGIN(bugprone-suspicious-include)
#include "detector/kernels/Background.cpp"
#include "detector/kernels/DiffState.cpp"
#include "detector/kernels/Foreground.cpp"
#include "detector/kernels/Shadow.cpp"
#include "statistics/kernels/WindowSums.cpp"
// NOLINTEND(bugprone-suspicious-include)
#endif
