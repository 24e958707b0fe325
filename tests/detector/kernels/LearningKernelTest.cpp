// When does a block become background, keep it, renew its sample, and forget?  The rule of kernels/Background at its borders
// against three plain questions, its loops against the rule, and their limits tick by tick.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"
#include "WindowSumsOfBlocks.h"
#include "detector/kernels/Background.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::Level;
using Kit::SeededRandom;

namespace {

constexpr std::int64_t second = 10000000, now = 700000000000000000;
constexpr LearningTimes fast{
    .now = now, .quiet = 5 * second, .sampleAge = second, .refreshInterval = 2 * second, .isSlow = false};
constexpr LearningTimes slow{
    .now = now, .quiet = 5 * second, .sampleAge = second, .refreshInterval = 2 * second, .isSlow = true};

constexpr IFrameLearningTimes iFrame{.now = now, .quiet = 15 * second, .forget = 60 * second};

// A block by the age of its times: a mean of 100, quiet for long, not known yet.
struct Block {
    float firstSum = 500.0f, secondSum = 500.0f;
    bool isStable = true;
    std::int64_t quietFor = 6 * second;  // ticks since the last change
    bool isBackground = false;
    int y = 0;  // background
    std::int64_t refreshedAgo = 0, sampledAgo = 0;
    float sample = 100.0f;

