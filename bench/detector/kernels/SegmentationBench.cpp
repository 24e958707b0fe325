// What do the steps from foreground blocks to one object cost?  Collecting in a calm and in a busy zone; the others on one
// object that covers the grid, per block of it.
#include "detector/kernels/Segmentation.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;
using MD::CellBox;
using MD::Grid;

struct Segments {
    explicit Segments(GridSize size, int foregroundPercent)
        : grid{size.columns, size.rows},
          groups(static_cast<std::size_t>(CountBlockGroups(grid))),
          isInZone(size.Blocks(), 1),
          isObject(RandomMask(size.Blocks(), 1, foregroundPercent)),
          objectsMap(size.Blocks()),
          xs(size.Blocks()),
          ys(size.Blocks()),
          zoneResultMap(size.Blocks(), 1) {
        FindGroups();
    }

    void FindGroups() { groupCount = FindForegroundGroups(isObject.data(), groups.data(), grid); }
    int Collect() {
        return CollectMovingBlocks({.groups = groups.data(),
                                    .groupCount = groupCount,
                                    .isInZone = isInZone.data(),
                                    .isObject = isObject.data(),
                                    .objectsMap = objectsMap.data(),
                                    .xs = xs.data(),
                                    .ys = ys.data()},
                                   grid);
    }
    // From the first block; all others are there to be reached.
    void PrepareFill() {
        Collect();
        objectsMap[0] = 1;
        xs[0] = ys[0] = 0;
    }
    int Fill() {
        int processed = 0, count = 1;
        GrowObject(
            {.objectsMap = objectsMap.data(), .xs = xs.data(), .ys = ys.data(), .processed = processed, .count = count}, 1,
            grid);
        return count;
    }
    ObjectBlocks Object() const { return {.xs = xs.data(), .ys = ys.data(), .count = static_cast<int>(xs.size())}; }

    Grid grid;
    std::vector<BlockGroup> groups;
    std::ptrdiff_t groupCount = 0;
    Bytes isInZone, isObject;
    std::vector<std::uint16_t> objectsMap;
    std::vector<std::int16_t> xs, ys;
    Bytes zoneResultMap;
};

template <class Work>
void RegisterKernel(const std::string& name, int foregroundPercent, Work work) {
    RegisterOnGrids("kernel/Segmentation/" + name, [=](benchmark::State& state, GridSize size) {
        Segments s(size, foregroundPercent);
        s.Collect();
        MeasureCalls(state, size.Blocks(), CallsFor(size.Blocks()), [&] { work(s); });
    });
}

[[maybe_unused]] const bool registered = [] {
    for (const int percent : {0, 1, 10, 100}) {
        RegisterKernel("FindForegroundGroups/" + std::to_string(percent), percent, [](Segments& s) { s.FindGroups(); });
        RegisterKernel("CollectMovingBlocks/" + std::to_string(percent), percent,
                       [](Segments& s) { benchmark::DoNotOptimize(s.Collect()); });
    }
    RegisterOnGrids("kernel/Segmentation/GrowObject", [](benchmark::State& state, GridSize size) {
        Segments s(size, 100);
        s.PrepareFill();
        Require(s.Fill() == static_cast<int>(size.Blocks()), "GrowObject", "the object does not cover the grid");
        MeasureCalls(
            state, size.Blocks(), CallsFor(size.Blocks()), [&] { s.Fill(); }, [&] { s.PrepareFill(); });
    });
    RegisterKernel("BoxOfCountedBlocks", 100, [](Segments& s) {
        CellBox box{};
        benchmark::DoNotOptimize(BoxOfCountedBlocks(s.Object(), s.isObject.data(), s.grid, box));
    });
    RegisterKernel("TrimObject", 100, [](Segments& s) {
        const CellBox box{.left = 0, .right = s.grid.columns - 1, .top = 0, .bottom = s.grid.rows - 1};
        benchmark::DoNotOptimize(TrimObject(s.Object(), box, s.objectsMap.data(), s.zoneResultMap.data(), s.grid));
    });
    RegisterKernel("RelabelObject", 100, [](Segments& s) { RelabelObject(s.Object(), s.objectsMap.data(), 1, s.grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
