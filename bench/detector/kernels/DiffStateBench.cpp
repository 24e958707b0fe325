// What does the restlessness of the whole grid cost?
#include "detector/kernels/DiffState.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;

[[maybe_unused]] const bool registered = [] {
    RegisterOnGrids("kernel/DiffState/VariationOfRow", [](benchmark::State& state, GridSize grid) {
        const QuietStream stream(grid.Blocks());
        const Bytes isSelected(grid.Blocks(), 1);
        const std::uint8_t* luma[framesOfRing];
        for (std::size_t age = 0; age < framesOfRing; ++age) luma[age] = stream.lumaOfAge[age].data();
        MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] {
            for (std::ptrdiff_t row = 0; row < grid.rows; ++row)
                benchmark::DoNotOptimize(
                    VariationOfRow(luma, isSelected.data(), row * grid.columns, (row + 1) * grid.columns));
        });
    });
    return true;
}();

}  // namespace
}  // namespace Bench