    constexpr float Mean() const { return (firstSum * 0.2f + secondSum * 0.2f) * 0.5f; }
    constexpr SeenBlock Seen() const {
        return {.isStable = isStable, .mean = Mean(), .cb = 90, .cr = 160, .lastChangeTime = now - quietFor};
    }
    constexpr KnownBlock Known() const {
        return {.isBackground = isBackground,
                .y = static_cast<std::uint8_t>(y),
                .cb = 1,
                .cr = 2,
                .backgroundTime = now - refreshedAgo,
                .sampleTime = now - sampledAgo,
                .sampleValue = sample};
    }
};

static_assert(Learned(Block{}.Known(), Block{}.Seen(), fast, 1.0f).isBackground);
static_assert(!Learned(Block{}.Known(), Block{.isStable = false}.Seen(), fast, 1.0f).isBackground);

// The same rule as three questions, each answered from what was known before: is it confirmed, is the background set, is the
// sample renewed?
KnownBlock AnswerPlainly(const Block& b, bool isSlow) {
    const float mean = b.Mean();
    const bool agreesWithSample = std::fabs(mean - b.sample) <= 1.0f;
    const bool agreesWithBackground = std::fabs(static_cast<float>(b.y) - mean) <= 1.0f;
    const bool isConfirmed =
        b.isStable && b.quietFor > 50000000 && b.sampledAgo < 50000000 && agreesWithSample && !(isSlow && b.isBackground);
    const bool isRefreshed = b.isStable && b.isBackground && agreesWithBackground && (b.refreshedAgo > 20000000 || !isSlow);
    const bool isSampled = b.isStable && b.sampledAgo > 10000000;

    KnownBlock known = b.Known();
    if (isConfirmed) known.isBackground = true;
    if (isConfirmed || isRefreshed) {
        known.y = static_cast<std::uint8_t>(std::floor(mean + 0.5f));
        known.cb = 90;
        known.cr = 160;
        known.backgroundTime = now;
    }
    if (isSampled) {
        known.sampleTime = now;
        known.sampleValue = mean;
    }
    return known;
}

// visit(block): every combination of what lies on either side of a limit.
template <class Visit>
void ForEachBorder(Visit visit) {
    for (const bool isStable : {false, true})
        for (const bool isBackground : {false, true})
            for (const std::int64_t quietFor : {-1, 0, 49999999, 50000000, 50000001, 600000000})
                for (const std::int64_t refreshedAgo : {0, 19999999, 20000000, 20000001})
                    for (const std::int64_t sampledAgo :
                         {-1, 0, 9999999, 10000000, 10000001, 49999998, 49999999, 50000000, 50000001})
                        for (const int sum : {1000, 1004, 1005, 1010})  // of both windows: means of 100 to 101
                            for (const int y : {98, 99, 100, 101, 102})
                                for (const int sample : {-2, -1, 0, 1, 2}) {
                                    Block b{.firstSum = static_cast<float>(sum / 2),
                                            .secondSum = static_cast<float>(sum - sum / 2),
                                            .isStable = isStable,
                                            .quietFor = quietFor,
                                            .isBackground = isBackground,
                                            .y = y,
                                            .refreshedAgo = refreshedAgo,
                                            .sampledAgo = sampledAgo};
                                    const float agreeing =
                                        b.Mean() + static_cast<float>(sample == 0 ? 0 : sample / std::abs(sample));
                                    // Just beyond the limit for -2 and 2.
                                    b.sample = sample == -2  ? std::nextafter(agreeing, 0.0f)
                                               : sample == 2 ? std::nextafter(agreeing, 200.0f)
                                                             : agreeing;
                                    visit(b);
                                }
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
    SeenBlock Seen(const KernelCase& c, std::size_t i) {
        return {.isStable = isStable(c, i) != 0,
                .mean = TenFrameMean(sums.first(c, i), sums.second(c, i)),
                .cb = cb(c, i),
                .cr = cr(c, i),
                .lastChangeTime = lastChangeTime(c, i)};
    }
    void Put(const KernelCase& c, std::size_t i, const Block& b) {
        const KnownBlock known = b.Known();
        sums.first(c, i) = b.firstSum;
        sums.second(c, i) = b.secondSum;
        cb(c, i) = b.Seen().cb;
        cr(c, i) = b.Seen().cr;
        isStable(c, i) = b.isStable ? 255 : 0;
        lastChangeTime(c, i) = b.Seen().lastChangeTime;
        isBackground(c, i) = known.isBackground ? 255 : 0;
        y(c, i) = known.y;
        oldCb(c, i) = known.cb;
        oldCr(c, i) = known.cr;
        backgroundTime(c, i) = known.backgroundTime;
        sampleTime(c, i) = known.sampleTime;
        sample(c, i) = known.sampleValue;
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
};

// What the blocks know, plane by plane.
struct KnownPlanes {
    std::vector<std::uint8_t> isBackground, y, cb, cr;
    std::vector<std::int64_t> backgroundTime, sampleTime;
    std::vector<float> sample;

    KnownPlanes(LearningArrays& a, const KernelCase& c)
        : isBackground(a.isBackground.Copy(c)),
          y(a.y.Copy(c)),
          cb(a.oldCb.Copy(c)),
          cr(a.oldCr.Copy(c)),
          backgroundTime(a.backgroundTime.Copy(c)),
          sampleTime(a.sampleTime.Copy(c)),
          sample(a.sample.Copy(c)) {}

    KnownBlock At(std::size_t i) const {
        return {.isBackground = isBackground[i] != 0,
                .y = y[i],
                .cb = cb[i],
                .cr = cr[i],
                .backgroundTime = backgroundTime[i],
                .sampleTime = sampleTime[i],
                .sampleValue = sample[i]};
    }
    void Put(std::size_t i, const KnownBlock& known) {
        isBackground[i] = known.isBackground ? 255 : 0;
        y[i] = known.y;
        cb[i] = known.cb;
        cr[i] = known.cr;
        backgroundTime[i] = known.backgroundTime;
        sampleTime[i] = known.sampleTime;
        sample[i] = known.sampleValue;
    }
    void CompareWith(LearningArrays& got, const KernelCase& c, KernelComparison& comparison) const {
        comparison.Compare(c, "isBackground", got.isBackground, isBackground);
        comparison.Compare(c, "backgroundY", got.y, y);
        comparison.Compare(c, "backgroundCb", got.oldCb, cb);
        comparison.Compare(c, "backgroundCr", got.oldCr, cr);
        comparison.Compare(c, "backgroundTime", got.backgroundTime, backgroundTime);
        comparison.Compare(c, "sampleTime", got.sampleTime, sampleTime);
        comparison.Compare(c, "sampleValue", got.sample, sample);
    }
};

// rule(known, seen)
template <class Rule>
testing::AssertionResult LearningLoopEquals(const LearningTimes& times, Rule rule) {
    LearningArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        KnownPlanes expected(a, c);
        for (std::size_t i = c.first; i < c.last; ++i) expected.Put(i, rule(expected.At(i), a.Seen(c, i)));
        a.Learn(c, times);
        expected.CompareWith(a, c, comparison);
    });
    return comparison.Result();
}

