// Do the rules of the background hold at their limits, and do stability, noise and change loops follow them?
// The learning loops have their own test: LearningKernelTest.
#include "detector/kernels/Background.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"
#include "WindowSumsOfBlocks.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::SeededRandom;
using MD::ByteDistance;

namespace {

constexpr StabilityLimits limits{.sum = 5.0f, .dispersion = 0.8f};

// One operation of the single-precision unit after the other: nothing may be fused or reordered here.
float Product(float a, float b) {
    volatile float product = a * b;
    return product;
}
float Difference(float a, float b) {
    volatile float difference = a - b;
    return difference;
}
float Sum(float a, float b) {
    volatile float sum = a + b;
    return sum;
}

float StepwiseDispersion(float sum, float squareSum) {
    return Product(Difference(squareSum, Product(Product(sum, sum), 0.2f)), 0.25f);
}

struct BlockSums {
    float first, second, center, firstSquare, secondSquare, centerSquare;
};

bool StabilityRule(const BlockSums& s) {
    if (std::fabs(s.first - s.second) > 5.0f) return false;
    if (std::fabs(s.second - s.center) > 5.0f) return false;
    if (std::fabs(s.center - s.first) > 5.0f) return false;
    const float first = StepwiseDispersion(s.first, s.firstSquare), second = StepwiseDispersion(s.second, s.secondSquare),
                center = StepwiseDispersion(s.center, s.centerSquare);
    if (std::fabs(first - second) > 0.8f) return false;
    if (std::fabs(second - center) > 0.8f) return false;
    return !(std::fabs(center - first) > 0.8f);
}

float DispersionNoiseRule(const BlockSums& s) {
    const float r = std::sqrt(
        Product(Sum(StepwiseDispersion(s.second, s.secondSquare), StepwiseDispersion(s.first, s.firstSquare)), 0.5f));
    if (r < 2.0f) return 10.0f;
    return Sum(Product(r, 3.0f), 4.0f);
}

BlockSums At(WindowSumsOfBlocks& sums, const KernelCase& c, std::size_t i) {
    return {sums.first(c, i),       sums.second(c, i),       sums.center(c, i),
            sums.firstSquare(c, i), sums.secondSquare(c, i), sums.centerSquare(c, i)};
}

template <class Rule>
testing::AssertionResult StabilityLoopEquals(Rule rule) {
    WindowSumsOfBlocks sums;
    KernelPlane<std::uint8_t> isStable;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        sums.Fill(c, random);
        isStable.Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> expected = isStable.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) expected[i] = rule(At(sums, c, i)) ? 255 : 0;
        JudgeStability(sums.At(c), limits, isStable.At(c), c.Range());
        comparison.Compare(c, "isStable", isStable, expected);
    });
    return comparison.Result();
}

template <class Rule>
testing::AssertionResult DispersionNoiseLoopEquals(Rule rule) {
    WindowSumsOfBlocks sums;
    KernelPlane<std::uint8_t> isStable;
    KernelPlane<float> noise;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        sums.Fill(c, random);
        isStable.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); });
        noise.Draw(c, [&] { return static_cast<float>(random.Between(0, 600)) * 0.7f; });
        std::vector<float> expected = noise.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i)
            if (isStable(c, i)) expected[i] = rule(At(sums, c, i));
        LearnNoiseFromDispersions(sums.At(c), isStable.At(c), noise.At(c), c.Range());
        comparison.Compare(c, "noiseLevel", noise, expected);
    });
    return comparison.Result();
}

