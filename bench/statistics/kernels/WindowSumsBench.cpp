// What does it cost to step one window's sums, and to find the extremes of ten frames?
#include "statistics/kernels/WindowSums.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;

[[maybe_unused]] const bool registered = [] {
    RegisterOnGrids("kernel/WindowSums/StepWindow", [](benchmark::State& state, GridSize grid) {
        QuietStream s(grid.Blocks());
        const std::uint8_t *entering = s.lumaOfAge[0].data(), *leaving = s.lumaOfAge[5].data();
        MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] {
            std::swap(entering, leaving);  // there and back: the sums stay small
            StepWindow(
                {.entering = entering, .leaving = leaving, .sum = s.firstSum.data(), .squareSum = s.firstSquareSum.data()},
                {0, grid.Blocks()});
        });
    });
    RegisterOnGrids("kernel/WindowSums/FindExtremes", [](benchmark::State& state, GridSize grid) {
        QuietStream s(grid.Blocks());
        ExtremesBlocks blocks{.luma = {}, .min = s.min.data(), .max = s.max.data()};
        for (std::size_t age = 0; age < 10; ++age) blocks.luma[age] = s.lumaOfAge[age].data();
        MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] { FindExtremes(blocks, {0, grid.Blocks()}); });
    });
    return true;
}();

}  // namespace
}  // namespace Bench
