// What does it cost to fit a zone's mask to the grid?  Once per zone when a detector starts afresh.
#include "zones/MDZone.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

[[maybe_unused]] const bool registered = [] {
    RegisterOnGrids("stage/MDZone", [](benchmark::State& state, GridSize grid) {
        Bytes mask = RandomMask(640 * 480, 1, 50);
        MeasureCalls(state, grid.Blocks(), 3, [&] {
            MD::MDZone zone(mask.data(), 640, 480, 0.3f, 0.0f, 0.0f);
            zone.InitPixelMap(grid.columns, grid.rows);
            benchmark::DoNotOptimize(zone.pixelMap[0]);
        });
    });
    return true;
}();

}  // namespace
}  // namespace Bench