// rule(smallest, largest)
template <class Rule>
testing::AssertionResult ExtremesNoiseLoopEquals(Rule rule) {
    KernelPlane<std::uint8_t> isStable, smallest, largest;
    KernelPlane<float> noise;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        isStable.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); });
        smallest.Fill(c, 0, 255, [&] { return random.Byte(); });
        largest.Fill(c, 255, 255, [&] { return random.Byte(); });
        noise.Draw(c, [&] { return static_cast<float>(random.Between(0, 600)) * 0.7f; });
        std::vector<float> expected = noise.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i)
            if (isStable(c, i)) expected[i] = rule(smallest(c, i), largest(c, i));
        LearnNoiseFromExtremes({.isStable = isStable.At(c),
                                .min = smallest.At(c),
                                .max = largest.At(c),
                                .offset = 12.0f,
                                .noiseLevel = noise.At(c)},
                               c.Range());
        comparison.Compare(c, "noiseLevel", noise, expected);
    });
    return comparison.Result();
}

float ExtremesNoiseRule(int smallest, int largest) { return static_cast<float>((largest - smallest) * 1.5 + 12.0); }

struct Ages {
    int age0, age1, age2, age4;
    float noise;
};

bool ChangeRule(const Ages& a) {
    const float threshold = static_cast<float>(static_cast<double>(a.noise) * 0.7);
    if (static_cast<float>(std::abs(a.age0 - a.age1)) > threshold) return true;
    if (static_cast<float>(std::abs(a.age0 - a.age2)) > threshold) return true;
    return static_cast<float>(std::abs(a.age0 - a.age4)) > threshold;
}

template <class Rule>
testing::AssertionResult ChangeLoopEquals(Rule rule) {
    constexpr std::int64_t now = 9000000000000000000;
    constexpr float levels[] = {10.0f, 12.0f, 13.5f, 20.0f, 30.0f, 21.0f, 394.5f};
    KernelPlane<std::uint8_t> age0, age1, age2, age4, isMotionPixel;
    KernelPlane<float> noise;
    KernelPlane<std::int64_t> lastChangeTime;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        age0.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(90, 110)); });
        for (KernelPlane<std::uint8_t>* age : {&age1, &age2, &age4}) {
            std::size_t i = 0;
            age->Fill(c, 255, 0, [&] { return static_cast<std::uint8_t>(age0(c, i++) + random.Between(-16, 16)); });
        }
        noise.Draw(c, [&] { return random.Pick(levels); });
        isMotionPixel.Draw(c, [&] { return random.Byte(); });
        lastChangeTime.Draw(c, [&] { return static_cast<std::int64_t>(random.Next()); });
        std::vector<std::uint8_t> marks = isMotionPixel.Copy(c);
        std::vector<std::int64_t> times = lastChangeTime.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            const bool hasChanged = rule(Ages{age0(c, i), age1(c, i), age2(c, i), age4(c, i), noise(c, i)});
            marks[i] = hasChanged ? 255 : 0;
            if (hasChanged) times[i] = now;
        }
        MarkChanges({.age0 = age0.At(c),
                     .age1 = age1.At(c),
                     .age2 = age2.At(c),
                     .age4 = age4.At(c),
                     .noiseLevel = noise.At(c),
                     .isMotionPixel = isMotionPixel.At(c),
                     .lastChangeTime = lastChangeTime.At(c)},
                    now, c.Range());
        comparison.Compare(c, "isMotionPixel", isMotionPixel, marks);
        comparison.Compare(c, "lastChangeTime", lastChangeTime, times);
    });
    return comparison.Result();
}

}  // namespace

TEST(BackgroundKernel, FlatWindowHasNoDispersion) {
    for (int luma = 0; luma < 256; ++luma)
        ASSERT_EQ(Dispersion(static_cast<float>(5 * luma), static_cast<float>(5 * luma * luma)), 0.0f) << luma;
}

TEST(BackgroundKernel, DispersionIsTheSampleVarianceOfFive) {
    SeededRandom random(1);
    for (int round = 0; round < 100000; ++round) {
        const int base = random.Between(0, 255), spread = random.Between(0, 255 - base);
        int sum = 0, squareSum = 0;
        for (int frame = 0; frame < 5; ++frame) {
            const int luma = base + random.Between(0, spread);
            sum += luma;
            squareSum += luma * luma;
        }
        const float dispersion = Dispersion(static_cast<float>(sum), static_cast<float>(squareSum));
        ASSERT_EQ(std::bit_cast<std::uint32_t>(dispersion),
                  std::bit_cast<std::uint32_t>(StepwiseDispersion(static_cast<float>(sum), static_cast<float>(squareSum))))
            << sum << ' ' << squareSum;
        // Rounding of a sum near 325125 costs up to 1/64, of which a quarter stays; the product rounds once more.
        ASSERT_NEAR(dispersion, (5.0 * squareSum - static_cast<double>(sum) * sum) / 20.0, 0.02);
    }
}