// rule(known, sum, sum of squares, ticks since the last change)
template <class Rule>
testing::AssertionResult IFrameLoopEquals(Rule rule) {
    LearningArrays a;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        a.Fill(c);
        KnownPlanes expected(a, c);
        for (std::size_t i = c.first; i < c.last; ++i)
            expected.Put(i,
                         rule(expected.At(i), a.sums.first(c, i), a.sums.firstSquare(c, i), now - a.lastChangeTime(c, i)));
        a.LearnIFrame(c, iFrame);
        expected.CompareWith(a, c, comparison);
    });
    return comparison.Result();
}

KnownBlock IFrameRule(KnownBlock known, float sum, float squareSum, std::int64_t quietFor) {
    if (squareSum - sum * (sum * 0.2f) <= 64.0f) {
        known.sampleTime = now;
        if (quietFor > 150000000) {
            known.isBackground = true;
            known.backgroundTime = now;
            known.y = static_cast<std::uint8_t>(sum * 0.2f);
        }
    }
    if (now - known.backgroundTime > 600000000) known.isBackground = false;
    return known;
}

template <class IsForgotten>
testing::AssertionResult ForgettingLoopEquals(IsForgotten isForgotten) {
    KernelPlane<std::uint8_t> isBackground;
    KernelPlane<std::int64_t> backgroundTime;
    KernelPlane<float> noise;
    KernelComparison comparison;
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
        comparison.Compare(c, "isBackground", isBackground, flags);
        comparison.Compare(c, "noiseLevel", noise, levels);
    });
    return comparison.Result();
}

constexpr KernelCase oneBlock{1, 0, 1, Level::Random, Kit::GuardedSide::End, 0};

// What the loop makes of this one block; the rule makes the same of it.
KnownBlock Learn(const Block& block, const LearningTimes& times) {
    static LearningArrays a;
    a.Put(oneBlock, 0, block);
    a.Learn(oneBlock, times);
    const KnownBlock learned = KnownPlanes(a, oneBlock).At(0);
    EXPECT_EQ(learned, Learned(block.Known(), block.Seen(), times, 1.0f));
    return learned;
}

}  // namespace

TEST(LearningKernel, RuleAnswersThreePlainQuestions) {
    for (const LearningTimes& times : {fast, slow}) {
        int confirmed = 0, set = 0, sampled = 0, all = 0;
        ForEachBorder([&](const Block& b) {
            const KnownBlock before = b.Known(), got = Learn(b, times), expected = AnswerPlainly(b, times.isSlow);
            ASSERT_EQ(got, expected) << "slow " << times.isSlow << ", stable " << b.isStable << ", known " << b.isBackground
                                     << ", quiet for " << b.quietFor << ", refreshed " << b.refreshedAgo << " ago, sampled "
                                     << b.sampledAgo << " ago, mean " << b.Mean() << ", background " << b.y << ", sample "
                                     << b.sample;
            confirmed += got.isBackground != before.isBackground;
            set += got.backgroundTime != before.backgroundTime;
            sampled += got.sampleTime != before.sampleTime;
            ++all;
        });
        for (const int part : {confirmed, set, sampled}) EXPECT_TRUE(part > all / 100 && part < all * 99 / 100) << part;
    }
}

TEST(LearningKernel, LoopEqualsRule) {
    for (const LearningTimes& times : {fast, slow})
        EXPECT_TRUE(LearningLoopEquals(
            times, [&](const KnownBlock& known, const SeenBlock& seen) { return Learned(known, seen, times, 1.0f); }))
            << "slow " << times.isSlow;
}

TEST(LearningKernel, IFrameLoopEqualsRule) { EXPECT_TRUE(IFrameLoopEquals(IFrameRule)); }

