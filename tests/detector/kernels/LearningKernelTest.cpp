// When does a block become background, keep it, renew its sample, and forget?  The learning loops of kernels/Background
// against the same rules written block by block, and their limits tick by tick.
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "SeededRandom.h"
#include "WindowSumsOfBlocks.h"
#include "detector/kernels/Background.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelPlane;
using Kit::Level;
using Kit::SeededRandom;

namespace {

constexpr std::int64_t second = 10000000, now = 700000000000000000;
constexpr LearningTimes fast{
    .now = now, .quiet = 5 * second, .sampleAge = second, .refreshInterval = 2 * second, .isSlow = false};
constexpr LearningTimes slow{
    .now = now, .quiet = 5 * second, .sampleAge = second, .refreshInterval = 2 * second, .isSlow = true};

// Everything that one block knows and sees.
struct Block {
    float firstSum = 500.0f, secondSum = 500.0f;  // a mean of 100
    int cb = 90, cr = 160;                        // of the newest frame
    bool isStable = true;
    std::int64_t quietFor = 6 * second;  // ticks since the last change
    bool isBackground = false;
    int y = 0, oldCb = 1, oldCr = 2;  // background
    std::int64_t refreshedAgo = 0, sampledAgo = 0;
    float sample = 100.0f;

    bool operator==(const Block&) const = default;
};

float Mean(const Block& b) { return (b.firstSum * 0.2f + b.secondSum * 0.2f) * 0.5f; }

void TakeSample(Block& b) {
    b.sampledAgo = 0;
    b.sample = Mean(b);
}

void SetBackground(Block& b) {
    b.refreshedAgo = 0;
    b.y = static_cast<int>(Mean(b) + 0.5f);
    b.oldCb = b.cb;
    b.oldCr = b.cr;
}

void CandidateRule(Block& b) {
    if (b.quietFor > 5 * second) {
        if (b.sampledAgo > 49999999) {
            TakeSample(b);
            return;
        }
        if (std::fabs(Mean(b) - b.sample) <= 1.0f) {
            b.isBackground = true;
            SetBackground(b);
            if (b.sampledAgo > second) TakeSample(b);
            return;
        }
    }
    if (b.sampledAgo > second) TakeSample(b);
}

Block FastRule(Block b) {
    if (!b.isStable) return b;
    if (b.isBackground && std::fabs(static_cast<float>(b.y) - Mean(b)) <= 1.0f) SetBackground(b);
    CandidateRule(b);
    return b;
}

Block SlowRule(Block b) {
    if (!b.isStable) return b;
    if (!b.isBackground) {
        CandidateRule(b);
        return b;
    }
    if (std::fabs(static_cast<float>(b.y) - Mean(b)) <= 1.0f && b.refreshedAgo > 2 * second) SetBackground(b);
    if (b.sampledAgo > second) TakeSample(b);
    return b;
}

struct LearningArrays {
    WindowSumsOfBlocks sums;
    KernelPlane<std::uint8_t> cb, cr, isStable, isBackground, y, oldCb, oldCr;
    KernelPlane<std::int64_t> lastChangeTime, backgroundTime, sampleTime;
    KernelPlane<float> sample;