TEST(BackgroundKernel, LimitItselfIsWithin) {
    EXPECT_TRUE(IsWithin(505.0f, 500.0f, 5.0f));
    EXPECT_TRUE(IsWithin(500.0f, 505.0f, 5.0f));
    EXPECT_FALSE(IsWithin(506.0f, 500.0f, 5.0f));
    EXPECT_FALSE(IsWithin(500.0f, 506.0f, 5.0f));
    EXPECT_TRUE(IsWithin(0.8f, 0.0f, 0.8f));
    EXPECT_FALSE(IsWithin(std::nextafter(0.8f, 1.0f), 0.0f, 0.8f));
}

TEST(BackgroundKernel, EachPairOfWindowsMustAgree) {
    EXPECT_TRUE(AreAllWithin(100.0f, 105.0f, 102.0f, 5.0f));
    EXPECT_FALSE(AreAllWithin(100.0f, 106.0f, 103.0f, 5.0f));  // first and second alone
    EXPECT_FALSE(AreAllWithin(103.0f, 100.0f, 106.0f, 5.0f));  // second and center alone
    EXPECT_FALSE(AreAllWithin(100.0f, 103.0f, 106.0f, 5.0f));  // center and first alone
}

TEST(BackgroundKernel, NoiseOfExtremesIsOneAndAHalfTimesTheRange) {
    for (int smallest = 0; smallest < 256; ++smallest)
        for (int largest = 0; largest < 256; ++largest)
            ASSERT_EQ(NoiseOfExtremes(smallest, largest, 12.0f), ExtremesNoiseRule(smallest, largest));
    EXPECT_EQ(NoiseOfExtremes(77, 77, 12.0f), 12.0f);
}

TEST(BackgroundKernel, NoiseOfDispersionsIsFlatBelowADeviationOfTwo) {
    EXPECT_EQ(NoiseOfDispersions(0.0f, 0.0f), 10.0f);
    EXPECT_EQ(NoiseOfDispersions(3.9f, 4.0f), 10.0f);
    EXPECT_EQ(NoiseOfDispersions(4.0f, 4.0f), 10.0f);   // 2 * 3 + 4: no jump at the limit
    EXPECT_EQ(NoiseOfDispersions(18.0f, 0.0f), 13.0f);  // deviation 3
    EXPECT_EQ(NoiseOfDispersions(0.0f, 18.0f), 13.0f);
    EXPECT_GT(NoiseOfDispersions(4.1f, 4.1f), 10.0f);
}

TEST(BackgroundKernel, TenFrameMeanRoundsStepByStep) {
    for (int first = 0; first <= 1275; ++first)
        for (int second = 0; second <= 1275; second += 3) {
            const float a = static_cast<float>(first), b = static_cast<float>(second), mean = TenFrameMean(a, b);
            ASSERT_EQ(mean, Product(Sum(Product(a, 0.2f), Product(b, 0.2f)), 0.5f)) << first << ' ' << second;
            ASSERT_NEAR(mean, (first + second) / 10.0, 0.0001);
        }
}

