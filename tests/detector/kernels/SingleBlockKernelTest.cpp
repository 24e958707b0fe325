// Is one block overlooked among many that have nothing to ask?  The loops look at whole chunks first: wherever the one block
// of which something is to be said lies, it is found, and the others stay as they are.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "detector/kernels/Background.h"
#include "detector/kernels/Foreground.h"
#include "statistics/kernels/WindowSums.h"

using namespace MD::Kernels;

namespace {

constexpr std::size_t blocks = 2 * MD::chunkLength + 43;  // whole pieces, and what is left behind them
constexpr std::int64_t second = 10000000, now = 700000000000000000;

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;
using Times = std::vector<std::int64_t>;

// The arrays hold `usual` everywhere but at one block.
template <class T>
testing::AssertionResult OnlyOneIs(const std::vector<T>& values, std::size_t block, T expected, T usual) {
    for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i] != (i == block ? expected : usual))
            return testing::AssertionFailure() << "block " << i << " is " << +values[i] << ", meant is block " << block;
    return testing::AssertionSuccess();
}

// All blocks known, stable and agreeing, their samples fresh; told slowly, nothing is written.
struct QuietScene {
    Floats firstSum = Floats(blocks, 500.0f), secondSum = firstSum, sample = Floats(blocks, 100.0f);
    Bytes chroma = Bytes(blocks, 90), isStable = Bytes(blocks, 255), isBackground = isStable, y = Bytes(blocks, 100),
          cb = chroma, cr = chroma;
    Times lastChangeTime = Times(blocks, now - 6 * second), backgroundTime = Times(blocks, now - second),
          sampleTime = backgroundTime;

    void Learn() {
        LearnBackground(
            {.firstSum = firstSum.data(),
             .secondSum = secondSum.data(),
             .cb = chroma.data(),
             .cr = chroma.data(),
             .isStable = isStable.data(),
             .lastChangeTime = lastChangeTime.data(),
             .isBackground = isBackground.data(),
             .backgroundY = y.data(),
             .backgroundCb = cb.data(),
             .backgroundCr = cr.data(),
             .backgroundTime = backgroundTime.data(),
             .sampleTime = sampleTime.data(),
             .sampleValue = sample.data()},
            {.now = now, .quiet = 5 * second, .sampleAge = second, .refreshInterval = 2 * second, .isSlow = true}, 1.0f,
            {0, blocks});
    }
};

}  // namespace

TEST(SingleBlock, RenewsItsSample) {
    for (std::size_t block = 0; block < blocks; ++block) {
        QuietScene scene;
        scene.sampleTime[block] -= 1;
        scene.firstSum[block] = 504.0f;
        scene.Learn();
        ASSERT_TRUE(OnlyOneIs(scene.sampleTime, block, now, now - second));
        ASSERT_TRUE(OnlyOneIs(scene.sample, block, TenFrameMean(504.0f, 500.0f), 100.0f));
    }
}

TEST(SingleBlock, IsConfirmed) {
    for (std::size_t block = 0; block < blocks; ++block) {
        QuietScene scene;
        scene.isBackground[block] = 0;
        scene.y[block] = 7;
        scene.Learn();
        ASSERT_EQ(scene.isBackground, Bytes(blocks, 255)) << block;
        ASSERT_EQ(scene.y, Bytes(blocks, 100)) << block;
        ASSERT_TRUE(OnlyOneIs(scene.backgroundTime, block, now, now - second));
    }
}

TEST(SingleBlock, HasChanged) {
    const Bytes still(blocks, 100);
    for (std::size_t block = 0; block < blocks; ++block) {
        Bytes newest = still, isMotionPixel(blocks, 7);
        Floats noise(blocks, 40.0f);
        Times lastChangeTime(blocks, 3);
        newest[block] = 80;
        noise[block] = 28.0f;
        MarkChanges({.age0 = newest.data(),
                     .age1 = still.data(),
                     .age2 = still.data(),
                     .age4 = still.data(),
                     .noiseLevel = noise.data(),
                     .isMotionPixel = isMotionPixel.data(),
                     .lastChangeTime = lastChangeTime.data()},
                    now, {0, blocks});
        ASSERT_TRUE(OnlyOneIs(isMotionPixel, block, std::uint8_t{255}, std::uint8_t{0}));
        ASSERT_TRUE(OnlyOneIs(lastChangeTime, block, now, std::int64_t{3}));
    }
}

TEST(SingleBlock, IsForeground) {
    const Bytes still(blocks, 100), isBackground(blocks, 255);
    const Planes ground{.y = still.data(), .cb = still.data(), .cr = still.data()};
    for (std::size_t block = 0; block < blocks; ++block) {
        Bytes newest = still, isObject(blocks, 7);
        Floats noise(blocks, 40.0f);
        newest[block] = 122;
        noise[block] = 21.5f;
        MarkForeground({.current = {.y = newest.data(), .cb = still.data(), .cr = still.data()},
                        .previous = ground,
                        .background = ground,
                        .isBackground = isBackground.data(),
                        .noiseLevel = noise.data(),
                        .isObject = isObject.data()},
                       10, {0, blocks});
        ASSERT_TRUE(OnlyOneIs(isObject, block, std::uint8_t{255}, std::uint8_t{0}));
    }
}

TEST(SingleBlock, StepsItsSums) {
    const Bytes leaving(blocks, 100);
    for (std::size_t block = 0; block < blocks; ++block) {
        Bytes entering = leaving;
        Floats sum(blocks, 500.0f), squareSum(blocks, 50000.0f);
        entering[block] = 101;
        StepWindow(
            {.entering = entering.data(), .leaving = leaving.data(), .sum = sum.data(), .squareSum = squareSum.data()},
            {0, blocks});
        ASSERT_TRUE(OnlyOneIs(sum, block, 501.0f, 500.0f));
        ASSERT_TRUE(OnlyOneIs(squareSum, block, 50201.0f, 50000.0f));
    }
}