    void Fill(const KernelCase& c) {
        SeededRandom random(c.seed);
        const auto flag = [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); };
        const auto time = [&] {  // both sides of every limit
            constexpr std::int64_t spans[] = {0, second, 2 * second, 5 * second, 15 * second, 30 * second, 60 * second};
            return now - random.Pick(spans) - random.Between(-2, 2);
        };
        sums.Fill(c, random);
        for (KernelPlane<std::uint8_t>* plane : {&cb, &cr, &oldCb, &oldCr})
            plane->Fill(c, 0, 255, [&] { return random.Byte(); });
        isStable.Fill(c, 255, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(5) ? 0 : 255); });
        isBackground.Draw(c, flag);
        for (KernelPlane<std::int64_t>* plane : {&lastChangeTime, &backgroundTime, &sampleTime}) plane->Draw(c, time);
        for (std::size_t i = 0; i < c.size; ++i) {
            const float mean = TenFrameMean(sums.first(c, i), sums.second(c, i));
            y(c, i) = static_cast<std::uint8_t>(c.level == Level::Random ? mean + static_cast<float>(random.Between(-2, 2))
                                                                         : mean);
            sample(c, i) = mean + static_cast<float>(random.Between(-3, 3)) * 0.5f;
        }
    }
    Block At(const KernelCase& c, std::size_t i) {
        return {sums.first(c, i),           sums.second(c, i),       cb(c, i),    cr(c, i),    isStable(c, i) != 0,
                now - lastChangeTime(c, i), isBackground(c, i) != 0, y(c, i),     oldCb(c, i), oldCr(c, i),
                now - backgroundTime(c, i), now - sampleTime(c, i),  sample(c, i)};
    }
    std::vector<Block> Copy(const KernelCase& c) {
        std::vector<Block> blocks;
        for (std::size_t i = 0; i < c.size; ++i) blocks.push_back(At(c, i));
        return blocks;
    }
    void Put(const KernelCase& c, std::size_t i, const Block& b) {
        sums.first(c, i) = b.firstSum;
        sums.second(c, i) = b.secondSum;
        cb(c, i) = static_cast<std::uint8_t>(b.cb);
        cr(c, i) = static_cast<std::uint8_t>(b.cr);
        isStable(c, i) = b.isStable ? 255 : 0;
        lastChangeTime(c, i) = now - b.quietFor;
        isBackground(c, i) = b.isBackground ? 255 : 0;
        y(c, i) = static_cast<std::uint8_t>(b.y);
        oldCb(c, i) = static_cast<std::uint8_t>(b.oldCb);
        oldCr(c, i) = static_cast<std::uint8_t>(b.oldCr);
        backgroundTime(c, i) = now - b.refreshedAgo;
        sampleTime(c, i) = now - b.sampledAgo;
        sample(c, i) = b.sample;
    }
    void Learn(const KernelCase& c, const LearningTimes& times) {
        LearnBackground({.firstSum = sums.first.At(c),
                         .secondSum = sums.second.At(c),
                         .cb = cb.At(c),
                         .cr = cr.At(c),
                         .isStable = isStable.At(c),
                         .lastChangeTime = lastChangeTime.At(c),
                         .isBackground = isBackground.At(c),
                         .backgroundY = y.At(c),
                         .backgroundCb = oldCb.At(c),
                         .backgroundCr = oldCr.At(c),
                         .backgroundTime = backgroundTime.At(c),
                         .sampleTime = sampleTime.At(c),
                         .sampleValue = sample.At(c)},
                        times, 1.0f, c.Range());
    }
    void LearnIFrame(const KernelCase& c, const IFrameLearningTimes& times) {
        LearnBackgroundFromIFrame({.firstSum = sums.first.At(c),
                                   .firstSquareSum = sums.firstSquare.At(c),
                                   .lastChangeTime = lastChangeTime.At(c),
                                   .isBackground = isBackground.At(c),
                                   .backgroundY = y.At(c),
                                   .backgroundTime = backgroundTime.At(c),
                                   .sampleTime = sampleTime.At(c)},
                                  times, 64.0f, c.Range());
    }
    // Every flag byte is 0 or 255, in the range and outside.
    bool HasPlainFlags(const KernelCase& c) {
        for (std::size_t i = 0; i < c.size; ++i)
            if (isBackground(c, i) != 0 && isBackground(c, i) != 255) return false;
        return true;
    }
};

template <class Rule>
int DifferingLearningCases(const LearningTimes& times, Rule rule) {
    LearningArrays a;
    int differing = 0;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<Block> expected = a.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) expected[i] = rule(expected[i]);
        a.Learn(c, times);
        differing += a.Copy(c) != expected || !a.HasPlainFlags(c);
    });
    return differing;
}

// rule(block, sum of squares)
template <class Rule>
int DifferingIFrameCases(Rule rule) {
    LearningArrays a;
    int differing = 0;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        std::vector<Block> expected = a.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) expected[i] = rule(expected[i], a.sums.firstSquare(c, i));
        a.LearnIFrame(c, {.now = now, .quiet = 15 * second, .forget = 60 * second});
        differing += a.Copy(c) != expected || !a.HasPlainFlags(c);
    });
    return differing;
}

Block IFrameRule(Block b, float squareSum) {
    if (squareSum - b.firstSum * (b.firstSum * 0.2f) <= 64.0f) {
        b.sampledAgo = 0;
        if (b.quietFor > 150000000) {
            b.isBackground = true;
            b.refreshedAgo = 0;
            b.y = static_cast<int>(b.firstSum * 0.2f);
        }
    }
    if (b.refreshedAgo > 600000000) b.isBackground = false;
    return b;
}

