// What do the three passes of shadow detection cost, one by one?  With 5 % and with all of the blocks in the foreground.
#include "detector/kernels/Shadow.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;
using MD::Grid;

struct ShadowPlanes {
    ShadowPlanes(std::size_t blocks, int foregroundPercent)
        : isForeground(blocks),
          isObject(blocks),
          zoneResultMap(blocks),
          searchMask(blocks),
          isBackground(blocks, 255),
          backgroundY(RandomBytes(blocks, 2, 80, 150)),
          backgroundCb(RandomBytes(blocks, 3, 118, 138)),
          backgroundCr(RandomBytes(blocks, 4, 118, 138)),
          y(Noisy(backgroundY, 5, 30)),
          cb(Noisy(backgroundCb, 6, 8)),
          cr(Noisy(backgroundCr, 7, 8)),
          backgroundGradientX(blocks),
          backgroundGradientY(blocks),
          currentGradientX(blocks),
          currentGradientY(blocks),
          cbDifference(blocks),
          crDifference(blocks),
          gradientSum(blocks),
          chromaSum(blocks) {
        // Foreground comes in stretches, as things do.
        for (std::size_t i = 0; i < blocks; ++i)
            isForeground[i] = i % 200 < static_cast<std::size_t>(2 * foregroundPercent) ? 255 : 0;
        isObject = isForeground;
    }

    void Mark(Grid grid) { MarkShadowSearch(isObject.data(), zoneResultMap.data(), searchMask.data(), grid); }
    void Measure(Grid grid) {
        MeasureShadowFeatures({.searchMask = searchMask.data(),
                               .isBackground = isBackground.data(),
                               .backgroundY = backgroundY.data(),
                               .backgroundCb = backgroundCb.data(),
                               .backgroundCr = backgroundCr.data(),
                               .currentY = y.data(),
                               .currentCb = cb.data(),
                               .currentCr = cr.data(),
                               .backgroundGradientX = backgroundGradientX.data(),
                               .backgroundGradientY = backgroundGradientY.data(),
                               .currentGradientX = currentGradientX.data(),
                               .currentGradientY = currentGradientY.data(),
                               .cbDifference = cbDifference.data(),
                               .crDifference = crDifference.data()},
                              grid);
    }
    void Decide(Grid grid) {
        DecideShadows({.isBackground = isBackground.data(),
                       .backgroundGradientX = backgroundGradientX.data(),
                       .backgroundGradientY = backgroundGradientY.data(),
                       .currentGradientX = currentGradientX.data(),
                       .currentGradientY = currentGradientY.data(),
                       .cbDifference = cbDifference.data(),
                       .crDifference = crDifference.data(),
                       .gradientSum = gradientSum.data(),
                       .chromaSum = chromaSum.data(),
                       .isObject = isObject.data(),
                       .zoneResultMap = zoneResultMap.data()},
                      100.0f, grid);
    }

    Bytes isForeground, isObject, zoneResultMap, searchMask, isBackground, backgroundY, backgroundCb, backgroundCr, y, cb,
        cr;
    Floats backgroundGradientX, backgroundGradientY, currentGradientX, currentGradientY, cbDifference, crDifference,
        gradientSum, chromaSum;
};

template <class Work>
void RegisterKernel(const std::string& name, Work work) {
    for (const int percent : {5, 100})
        RegisterOnGrids("kernel/Shadow/" + name + "/" + std::to_string(percent),
                        [=](benchmark::State& state, GridSize size) {
                            ShadowPlanes p(size.Blocks(), percent);
                            const Grid grid{size.columns, size.rows};
                            const auto prepare = [&] {  // the decision takes blocks out of the foreground
                                p.isObject = p.isForeground;
                                p.Mark(grid);
                            };
                            MeasureCalls(
                                state, size.Blocks(), CallsFor(size.Blocks()), [&] { work(p, grid); }, prepare);
                        });
}

[[maybe_unused]] const bool registered = [] {
    RegisterKernel("MarkShadowSearch", [](ShadowPlanes& p, Grid grid) { p.Mark(grid); });
    RegisterKernel("MeasureShadowFeatures", [](ShadowPlanes& p, Grid grid) { p.Measure(grid); });
    RegisterKernel("DecideShadows", [](ShadowPlanes& p, Grid grid) { p.Decide(grid); });
    return true;
}();

}  // namespace
}  // namespace Bench
