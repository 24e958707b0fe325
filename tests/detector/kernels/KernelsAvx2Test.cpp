// Does every loop leave the same bytes on every level?  Random planes of random lengths and alignments between random bytes
// that nobody may touch; what the loops should leave, the tests of the kernels say, which run on every level too.
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "SeededRandom.h"
#include "detector/kernels/Background.h"
#include "detector/kernels/DiffState.h"
#include "detector/kernels/Foreground.h"
#include "detector/kernels/Shadow.h"
#include "statistics/kernels/WindowSums.h"
#include "utils/Levels.h"

using namespace MD::Kernels;
using Kit::SeededRandom;
using MD::BlockRange;
using MD::Grid;
using MD::Level;
using MD::Loop;

namespace {

constexpr std::int64_t second = 10000000;  // ticks
constexpr PartlyLimits toBackground{.inRange = 12.0f, .outOfRange = 36.0f}, toFrame{.inRange = 15.0f, .outOfRange = 31.5f};
constexpr BrightnessRange brightness{.darkest = 40.0f, .brightest = 190.0f};

// The arrays of one call, in one piece of memory, with random bytes between them.
class Arrays {
public:
    explicit Arrays(std::uint64_t seed)
        : grid{Random(seed).Between(1, 90), Random(seed + 1).Between(1, 8)}, memory(64 * 1024), _random(seed + 2) {
        for (std::uint8_t& byte : memory) byte = _random.Byte();
        blockCount = static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
        range.first = static_cast<std::size_t>(_random.Below(static_cast<int>(blockCount)));
        range.last = range.first + static_cast<std::size_t>(_random.Between(0, static_cast<int>(blockCount - range.first)));
        flatness = _random.Between(0, 3);
    }

    template <class T, class Draw>
    T* Of(Draw draw) {
        constexpr std::size_t guard = 64;
        _used =
            (_used + guard + sizeof(T) - 1) / sizeof(T) * sizeof(T) + sizeof(T) * static_cast<std::size_t>(_random.Below(8));
        T* const plane = reinterpret_cast<T*>(memory.data() + _used);
        _used += blockCount * sizeof(T);
        EXPECT_LE(_used + guard, memory.size());
        for (std::size_t i = 0; i < blockCount; ++i) plane[i] = static_cast<T>(draw());
        return plane;
    }
    // Close to each other often: limits are met from both sides, and whole parts have nothing to do.
    std::uint8_t* Luma() {
        return Of<std::uint8_t>(
            [this] { return _random.OneIn(20) ? _random.Byte() : 100 + _random.Between(0, 8 * flatness); });
    }
    std::uint8_t* Marks() {
        return Of<std::uint8_t>([this] { return flatness == 0 ? 0 : _random.OneIn(flatness + 1) ? 0 : 255; });
    }
    std::uint8_t* Ones() {
        return Of<std::uint8_t>([this] { return _random.OneIn(flatness + 1) ? 1 : 0; });
    }
    float* Noise() {
        return Of<float>([this] { return static_cast<float>(_random.Between(10, 40)) * 0.7f; });
    }
    float* Sums() {
        return Of<float>([this] { return 500 + _random.Between(0, 8 * flatness); });
    }
    float* SquareSums() {
        return Of<float>([this] { return 50000 + _random.Between(0, 2000 * flatness); });
    }
    float* Small() {
        return Of<float>([this] { return static_cast<float>(_random.Between(0, 1000)) * 0.001f; });
    }
    std::int64_t* Times() {
        return Of<std::int64_t>([this] { return now - _random.Between(0, 70) * second + _random.Between(-1, 1); });
    }
    MD::Kernels::WindowSums Windows() {
        return {.firstSum = Sums(),
                .secondSum = Sums(),
                .centerSum = Sums(),
                .firstSquareSum = SquareSums(),
                .secondSquareSum = SquareSums(),
                .centerSquareSum = SquareSums()};
    }
    Planes Colours() { return {.y = Luma(), .cb = Luma(), .cr = Luma()}; }

    Grid grid;
    std::size_t blockCount;
    BlockRange range;
    int flatness;
    std::int64_t now = 1000 * second;
    std::vector<std::uint8_t> memory;

private:
    static SeededRandom Random(std::uint64_t seed) { return SeededRandom(seed); }