// Learned levels are 12 + 1.5 k: 0.7 times such a level is a multiple of 0.35, so that whole numbers can tell.
TEST(BackgroundKernel, ChangeMustExceedSevenTenthsOfTheNoise) {
    for (int range = 0; range < 256; ++range) {
        const int twiceNoise = 24 + 3 * range;
        const float limit = ChangeLimit(static_cast<float>(twiceNoise) * 0.5f);
        for (int difference = 0; difference < 256; ++difference) {
            const auto distance = static_cast<std::uint8_t>(difference);
            ASSERT_EQ(Exceeds(distance, limit), 20 * difference > 7 * twiceNoise) << range << ' ' << difference;
        }
    }
    EXPECT_FALSE(Exceeds(ByteDistance(121, 100), ChangeLimit(30.0f)));  // exactly 21
    EXPECT_TRUE(Exceeds(ByteDistance(100, 122), ChangeLimit(30.0f)));
}

// The three tests that a change is made of, each on its own, against the one on the largest difference.
TEST(BackgroundKernel, LargestDifferenceDecidesAsTheThreeDo) {
    Kit::SeededRandom random(11);
    for (int round = 0; round < 2000000; ++round) {
        const std::uint8_t age0 = random.Byte(), age1 = random.Byte(), age2 = random.Byte(), age4 = random.Byte();
        const float limit = static_cast<float>(random.Between(0, 2560)) * 0.1f;
        const auto exceeds = [&](int earlier) { return static_cast<float>(std::abs(age0 - earlier)) > limit; };
        const bool any = exceeds(age1) || exceeds(age2) || exceeds(age4);
        ASSERT_EQ(Exceeds(LargestDifference(age0, age1, age2, age4), limit), any);
    }
}

// What the quick question passes over must not have changed, whatever noise level a float can hold.
TEST(BackgroundKernel, QuickQuestionMissesNoChange) {
    int passedOver = 0;
    for (std::uint64_t bits = 0; bits < (std::uint64_t{1} << 32); bits += 4099) {
        const float noise = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        const float limit = ChangeLimit(noise);
        for (int difference = 0; difference < 256; difference += 3) {
            const auto distance = static_cast<std::uint8_t>(difference);
            passedOver += !MayHaveChanged(distance, noise);
            ASSERT_TRUE(MayHaveChanged(distance, noise) || !Exceeds(distance, limit)) << noise << ' ' << difference;
        }
    }
    for (int difference = 1; difference < 256; ++difference) {  // around the limit itself
        float noise = static_cast<float>(difference / 0.7);
        for (int step = 0; step < 200; ++step) noise = std::nextafter(noise, 0.0f);
        for (int step = 0; step < 400; ++step, noise = std::nextafter(noise, 1000.0f)) {
            const auto distance = static_cast<std::uint8_t>(difference);
            ASSERT_TRUE(MayHaveChanged(distance, noise) || !Exceeds(distance, ChangeLimit(noise))) << noise;
        }
    }
    EXPECT_GT(passedOver, 0);
}

TEST(BackgroundKernel, ChangeLimitIsADoubleProductRoundedOnce) {
    int otherInSingle = 0;
    for (float noise = 10.0f; noise < 400.0f; noise += 0.37f) {
        ASSERT_EQ(ChangeLimit(noise), static_cast<float>(static_cast<double>(noise) * 0.7));
        otherInSingle += ChangeLimit(noise) != Product(noise, 0.7f);
    }
    EXPECT_GT(otherInSingle, 0);  // single precision would be another function
}

// Noise levels at which single precision would decide otherwise are rare: the loop is asked at exactly those.
TEST(BackgroundKernel, ChangeLoopMultipliesInDouble) {
    int otherInSingle = 0;
    for (int difference = 1; difference < 256; ++difference) {
        float noise = static_cast<float>(difference / 0.7);
        for (int step = 0; step < 50; ++step) noise = std::nextafter(noise, 0.0f);
        for (int step = 0; step < 100; ++step, noise = std::nextafter(noise, 1000.0f)) {
            const bool hasChanged = static_cast<float>(difference) > static_cast<float>(static_cast<double>(noise) * 0.7);
            if (hasChanged == (static_cast<float>(difference) > Product(noise, 0.7f))) continue;
            ++otherInSingle;
            const std::uint8_t age0 = static_cast<std::uint8_t>(difference), earlier = 0;
            std::uint8_t isMotionPixel = 7;
            std::int64_t lastChangeTime = 0;
            MarkChanges({.age0 = &age0,
                         .age1 = &earlier,
                         .age2 = &earlier,
                         .age4 = &earlier,
                         .noiseLevel = &noise,
                         .isMotionPixel = &isMotionPixel,
                         .lastChangeTime = &lastChangeTime},
                        1, {0, 1});
            ASSERT_EQ(isMotionPixel, hasChanged ? 255 : 0) << difference << ' ' << noise;
        }
    }
    EXPECT_GT(otherInSingle, 0);
}

