// What do all statistics of a frame cost?  With the step of the ring, without the copy of the frame.
#include "statistics/FrameStatistics.h"

#include <algorithm>

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

void MeasureUpdate(benchmark::State& state, GridSize grid, bool isH264Partly) {
    MD::FrameStatistics statistics;
    statistics.AllocateBuffers(static_cast<int>(grid.Blocks()));
    const Bytes ground = RandomBytes(grid.Blocks(), 1, 60, 180);
    for (std::uint64_t frame = 0; frame < 22; ++frame) {
        statistics.ShiftToNewFrame();
        const Bytes luma = Noisy(ground, 2 + frame % 11, 1);
        std::copy(luma.begin(), luma.end(), statistics.FrameOfAge(0));
        statistics.Update(isH264Partly);
    }
    Require(statistics._isFilled, "FrameStatistics", "the ring is not filled");
    MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] {
        statistics.ShiftToNewFrame();  // the ring goes round: its slots keep what they hold
        statistics.Update(isH264Partly);
    });
}

[[maybe_unused]] const bool registered = [] {
    RegisterOnGrids("stage/FrameStatistics/standard",
                    [](benchmark::State& state, GridSize grid) { MeasureUpdate(state, grid, false); });
    RegisterOnGrids("stage/FrameStatistics/partly",
                    [](benchmark::State& state, GridSize grid) { MeasureUpdate(state, grid, true); });
    return true;
}();

}  // namespace
}  // namespace Bench
