// What do the background's questions cost, one by one?  On a quiet stream, as most blocks are most of the time.
#include "detector/kernels/Background.h"

#include "KernelPlanes.h"
#include "Measure.h"

namespace Bench {
namespace {

using namespace MD::Kernels;
using MD::BlockRange;

constexpr std::int64_t oneSecond = 10000000;  // ticks

// A detector's learning state.
struct LearningState {
    explicit LearningState(std::size_t blocks)
        : stream(blocks),
          isStable(RandomMask(blocks, 20, 80)),
          isBackground(blocks, 255),
          isMotionPixel(blocks),
          backgroundY(stream.lumaOfAge[0]),
          cb(RandomBytes(blocks, 21, 118, 138)),
          cr(RandomBytes(blocks, 22, 118, 138)),
          backgroundCb(cb),
          backgroundCr(cr),
          noiseLevel(blocks, 21.0f),
          sampleValue(blocks, 100.0f),
          lastChangeTime(blocks),
          backgroundTime(blocks),
          sampleTime(blocks) {}

    WindowSums Sums() const {
        return {.firstSum = stream.firstSum.data(),
                .secondSum = stream.secondSum.data(),
                .centerSum = stream.centerSum.data(),
                .firstSquareSum = stream.firstSquareSum.data(),
                .secondSquareSum = stream.secondSquareSum.data(),
                .centerSquareSum = stream.centerSquareSum.data()};
    }
    LearningBlocks Blocks() {
        return {.firstSum = stream.firstSum.data(),
                .secondSum = stream.secondSum.data(),
                .cb = cb.data(),
                .cr = cr.data(),
                .isStable = isStable.data(),
                .lastChangeTime = lastChangeTime.data(),
                .isBackground = isBackground.data(),
                .backgroundY = backgroundY.data(),
                .backgroundCb = backgroundCb.data(),
                .backgroundCr = backgroundCr.data(),
                .backgroundTime = backgroundTime.data(),
                .sampleTime = sampleTime.data(),
                .sampleValue = sampleValue.data()};
    }

    QuietStream stream;
    Bytes isStable, isBackground, isMotionPixel, backgroundY, cb, cr, backgroundCb, backgroundCr;
    Floats noiseLevel, sampleValue;
    Times lastChangeTime, backgroundTime, sampleTime;
};

template <class Work>
void RegisterKernel(const char* name, Work work) {
    RegisterOnGrids(std::string("kernel/Background/") + name, [work](benchmark::State& state, GridSize grid) {
        LearningState s(grid.Blocks());
        MeasureCalls(state, grid.Blocks(), CallsFor(grid.Blocks()), [&] { work(s, BlockRange{0, grid.Blocks()}); });
    });
}

constexpr LearningTimes TimesAt(std::int64_t now) {
    return {.now = now, .quiet = 5 * oneSecond, .sampleAge = oneSecond, .refreshInterval = 2 * oneSecond, .isSlow = false};
}

[[maybe_unused]] const bool registered = [] {
    RegisterKernel("JudgeStability", [](LearningState& s, BlockRange all) {
        JudgeStability(s.Sums(), {.sum = 5.0f, .dispersion = 0.8f}, s.isStable.data(), all);
    });
    RegisterKernel("LearnNoiseFromExtremes", [](LearningState& s, BlockRange all) {
        LearnNoiseFromExtremes({.isStable = s.isStable.data(),
                                .min = s.stream.min.data(),
                                .max = s.stream.max.data(),
                                .offset = 12.0f,
                                .noiseLevel = s.noiseLevel.data()},
                               all);
    });
    RegisterKernel("LearnNoiseFromDispersions", [](LearningState& s, BlockRange all) {
        LearnNoiseFromDispersions(s.Sums(), s.isStable.data(), s.noiseLevel.data(), all);
    });
    RegisterKernel("MarkChanges", [](LearningState& s, BlockRange all) {
        MarkChanges({.age0 = s.stream.lumaOfAge[0].data(),
                     .age1 = s.stream.lumaOfAge[1].data(),
                     .age2 = s.stream.lumaOfAge[2].data(),
                     .age4 = s.stream.lumaOfAge[4].data(),
                     .noiseLevel = s.noiseLevel.data(),
                     .isMotionPixel = s.isMotionPixel.data(),
                     .lastChangeTime = s.lastChangeTime.data()},
                    6 * oneSecond, all);
    });
    RegisterKernel("LearnBackground",
                   [](LearningState& s, BlockRange all) { LearnBackground(s.Blocks(), TimesAt(oneSecond / 2), 1.0f, all); });
    RegisterKernel("LearnBackgroundSampleDue", [](LearningState& s, BlockRange all) {
        s.sampleTime.assign(s.sampleTime.size(), 0);  // part of the figure: 8 bytes per block written
        LearnBackground(s.Blocks(), TimesAt(2 * oneSecond), 1.0f, all);
    });
    RegisterKernel("ForgetBackground", [](LearningState& s, BlockRange all) {
        ForgetBackground({.backgroundTime = s.backgroundTime.data(),
                          .isBackground = s.isBackground.data(),
                          .noiseLevel = s.noiseLevel.data()},
                         oneSecond, 60 * oneSecond, 21.0f, all);
    });
    RegisterKernel("LearnBackgroundFromIFrame", [](LearningState& s, BlockRange all) {
        LearnBackgroundFromIFrame({.firstSum = s.stream.firstSum.data(),
                                   .firstSquareSum = s.stream.firstSquareSum.data(),
                                   .lastChangeTime = s.lastChangeTime.data(),
                                   .isBackground = s.isBackground.data(),
                                   .backgroundY = s.backgroundY.data(),
                                   .backgroundTime = s.backgroundTime.data(),
                                   .sampleTime = s.sampleTime.data()},
                                  {.now = 20 * oneSecond, .quiet = 15 * oneSecond, .forget = 60 * oneSecond}, 64.0f, all);
    });
    return true;
}();

}  // namespace
}  // namespace Bench
