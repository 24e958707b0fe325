// How do a window's sums step to the next frame, and what were the extremes?  Loops over ranges of blocks.
// Called by FrameStatistics. All values are integers below 2^24, which a float holds exactly: any order gives the same.
#pragma once

#include <cstdint>

#include "utils/Blocks.h"
#include "utils/Levels.h"

namespace MD::Kernels {

// sum += entering - leaving, squareSum likewise of the squares.
struct SteppingWindow {
    const std::uint8_t* entering;  // [block] luma of the window's first age
    const std::uint8_t* leaving;   // [block] luma of the age behind its last
    float* sum;
    float* squareSum;
};
extern const Loop<void(SteppingWindow w, BlockRange range)> StepWindow;

// min, max: the extremes of ten luma planes.
struct ExtremesBlocks {
    const std::uint8_t* luma[10];
    std::uint8_t* min;
    std::uint8_t* max;
};
extern const Loop<void(ExtremesBlocks b, BlockRange range)> FindExtremes;

}  // namespace MD::Kernels
