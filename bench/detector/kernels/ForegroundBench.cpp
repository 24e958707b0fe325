// What does it cost to find the blocks that differ from their reference?  Each kind of input; a tenth of the blocks has no
// background.
#include "detector/kernels/Foreground.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;
using MD::BlockRange;

struct ForegroundPlanes {
    explicit ForegroundPlanes(std::size_t blocks)
        : y(RandomBytes(blocks, 1, 60, 180)),
          cb(RandomBytes(blocks, 2, 118, 138)),
          cr(RandomBytes(blocks, 3, 118, 138)),
          previousY(Noisy(y, 4, 2)),
          previousCb(Noisy(cb, 5, 1)),
          previousCr(Noisy(cr, 6, 1)),
          backgroundY(Noisy(y, 7, 2)),
          backgroundCb(Noisy(cb, 8, 1)),
          backgroundCr(Noisy(cr, 9, 1)),
          isBackground(RandomMask(blocks, 10, 90)),
          isObject(blocks),
          isMotionPixel(blocks),
          noiseLevel(blocks, 21.0f) {}

    Planes Current() const { return {.y = y.data(), .cb = cb.data(), .cr = cr.data()}; }
    Planes Previous() const { return {.y = previousY.data(), .cb = previousCb.data(), .cr = previousCr.data()}; }
    Planes Background() const { return {.y = backgroundY.data(), .cb = backgroundCb.data(), .cr = backgroundCr.data()}; }

    Bytes y, cb, cr, previousY, previousCb, previousCr, backgroundY, backgroundCb, backgroundCr, isBackground, isObject,
        isMotionPixel;
    Floats noiseLevel;
};

constexpr BrightnessRange knownBrightness{.darkest = 40.0f, .brightest = 190.0f};
constexpr PartlyLimits toBackground{.inRange = 12.0f, .outOfRange = 36.0f},
    toEarlierFrame{.inRange = 15.0f, .outOfRange = 31.5f};

template <class Work>
void RegisterKernel(const char* name, Work work) {
    RegisterOnGrids(std::string("kernel/Foreground/") + name, [work](benchmark::State& state, GridSize grid) {
        ForegroundPlanes p(grid.Blocks());
        MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] { work(p, BlockRange{0, grid.Blocks()}); });
    });
}

[[maybe_unused]] const bool registered = [] {
    RegisterKernel("MarkForeground", [](ForegroundPlanes& p, BlockRange all) {
        MarkForeground({.current = p.Current(),
                        .previous = p.Previous(),
                        .background = p.Background(),
                        .isBackground = p.isBackground.data(),
                        .noiseLevel = p.noiseLevel.data(),
                        .isObject = p.isObject.data()},
                       10, all);
    });
    RegisterKernel("MarkForegroundMPEG4", [](ForegroundPlanes& p, BlockRange all) {
        MarkForegroundMPEG4({.current = p.Current(),
                             .referenceLuma = p.previousY.data(),
                             .background = p.Background(),
                             .isBackground = p.isBackground.data(),
                             .noiseLevel = p.noiseLevel.data(),
                             .isObject = p.isObject.data(),
                             .isMotionPixel = p.isMotionPixel.data()},
                            10, all);
    });
    RegisterKernel("MarkForegroundIFrame", [](ForegroundPlanes& p, BlockRange all) {
        MarkForegroundIFrame({.current = p.y.data(),
                              .previous = p.previousY.data(),
                              .background = p.backgroundY.data(),
                              .isBackground = p.isBackground.data(),
                              .isObject = p.isObject.data(),
                              .isMotionPixel = p.isMotionPixel.data()},
                             toBackground, toEarlierFrame, knownBrightness, all);
    });
    RegisterKernel("MarkForegroundPFrame", [](ForegroundPlanes& p, BlockRange all) {
        benchmark::DoNotOptimize(MarkForegroundPFrame({.current = p.y.data(),
                                                       .reference = p.previousY.data(),
                                                       .isObject = p.isObject.data(),
                                                       .isMotionPixel = p.isMotionPixel.data()},
                                                      toEarlierFrame, knownBrightness, all));
    });
    return true;
}();

}  // namespace
}  // namespace Bench
