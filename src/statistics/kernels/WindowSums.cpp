// How do a window's sums step to the next frame, and what were the extremes?
#include "statistics/kernels/WindowSums.h"

#include <algorithm>
#include <cstring>

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {

namespace {

void StepChunk(SteppingWindow w, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        // As narrow as they may be: a vector holds many of them.
        const std::uint16_t entering = w.entering[i], leaving = w.leaving[i];
        const float difference = static_cast<std::int16_t>(entering - leaving),
                    total = static_cast<std::uint16_t>(entering + leaving);
        w.sum[i] += difference;
        w.squareSum[i] += difference * total;  // the difference of the squares, exactly
    }
}

}  // namespace

// Where nothing stirs, and a decoder copies what it showed before, the same enters as leaves.
void StepWindow(SteppingWindow w, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) {
        if (std::memcmp(w.entering + chunk.first, w.leaving + chunk.first, chunk.Count()) != 0) StepChunk(w, chunk);
    });
}

void FindExtremes(ExtremesBlocks b, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        std::uint8_t smallest = b.luma[0][i], largest = smallest;
        for (int age = 1; age < 10; ++age) {
            const std::uint8_t luma = b.luma[age][i];
            smallest = std::min(smallest, luma);
            largest = std::max(largest, luma);
        }
        b.min[i] = smallest;
        b.max[i] = largest;
    }
}

}  // namespace MD::Kernels::MD_LEVEL
MD_LEVEL_END

namespace MD::Kernels {

MD_DEFINE_LOOP(StepWindow);
MD_DEFINE_LOOP(FindExtremes);

}  // namespace MD::Kernels