TEST(LearningKernel, ForgettingLoopEqualsRule) {
    EXPECT_TRUE(ForgettingLoopEquals([](std::int64_t age) { return age > 600000000; }));
}

TEST(LearningKernel, ComparisonNoticesPlantedFaults) {
    const auto ruleOf = [](const LearningTimes& times) {
        return [&times](const KnownBlock& known, const SeenBlock& seen) { return Learned(known, seen, times, 1.0f); };
    };
    EXPECT_FALSE(LearningLoopEquals(fast, ruleOf(slow)));
    EXPECT_FALSE(LearningLoopEquals(slow, ruleOf(fast)));
    EXPECT_FALSE(LearningLoopEquals(fast, [](KnownBlock known, const SeenBlock& seen) {
        const std::int64_t sampled = known.sampleTime;  // the sample's limit one tick too high
        if (sampled == now - 50000000) known.sampleTime = now - 49999999;
        known = Learned(known, seen, fast, 1.0f);
        if (known.sampleTime == now - 49999999) known.sampleTime = sampled;
        return known;
    }));
    EXPECT_FALSE(LearningLoopEquals(fast, [](const KnownBlock& known, SeenBlock seen) {
        if (seen.lastChangeTime == now - 50000001) seen.lastChangeTime = now - 50000000;
        return Learned(known, seen, fast, 1.0f);
    }));
    EXPECT_FALSE(IFrameLoopEquals([](const KnownBlock& known, float sum, float squareSum, std::int64_t quietFor) {
        return IFrameRule(known, sum, squareSum, quietFor == 150000001 ? 150000000 : quietFor);
    }));
    EXPECT_FALSE(ForgettingLoopEquals([](std::int64_t age) { return age >= 600000000; }));
}

TEST(LearningKernel, QuietMustExceedFiveSeconds) {
    EXPECT_TRUE(Learn({.quietFor = 50000001}, fast).isBackground);
    EXPECT_FALSE(Learn({.quietFor = 50000000}, fast).isBackground);
    EXPECT_TRUE(Learn({.quietFor = 50000001}, slow).isBackground);
    EXPECT_FALSE(Learn({.isStable = false, .quietFor = 50000001}, fast).isBackground);
}

TEST(LearningKernel, SampleOfFiveSecondsIsReplaced) {
    const KnownBlock tooOld = Learn({.quietFor = 50000001, .sampledAgo = 50000000, .sample = 99.0f}, fast);
    EXPECT_FALSE(tooOld.isBackground);
    EXPECT_EQ(tooOld.sampleTime, now);
    EXPECT_EQ(tooOld.sampleValue, 100.0f);
    const KnownBlock justYoung = Learn({.quietFor = 50000001, .sampledAgo = 49999999, .sample = 99.0f}, fast);
    EXPECT_TRUE(justYoung.isBackground);
    EXPECT_EQ(justYoung.sampleTime, now);  // older than a second: renewed as well
}

TEST(LearningKernel, SampleIsRenewedAfterMoreThanASecond) {
    for (const LearningTimes& times : {fast, slow}) {
        for (const bool isBackground : {false, true}) {
            EXPECT_EQ(Learn({.quietFor = 0, .isBackground = isBackground, .sampledAgo = 10000000, .sample = 7.0f}, times)
                          .sampleValue,
                      7.0f);
            EXPECT_EQ(Learn({.quietFor = 0, .isBackground = isBackground, .sampledAgo = 10000001, .sample = 7.0f}, times)
                          .sampleValue,
                      100.0f);
        }
    }
}

TEST(LearningKernel, SampleMustAgreeWithinOneGreyLevel) {
    EXPECT_TRUE(Learn({.sampledAgo = 2 * second, .sample = 101.0f}, fast).isBackground);
    EXPECT_TRUE(Learn({.sampledAgo = 2 * second, .sample = 99.0f}, fast).isBackground);
    EXPECT_FALSE(Learn({.sampledAgo = 2 * second, .sample = std::nextafter(101.0f, 102.0f)}, fast).isBackground);
    EXPECT_FALSE(Learn({.sampledAgo = 2 * second, .sample = std::nextafter(99.0f, 98.0f)}, fast).isBackground);
}