template <class IsForgotten>
int DifferingForgettingCases(IsForgotten isForgotten) {
    KernelPlane<std::uint8_t> isBackground;
    KernelPlane<std::int64_t> backgroundTime;
    KernelPlane<float> noise;
    int differing = 0;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        isBackground.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); });
        backgroundTime.Draw(c, [&] { return now - 60 * second - random.Between(-2, 2); });
        noise.Draw(c, [&] { return static_cast<float>(random.Between(10, 400)); });
        std::vector<std::uint8_t> flags = isBackground.Copy(c);
        std::vector<float> levels = noise.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            if (!isForgotten(now - backgroundTime(c, i))) continue;
            flags[i] = 0;
            levels[i] = 21.0f;
        }
        ForgetBackground(
            {.backgroundTime = backgroundTime.At(c), .isBackground = isBackground.At(c), .noiseLevel = noise.At(c)}, now,
            60 * second, 21.0f, c.Range());
        differing += !isBackground.Equals(c, flags) || !noise.Equals(c, levels);
    });
    return differing;
}

// What the loop makes of this one block.
Block Learned(const Block& block, const LearningTimes& times) {
    static constexpr KernelCase one{1, 0, 1, Level::Random, Kit::GuardedSide::End, 0};
    LearningArrays a;
    a.Put(one, 0, block);
    a.Learn(one, times);
    return a.At(one, 0);
}

}  // namespace

TEST(LearningKernel, LoopEqualsRule) {
    EXPECT_EQ(DifferingLearningCases(fast, FastRule), 0);
    EXPECT_EQ(DifferingLearningCases(slow, SlowRule), 0);
}

TEST(LearningKernel, IFrameLoopEqualsRule) { EXPECT_EQ(DifferingIFrameCases(IFrameRule), 0); }

TEST(LearningKernel, ForgettingLoopEqualsRule) {
    EXPECT_EQ(DifferingForgettingCases([](std::int64_t age) { return age > 600000000; }), 0);
}

TEST(LearningKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_GT(DifferingLearningCases(fast, SlowRule), 0);
    EXPECT_GT(DifferingLearningCases(slow, FastRule), 0);
    EXPECT_GT(DifferingLearningCases(fast,
                                     [](Block b) {
                                         if (b.sampledAgo == 50000000)
                                             b.sampledAgo = 49999999;  // the sample's limit one tick too high
                                         return FastRule(b);
                                     }),
              0);
    EXPECT_GT(DifferingLearningCases(fast,
                                     [](Block b) {
                                         if (b.quietFor == 50000001) b.quietFor = 50000000;
                                         return FastRule(b);
                                     }),
              0);
    EXPECT_GT(DifferingIFrameCases([](Block b, float squareSum) {
                  if (b.quietFor == 150000001) b.quietFor = 150000000;
                  return IFrameRule(b, squareSum);
              }),
              0);
    EXPECT_GT(DifferingForgettingCases([](std::int64_t age) { return age >= 600000000; }), 0);
}

TEST(LearningKernel, QuietMustExceedFiveSeconds) {
    EXPECT_TRUE(Learned({.quietFor = 50000001}, fast).isBackground);
    EXPECT_FALSE(Learned({.quietFor = 50000000}, fast).isBackground);
    EXPECT_TRUE(Learned({.quietFor = 50000001}, slow).isBackground);
    EXPECT_FALSE(Learned({.isStable = false, .quietFor = 50000001}, fast).isBackground);
}

TEST(LearningKernel, SampleOfFiveSecondsIsReplaced) {
    const Block tooOld = Learned({.quietFor = 50000001, .sampledAgo = 50000000, .sample = 99.0f}, fast);
    EXPECT_FALSE(tooOld.isBackground);
    EXPECT_EQ(tooOld.sampledAgo, 0);
    EXPECT_EQ(tooOld.sample, 100.0f);
    const Block justYoung = Learned({.quietFor = 50000001, .sampledAgo = 49999999, .sample = 99.0f}, fast);
    EXPECT_TRUE(justYoung.isBackground);
    EXPECT_EQ(justYoung.sampledAgo, 0);  // older than a second: renewed as well
}

TEST(LearningKernel, SampleIsRenewedAfterMoreThanASecond) {
    for (const LearningTimes& times : {fast, slow}) {
        for (const bool isBackground : {false, true}) {
            EXPECT_EQ(
                Learned({.quietFor = 0, .isBackground = isBackground, .sampledAgo = 10000000, .sample = 7.0f}, times).sample,
                7.0f);
            EXPECT_EQ(
                Learned({.quietFor = 0, .isBackground = isBackground, .sampledAgo = 10000001, .sample = 7.0f}, times).sample,
                100.0f);
        }
    }
}