    SeededRandom _random;
    std::size_t _used = 0;
};

constexpr auto areEqual = [](const auto& a, const auto& b) {
    using Value = std::remove_cvref_t<decltype(a)>;
    if constexpr (std::is_same_v<Value, RowVariation>) return a.sum == b.sum && a.count == b.count;
    else if constexpr (std::is_same_v<Value, RowRange>) return a.first == b.first && a.last == b.last;
    else return a == b;
};

// prepare(Arrays&) makes what is given to both: a call(function).
template <class Signature, class Prepare>
testing::AssertionResult LevelsAgree(const Loop<Signature>& loop, Prepare prepare) {
    for (std::uint64_t round = 0; round < 60; ++round) {
        Arrays arrays(round * 1000);
        const auto call = prepare(arrays);
        const auto run = [&](Level level) {
            if constexpr (std::is_void_v<decltype(call(loop.Of(level)))>) {
                call(loop.Of(level));
                return 0;
            } else {
                return call(loop.Of(level));
            }
        };
        const std::vector<std::uint8_t> before = arrays.memory;
        const auto expected = run(Level::Plain);
        const std::vector<std::uint8_t> after = arrays.memory;
        std::memcpy(arrays.memory.data(), before.data(), before.size());  // where the arrays are
        const auto got = run(Level::Avx2);
        if (!areEqual(expected, got)) return testing::AssertionFailure() << "round " << round << ": other results";
        for (std::size_t i = 0; i < after.size(); ++i)
            if (arrays.memory[i] != after[i])
                return testing::AssertionFailure()
                       << "round " << round << ", " << arrays.blockCount << " blocks, range " << arrays.range.first << " to "
                       << arrays.range.last << ", byte " << i << ": got " << +arrays.memory[i] << ", plain " << +after[i];
    }
    return testing::AssertionSuccess();
}

class KernelsAvx2 : public testing::Test {
protected:
    void SetUp() override {
        if (!MD::UseLevel(Level::Avx2)) GTEST_SKIP() << "no AVX2 here, or no loops of their own for it";
    }
};

TEST_F(KernelsAvx2, AreTheOnesThatRunAndAreOthers) {
    EXPECT_EQ(MD::RunningLevel(), Level::Avx2);
    EXPECT_NE(JudgeStability.Of(Level::Plain), JudgeStability.Of(Level::Avx2));
    EXPECT_NE(FindExtremes.Of(Level::Plain), FindExtremes.Of(Level::Avx2));
}

TEST_F(KernelsAvx2, WindowSums) {
    EXPECT_TRUE(LevelsAgree(StepWindow, [](Arrays& a) {
        return [w = SteppingWindow{.entering = a.Luma(), .leaving = a.Luma(), .sum = a.Sums(), .squareSum = a.SquareSums()},
                r = a.range](auto f) { f(w, r); };
    }));
    EXPECT_TRUE(LevelsAgree(FindExtremes, [](Arrays& a) {
        ExtremesBlocks b{.luma = {}, .min = a.Luma(), .max = a.Luma()};
        for (const std::uint8_t*& luma : b.luma) luma = a.Luma();
        return [b, r = a.range](auto f) { f(b, r); };
    }));
}

TEST_F(KernelsAvx2, Stability) {
    EXPECT_TRUE(LevelsAgree(JudgeStability, [](Arrays& a) {
        return [w = a.Windows(), isStable = a.Marks(), r = a.range](auto f) {
            f(w, {.sum = 5.0f, .dispersion = 300.0f}, isStable, r);
        };
    }));
}

TEST_F(KernelsAvx2, Noise) {
    EXPECT_TRUE(LevelsAgree(LearnNoiseFromExtremes, [](Arrays& a) {
        return [b =
                    NoiseOfExtremesBlocks{
                        .isStable = a.Marks(), .min = a.Luma(), .max = a.Luma(), .offset = 12.0f, .noiseLevel = a.Noise()},
                r = a.range](auto f) { f(b, r); };
    }));
    EXPECT_TRUE(LevelsAgree(LearnNoiseFromDispersions, [](Arrays& a) {
        return [w = a.Windows(), isStable = a.Marks(), noise = a.Noise(), r = a.range](auto f) { f(w, isStable, noise, r); };
    }));
}

TEST_F(KernelsAvx2, Changes) {
    EXPECT_TRUE(LevelsAgree(MarkChanges, [](Arrays& a) {
        return [b = ChangeBlocks{.age0 = a.Luma(),
                                 .age1 = a.Luma(),
                                 .age2 = a.Luma(),
                                 .age4 = a.Luma(),
                                 .noiseLevel = a.Noise(),
                                 .isMotionPixel = a.Marks(),
                                 .lastChangeTime = a.Times()},
                now = a.now, r = a.range](auto f) { f(b, now, r); };
    }));
}

TEST_F(KernelsAvx2, Learning) {
    for (const bool isSlow : {false, true})
        EXPECT_TRUE(LevelsAgree(LearnBackground, [=](Arrays& a) {
            return [b = LearningBlocks{.firstSum = a.Sums(),
                                       .secondSum = a.Sums(),
                                       .cb = a.Luma(),
                                       .cr = a.Luma(),
                                       .isStable = a.Marks(),
                                       .lastChangeTime = a.Times(),
                                       .isBackground = a.Marks(),
                                       .backgroundY = a.Luma(),
                                       .backgroundCb = a.Luma(),
                                       .backgroundCr = a.Luma(),
                                       .backgroundTime = a.Times(),
                                       .sampleTime = a.Times(),
                                       .sampleValue = a.Noise()},
                    t = LearningTimes{.now = a.now,
                                      .quiet = 5 * second,
                                      .sampleAge = 3 * second,
                                      .refreshInterval = 4 * second,
                                      .isSlow = isSlow},
                    r = a.range](auto f) { f(b, t, 8.0f, r); };
        }));
    EXPECT_TRUE(LevelsAgree(ForgetBackground, [](Arrays& a) {
        return [b = ForgettingBlocks{.backgroundTime = a.Times(), .isBackground = a.Marks(), .noiseLevel = a.Noise()},
                now = a.now, limit = 60 * second, r = a.range](auto f) { f(b, now, limit, 21.0f, r); };
    }));
    EXPECT_TRUE(LevelsAgree(LearnBackgroundFromIFrame, [](Arrays& a) {
        return [b = IFrameLearningBlocks{.firstSum = a.Sums(),
                                         .firstSquareSum = a.SquareSums(),
                                         .lastChangeTime = a.Times(),
                                         .isBackground = a.Marks(),
                                         .backgroundY = a.Luma(),
                                         .backgroundTime = a.Times(),
                                         .sampleTime = a.Times()},
                t = IFrameLearningTimes{.now = a.now, .quiet = 5 * second, .forget = 60 * second},
                r = a.range](auto f) { f(b, t, 500.0f, r); };
    }));
}

TEST_F(KernelsAvx2, Foreground) {
    EXPECT_TRUE(LevelsAgree(MarkForeground, [](Arrays& a) {
        return [b = ForegroundBlocks{.current = a.Colours(),
                                     .previous = a.Colours(),
                                     .background = a.Colours(),
                                     .isBackground = a.Marks(),
                                     .noiseLevel = a.Noise(),
                                     .isObject = a.Marks()},
                r = a.range](auto f) { f(b, 10, r); };
    }));
    EXPECT_TRUE(LevelsAgree(MarkForegroundMPEG4, [](Arrays& a) {
        return [b = MPEG4ForegroundBlocks{.current = a.Colours(),
                                          .referenceLuma = a.Luma(),
                                          .background = a.Colours(),
                                          .isBackground = a.Marks(),
                                          .noiseLevel = a.Noise(),
                                          .isObject = a.Marks(),
                                          .isMotionPixel = a.Marks()},
                r = a.range](auto f) { f(b, 10, r); };
    }));
    EXPECT_TRUE(LevelsAgree(MarkForegroundIFrame, [](Arrays& a) {
        return [b = IFrameForegroundBlocks{.current = a.Luma(),
                                           .previous = a.Luma(),
                                           .background = a.Luma(),
                                           .isBackground = a.Marks(),
                                           .isObject = a.Marks(),
                                           .isMotionPixel = a.Marks()},
                r = a.range](auto f) { f(b, toBackground, toFrame, brightness, r); };
    }));
    EXPECT_TRUE(LevelsAgree(MarkForegroundPFrame, [](Arrays& a) {
        return [b =
                    PFrameForegroundBlocks{
                        .current = a.Luma(), .reference = a.Luma(), .isObject = a.Marks(), .isMotionPixel = a.Marks()},
                r = a.range](auto f) { return f(b, toFrame, brightness, r); };
    }));
}

TEST_F(KernelsAvx2, Shadows) {
    EXPECT_TRUE(LevelsAgree(MarkShadowSearch, [](Arrays& a) {
        return [isObject = a.Marks(), zone = a.Ones(), mask = a.Ones(), grid = a.grid](auto f) {
            return f(isObject, zone, mask, grid);
        };
    }));
    EXPECT_TRUE(LevelsAgree(MeasureShadowFeatures, [](Arrays& a) {
        return [b = ShadowFeatureBlocks{.searchMask = a.Ones(),
                                        .isBackground = a.Marks(),
                                        .backgroundY = a.Luma(),
                                        .backgroundCb = a.Luma(),
                                        .backgroundCr = a.Luma(),
                                        .currentY = a.Luma(),
                                        .currentCb = a.Luma(),
                                        .currentCr = a.Luma(),
                                        .backgroundGradientX = a.Small(),
                                        .backgroundGradientY = a.Small(),
                                        .currentGradientX = a.Small(),
                                        .currentGradientY = a.Small(),
                                        .cbDifference = a.Small(),
                                        .crDifference = a.Small()},
                grid = a.grid](auto f) { f(b, grid); };
    }));
    EXPECT_TRUE(LevelsAgree(DecideShadows, [](Arrays& a) {
        return [b = ShadowDecisionBlocks{.isBackground = a.Marks(),
                                         .backgroundGradientX = a.Small(),
                                         .backgroundGradientY = a.Small(),
                                         .currentGradientX = a.Small(),
                                         .currentGradientY = a.Small(),
                                         .cbDifference = a.Small(),
                                         .crDifference = a.Small(),
                                         .gradientSum = a.Small(),
                                         .chromaSum = a.Small(),
                                         .isObject = a.Marks(),
                                         .zoneResultMap = a.Ones()},
                grid = a.grid](auto f) { f(b, 800.0f, grid); };
    }));
}

TEST_F(KernelsAvx2, Restlessness) {
    EXPECT_TRUE(LevelsAgree(VariationOfRow, [](Arrays& a) {
        std::vector<const std::uint8_t*> ages(framesOfRing);
        for (const std::uint8_t*& age : ages) age = a.Luma();
        return [ages, isSelected = a.Marks(), r = a.range](auto f) {
            const std::uint8_t* luma[framesOfRing];
            for (int age = 0; age < framesOfRing; ++age) luma[age] = ages[static_cast<std::size_t>(age)];
            return f(luma, isSelected, static_cast<std::ptrdiff_t>(r.first), static_cast<std::ptrdiff_t>(r.last));
        };
    }));
}

// Loops that do one thing otherwise: the last bit of one block, one byte behind the range, the result.
using MarkingLoop = Loop<int(std::uint8_t*, BlockRange)>;
int MarkAll(std::uint8_t* marks, BlockRange r) {
    for (std::size_t i = r.first; i < r.last; ++i) marks[i] = 254;
    return static_cast<int>(r.Count());
}
int MarkOneOtherwise(std::uint8_t* marks, BlockRange r) {
    MarkAll(marks, r);
    if (r.Count() > 30) marks[r.first + 30] = 255;
    return static_cast<int>(r.Count());
}
int MarkOneMore(std::uint8_t* marks, BlockRange r) { return MarkAll(marks, {r.first, r.last + 1}) - 1; }
int CountOneMore(std::uint8_t* marks, BlockRange r) { return MarkAll(marks, r) + 1; }

TEST(LevelComparison, NoticesWhatALoopDoesOtherwise) {
    const auto prepare = [](Arrays& a) { return [marks = a.Marks(), r = a.range](auto f) { return f(marks, r); }; };
    EXPECT_TRUE(LevelsAgree(MarkingLoop(MarkAll, MarkAll), prepare));
    EXPECT_FALSE(LevelsAgree(MarkingLoop(MarkAll, MarkOneOtherwise), prepare));
    EXPECT_FALSE(LevelsAgree(MarkingLoop(MarkAll, MarkOneMore), prepare));
    EXPECT_FALSE(LevelsAgree(MarkingLoop(MarkAll, CountOneMore), prepare));
}

}  // namespace