TEST(LearningKernel, ConfirmedBlockTakesTheRoundedMeanAndTheNewestChroma) {
    const KnownBlock half = Learn({.firstSum = 502.0f, .secondSum = 503.0f, .sample = 100.0f}, fast);  // a mean of 100.5
    EXPECT_EQ(half.y, 101);
    EXPECT_EQ(half.cb, 90);
    EXPECT_EQ(half.cr, 160);
    EXPECT_EQ(half.backgroundTime, now);
    EXPECT_EQ(Learn({.firstSum = 502.0f, .secondSum = 502.0f, .sample = 100.0f}, fast).y, 100);
}

TEST(LearningKernel, BackgroundIsRefreshedWithinOneGreyLevel) {
    const Block known{.quietFor = 0, .isBackground = true, .y = 101, .refreshedAgo = 3 * second};
    Block far = known;
    far.y = 102;
    for (const LearningTimes& times : {fast, slow}) {
        EXPECT_EQ(Learn(known, times).y, 100);
        EXPECT_EQ(Learn(known, times).backgroundTime, now);
        EXPECT_EQ(Learn(far, times).y, 102);
        EXPECT_EQ(Learn(far, times).backgroundTime, now - 3 * second);
    }
}

TEST(LearningKernel, SlowRefreshWaitsMoreThanTwoSeconds) {
    Block known{.quietFor = 0, .isBackground = true, .y = 101, .refreshedAgo = 20000000};
    EXPECT_EQ(Learn(known, slow).y, 101);
    EXPECT_EQ(Learn(known, fast).y, 100);
    known.refreshedAgo = 20000001;
    EXPECT_EQ(Learn(known, slow).y, 100);
}

TEST(LearningKernel, SettledSceneReplacesKnownBackgroundUnlessSlow) {
    const Block moved{.isBackground = true, .y = 50, .refreshedAgo = 10 * second, .sampledAgo = 2 * second};
    EXPECT_EQ(Learn(moved, fast).y, 100);
    EXPECT_EQ(Learn(moved, slow).y, 50);
}

TEST(LearningKernel, IFrameBackgroundIsTruncated) {
    LearningArrays a;
    const auto learn = [&](int sum, std::int64_t quietFor) {
        a.Put(oneBlock, 0, {.quietFor = quietFor, .y = 7});
        a.sums.first(oneBlock, 0) = static_cast<float>(sum);
        a.sums.firstSquare(oneBlock, 0) = static_cast<float>(sum * sum) * 0.2f;
        a.LearnIFrame(oneBlock, iFrame);
        return KnownPlanes(a, oneBlock).At(0);
    };
    EXPECT_EQ(learn(504, 150000001).y, 100);  // 100.8
    EXPECT_TRUE(learn(504, 150000001).isBackground);
    EXPECT_EQ(learn(504, 150000001).cb, 1);  // the chroma is not learned
    EXPECT_FALSE(learn(504, 150000000).isBackground);
    EXPECT_EQ(learn(504, 150000000).y, 7);
    for (int luma = 0; luma < 256; ++luma) EXPECT_EQ(learn(5 * luma, 150000001).y, luma);
}

TEST(LearningKernel, TimesFarApartWrapInsteadOfOverflowing) {
    const Block quiet{};
    SeenBlock seen = quiet.Seen();
    seen.lastChangeTime = std::numeric_limits<std::int64_t>::min();
    LearningTimes latest = fast;
    latest.now = std::numeric_limits<std::int64_t>::max();
    KnownBlock known = quiet.Known();
    known.sampleTime = latest.now;
    EXPECT_FALSE(Learned(known, seen, latest, 1.0f).isBackground);  // 2^64 - 1 ticks ago is one tick ahead: not quiet yet

    LearningArrays a;
    a.Put(oneBlock, 0, quiet);
    a.lastChangeTime(oneBlock, 0) = seen.lastChangeTime;
    a.sampleTime(oneBlock, 0) = latest.now;
    a.Learn(oneBlock, latest);
    EXPECT_EQ(a.isBackground(oneBlock, 0), 0);
}