TEST(LearningKernel, SampleMustAgreeWithinOneGreyLevel) {
    EXPECT_TRUE(Learned({.sampledAgo = 2 * second, .sample = 101.0f}, fast).isBackground);
    EXPECT_TRUE(Learned({.sampledAgo = 2 * second, .sample = 99.0f}, fast).isBackground);
    EXPECT_FALSE(Learned({.sampledAgo = 2 * second, .sample = std::nextafter(101.0f, 102.0f)}, fast).isBackground);
    EXPECT_FALSE(Learned({.sampledAgo = 2 * second, .sample = std::nextafter(99.0f, 98.0f)}, fast).isBackground);
}

TEST(LearningKernel, ConfirmedBlockTakesTheRoundedMeanAndTheNewestChroma) {
    const Block half = Learned({.firstSum = 502.0f, .secondSum = 503.0f, .sample = 100.0f}, fast);  // a mean of 100.5
    EXPECT_EQ(half.y, 101);
    EXPECT_EQ(half.oldCb, 90);
    EXPECT_EQ(half.oldCr, 160);
    EXPECT_EQ(half.refreshedAgo, 0);
    EXPECT_EQ(Learned({.firstSum = 502.0f, .secondSum = 502.0f, .sample = 100.0f}, fast).y, 100);
}

TEST(LearningKernel, BackgroundIsRefreshedWithinOneGreyLevel) {
    const Block known{.quietFor = 0, .isBackground = true, .y = 101, .refreshedAgo = 3 * second};
    Block far = known;
    far.y = 102;
    for (const LearningTimes& times : {fast, slow}) {
        EXPECT_EQ(Learned(known, times).y, 100);
        EXPECT_EQ(Learned(known, times).refreshedAgo, 0);
        EXPECT_EQ(Learned(far, times).y, 102);
        EXPECT_EQ(Learned(far, times).refreshedAgo, 3 * second);
    }
}

TEST(LearningKernel, SlowRefreshWaitsMoreThanTwoSeconds) {
    Block known{.quietFor = 0, .isBackground = true, .y = 101, .refreshedAgo = 20000000};
    EXPECT_EQ(Learned(known, slow).y, 101);
    EXPECT_EQ(Learned(known, fast).y, 100);
    known.refreshedAgo = 20000001;
    EXPECT_EQ(Learned(known, slow).y, 100);
}

TEST(LearningKernel, SettledSceneReplacesKnownBackgroundUnlessSlow) {
    const Block moved{.isBackground = true, .y = 50, .refreshedAgo = 10 * second, .sampledAgo = 2 * second};
    EXPECT_EQ(Learned(moved, fast).y, 100);
    EXPECT_EQ(Learned(moved, slow).y, 50);
}

TEST(LearningKernel, IFrameBackgroundIsTruncated) {
    constexpr KernelCase one{1, 0, 1, Level::Random, Kit::GuardedSide::End, 0};
    constexpr IFrameLearningTimes times{.now = now, .quiet = 15 * second, .forget = 60 * second};
    LearningArrays a;
    const auto learn = [&](int sum, std::int64_t quietFor) {
        a.Put(one, 0, {.quietFor = quietFor, .y = 7});
        a.sums.first(one, 0) = static_cast<float>(sum);
        a.sums.firstSquare(one, 0) = static_cast<float>(sum * sum) * 0.2f;
        a.LearnIFrame(one, times);
        return a.At(one, 0);
    };
    EXPECT_EQ(learn(504, 150000001).y, 100);  // 100.8
    EXPECT_TRUE(learn(504, 150000001).isBackground);
    EXPECT_EQ(learn(504, 150000001).oldCb, 1);  // the chroma is not learned
    EXPECT_FALSE(learn(504, 150000000).isBackground);
    EXPECT_EQ(learn(504, 150000000).y, 7);
    for (int luma = 0; luma < 256; ++luma) EXPECT_EQ(learn(5 * luma, 150000001).y, luma);
}

TEST(LearningKernel, TimesFarApartWrapInsteadOfOverflowing) {
    constexpr KernelCase one{1, 0, 1, Level::Random, Kit::GuardedSide::End, 0};
    LearningArrays a;
    a.Put(one, 0, {});
    a.lastChangeTime(one, 0) = std::numeric_limits<std::int64_t>::min();
    LearningTimes latest = fast;
    latest.now = std::numeric_limits<std::int64_t>::max();
    a.Learn(one, latest);  // 2^64 - 1 ticks ago is one tick ahead: not quiet yet
    EXPECT_EQ(a.isBackground(one, 0), 0);
}