TEST(BackgroundKernel, EachComparedAgeAloneIsAChange) {
    EXPECT_EQ(LargestDifference(100, 114, 86, 114), 14);
    EXPECT_EQ(LargestDifference(100, 115, 100, 100), 15);
    EXPECT_EQ(LargestDifference(100, 100, 85, 100), 15);
    EXPECT_EQ(LargestDifference(100, 100, 100, 115), 15);
}

TEST(BackgroundKernel, IFrameDispersionIsFiveTimesTheVariance) {
    for (int base = 4; base <= 251; ++base) {
        const auto ofDeviations = [base](const int(&deviations)[5]) {
            int sum = 0, squareSum = 0;
            for (const int deviation : deviations) {
                sum += base + deviation;
                squareSum += (base + deviation) * (base + deviation);
            }
            return IFrameDispersion(static_cast<float>(sum), static_cast<float>(squareSum));
        };
        ASSERT_EQ(ofDeviations({4, 4, -4, -4, 0}), 64.0f) << base;
        ASSERT_GT(ofDeviations({4, 4, -4, -4, 1}), 64.0f) << base;  // 65 - 1 / 5
        ASSERT_EQ(ofDeviations({0, 0, 0, 0, 0}), 0.0f) << base;
    }
}

TEST(BackgroundKernel, StabilityLoopEqualsRule) { EXPECT_TRUE(StabilityLoopEquals(StabilityRule)); }
TEST(BackgroundKernel, ExtremesNoiseLoopEqualsRule) { EXPECT_TRUE(ExtremesNoiseLoopEquals(ExtremesNoiseRule)); }
TEST(BackgroundKernel, DispersionsNoiseLoopEqualsRule) { EXPECT_TRUE(DispersionNoiseLoopEquals(DispersionNoiseRule)); }
TEST(BackgroundKernel, ChangeLoopEqualsRule) { EXPECT_TRUE(ChangeLoopEquals(ChangeRule)); }

TEST(BackgroundKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(StabilityLoopEquals([](BlockSums s) {  // sums that differ by exactly 5 taken for unstable
        return StabilityRule(s) && std::fabs(s.first - s.second) != 5.0f;
    }));
    EXPECT_FALSE(StabilityLoopEquals([](BlockSums s) {
        s.centerSquare = s.firstSquare;  // the spread of the center window forgotten
        s.center = s.first;
        return StabilityRule(s);
    }));
    EXPECT_FALSE(ExtremesNoiseLoopEquals([](int a, int b) { return std::nextafter(ExtremesNoiseRule(a, b), 0.0f); }));
    EXPECT_FALSE(DispersionNoiseLoopEquals([](const BlockSums& s) {  // the same mathematics in double precision
        const double first = (s.firstSquare - s.first * s.first / 5.0) / 4.0;
        const double second = (s.secondSquare - s.second * s.second / 5.0) / 4.0;
        const double r = std::sqrt((first + second) / 2.0);
        return static_cast<float>(r < 2.0 ? 10.0 : r * 3.0 + 4.0);
    }));
    EXPECT_FALSE(ChangeLoopEquals([](Ages a) {
        a.age4 = a.age0;  // age 4 forgotten
        return ChangeRule(a);
    }));
    EXPECT_FALSE(ChangeLoopEquals([](Ages a) {
        a.noise = std::nextafter(std::nextafter(a.noise, 0.0f), 0.0f);  // as if "equal" were a change
        return ChangeRule(a);
    }));
}
