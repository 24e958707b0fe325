// What does it cost to merge the objects that touch?  Single blocks that lie apart, and ones so dense that they fall into
// one. ns_block is per block of the grid; the objects are named beside it.
#include "zones/ObjectMerger.h"

#include "KernelPlanes.h"
#include "Measure.h"
#include "zones/LeanObjects.h"

namespace Bench {
namespace {

// Single blocks, in raster order: the closest lattice that stays apart, or one block in 17 at random.
void MeasureMerge(benchmark::State& state, GridSize grid, bool isLattice) {
    // Larger grids would hold more objects than a pool counts.
    const GridSize area{std::min(grid.columns, 480), std::min(grid.rows, 270)};
    std::vector<std::pair<short, short>> blocks;
    Kit::SeededRandom random(1);
    for (short y = 0; y < area.rows; ++y)
        for (short x = 0; x < area.columns; ++x)
            if (isLattice ? x % 4 == y % 2 * 2 && blocks.size() < 32000 : random.OneIn(17)) blocks.emplace_back(x, y);

    MD::MotionObjectPool pool;
    pool.Inic(area.columns, area.rows);
    MD::ObjectMerger merger;
    const auto fill = [&] {
        pool.ReleaseBusyList();
        for (auto [x, y] : blocks) MD::LeanObjects::Add(pool, &x, &y, 1, static_cast<int>(area.Blocks()));
    };
    MeasureCalls(
        state, grid.Blocks(), 10, [&] { merger.Merge(pool); }, fill);
    Require((pool._busyList._objectsCount == static_cast<int>(blocks.size())) == isLattice, "ObjectMerger",
            "objects merge that lie apart, or none that touch");
    state.counters["objects"] = static_cast<double>(blocks.size());
    state.counters["delivered"] = pool._busyList._objectsCount;
    pool.Release();
}

[[maybe_unused]] const bool registered = [] {
    RegisterOnGrids("stage/ObjectMerger/lattice",
                    [](benchmark::State& state, GridSize grid) { MeasureMerge(state, grid, true); });
    RegisterOnGrids("stage/ObjectMerger/cascade",
                    [](benchmark::State& state, GridSize grid) { MeasureMerge(state, grid, false); });
    return true;
}();

}  // namespace
}  // namespace Bench
