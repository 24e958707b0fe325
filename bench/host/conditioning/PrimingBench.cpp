// What does the most frequent value of every block cost?  100 pictures of a quiet scene. ns_block is per block of the grid,
// for all pictures together. Names: conditioning/Priming/<grid>.
#include <cstdint>
#include <string>

#include "KernelPlanes.h"
#include "Measure.h"
#include "conditioning/Priming.h"

namespace Bench {
namespace {

constexpr int pictures = 100, ahead = 6;
constexpr GridSize grids[] = {{160, 90}, usualGrid, {480, 270}};

void MeasurePriming(benchmark::State& state, GridSize grid) {
    Host::Priming priming(grid.columns, grid.rows, pictures);
    const Bytes scene = RandomBytes(3 * grid.Blocks(), 1, 30, 220);
    for (int picture = 0; picture < pictures; ++picture)
        priming.Add(Noisy(scene, static_cast<std::uint64_t>(picture) + 2, 4).data());
    Bytes background(3 * grid.Blocks());
    MeasureCalls(state, grid.Blocks(), 3, [&] {
        priming.MostFrequent(ahead, background.data());
        benchmark::ClobberMemory();
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const GridSize grid : grids)
        Register("conditioning/Priming/" + grid.Name(), 5, [=](benchmark::State& state) { MeasurePriming(state, grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
