// Do limits and intervals follow their rules, at every length and start, without leaving their arrays?
#include "conditioning/kernels/GateFeedback.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using namespace Kit;

namespace {

std::uint16_t Word(SeededRandom& random, int low, int high) { return static_cast<std::uint16_t>(random.Between(low, high)); }

}  // namespace

TEST(GateFeedback, LimitGrowsAndShrinksByFivePercent) {
    for (int limit = smallestLimit; limit <= largestLimit; ++limit) {
        const auto value = static_cast<std::uint16_t>(limit);
        const int larger = NextLimit(value, largestLimit), smaller = NextLimit(value, 0);
        ASSERT_LE(larger, largestLimit);
        ASSERT_GE(smaller, smallestLimit);
        if (limit <= largestGrowing) {
            ASSERT_NEAR(larger, limit * 1.05, 1.5);
        }
        ASSERT_NEAR(smaller, std::max<double>(limit * 0.95, smallestLimit), 1.5);
    }
}

TEST(GateFeedback, LimitGrowsWhileLessThanFiveDistances) {
    for (int distance = 500; distance <= 13000; ++distance) {
        const auto value = static_cast<std::uint16_t>(distance);
        EXPECT_GT(NextLimit(static_cast<std::uint16_t>(std::max<int>(smallestLimit, 5 * distance - 8)), value),
                  5 * distance - 8);
        EXPECT_LT(NextLimit(static_cast<std::uint16_t>(5 * distance + 8), value), 5 * distance + 8);
    }
}

TEST(GateFeedback, WholeLimitLetsTheSameDistancesMatch) {
    for (int limit = smallestLimit; limit <= largestLimit; ++limit)
        for (int distance = std::max(0, limit / 256 - 2); distance <= std::min(255, limit / 256 + 2); ++distance)
            ASSERT_EQ(distance < WholeLimit(static_cast<std::uint16_t>(limit)), distance * 256 < limit) << limit;
}

TEST(GateFeedback, TurnComesOnceInAnInterval) {
    for (int pictures = 2; pictures <= 200; ++pictures) {
        int turns = 0;
        for (int draw = 0; draw < 256; ++draw)
            turns += IsTurn(static_cast<std::uint8_t>(draw), static_cast<std::uint16_t>(pictures * 256)) ? 1 : 0;
        ASSERT_EQ(turns, (255 + pictures) / pictures);  // draws below 256 / pictures
    }
}

TEST(GateFeedback, AverageGoesToItsValue) {
    for (const int value : {0, 1, 9, 100, 255}) {
        std::uint16_t low = 0, high = 65280;
        for (int i = 0; i < 400; ++i) {
            low = Averaged(low, static_cast<std::uint8_t>(value), shareOfOneIn(20));
            high = Averaged(high, static_cast<std::uint8_t>(value), shareOfOneIn(20));
        }
        EXPECT_NEAR(low, value * 256, 40);
        EXPECT_NEAR(high, value * 256, 40);
    }
    EXPECT_EQ(Averaged(2560, 30, shareOfOneIn(20)), 2560 - 128 + 384);
    EXPECT_EQ(Averaged(0, 10, shareOfOneIn(2)), 1280);
}

TEST(GateFeedback, IntervalStaysBetweenItsBounds) {
    EXPECT_EQ(NextInterval(shortestInterval + 10, false, 10, 0), shortestInterval + 10);  // a step to the bound is not made
    EXPECT_EQ(NextInterval(shortestInterval + 11, false, 10, 0), shortestInterval + 1);
    EXPECT_EQ(NextInterval(longestInterval - 13, true, 256, 0), longestInterval - 13);
    EXPECT_EQ(NextInterval(longestInterval - 14, true, 256, 0), longestInterval - 1);
}

TEST(GateFeedback, DrawsRoundTheLongerStep) {
    for (const int step : {1, 3, 90, 256}) {
        int sum = 0;
        for (int draw = 0; draw < 256; ++draw)
            sum += NextInterval(5000, true, static_cast<std::uint16_t>(step), static_cast<std::uint8_t>(draw)) - 5000;
        EXPECT_EQ(sum, step * longerStep);  // over 256 draws, a 1/256 of it each
    }
}

TEST(GateFeedback, StepIsAPictureOfAPerfectMatchAndLessOfOthers) {
    EXPECT_EQ(IntervalStep(0), 256);
    for (std::uint32_t distance = 0; distance <= largestLimit; ++distance)
        ASSERT_NEAR(IntervalStep(distance), 256 / (1 + distance / 256.0 * 15 / 8), 0.51 + 256.0 / (8 + distance * 15 / 256));
    std::vector<std::uint16_t> distance(65536), step(65536);
    for (std::size_t i = 0; i < distance.size(); ++i) distance[i] = static_cast<std::uint16_t>(i);
    FindSteps(distance.data(), step.data(), step.size());
    for (std::size_t i = 0; i < distance.size(); ++i)
        ASSERT_EQ(step[i], IntervalStep(std::min<std::uint32_t>(static_cast<std::uint32_t>(i) / 16 * 16, 64 * 256 - 16)));
}

namespace {

static_assert(NextLimit(calmLimit + 179, 0) == calmLimit);

enum class Fault { None, MovingHaveTurns, AverageOfAll, CalmIncludesLimit, DirectionSwapped };

testing::AssertionResult LoopsEqualTheRules(Fault fault) {
    KernelPlane<std::uint8_t> isMoving, draw, isTaken, nearest, whole, isCalm;
    KernelPlane<std::uint16_t> interval, distance, limit, step;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        isMoving.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); });
        for (auto* plane : {&draw, &nearest}) plane->Fill(c, 0, 255, [&] { return random.Byte(); });
        for (auto* plane : {&isTaken, &whole, &isCalm}) plane->Draw(c, [&] { return random.Byte(); });
        interval.Fill(c, shortestInterval + 1, longestInterval - 1, [&] { return Word(random, 513, 3000); });
        distance.Fill(c, 0, largestLimit, [&] { return Word(random, 0, 1400); });
        limit.Fill(c, smallestLimit, largestLimit, [&] { return Word(random, smallestLimit, 5000); });
        if (c.size > 0) {
            limit(c, c.size / 2) = calmLimit + 179;  // the next one is calmLimit itself, which is not calm
            distance(c, c.size / 2) = 0;
        }
        step.Fill(c, 1, 256, [&] { return Word(random, 1, 256); });
        const std::size_t count = c.Range().Count();

        std::vector<std::uint8_t> expected = isTaken.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            const bool mayHaveOne = isMoving(c, i) == 0 || fault == Fault::MovingHaveTurns;
            expected[i] = mayHaveOne && draw(c, i) * interval(c, i) < 65536 ? 255 : 0;
        }
        DrawTurns(isMoving.At(c) + c.first, draw.At(c) + c.first, interval.At(c) + c.first, isTaken.At(c) + c.first, count);
        comparison.Compare(c, "isTaken", isTaken, expected);

        const std::uint16_t share = shareOfOneIn(static_cast<std::uint32_t>(random.Between(2, 20)));
        std::vector<std::uint16_t> averages = distance.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i)
            if (isTaken(c, i) != 0 || fault == Fault::AverageOfAll)
                averages[i] = static_cast<std::uint16_t>(averages[i] - averages[i] * std::uint64_t{share} / 65536 +
                                                         nearest(c, i) * std::uint64_t{256} * share / 65536);
        AverageTaken(isTaken.At(c) + c.first, nearest.At(c) + c.first, share, distance.At(c) + c.first, count);
        comparison.Compare(c, "distance", distance, averages);

        std::vector<std::uint16_t> limits = limit.Copy(c), intervals = interval.Copy(c);
        std::vector<std::uint8_t> wholes = whole.Copy(c), calms = isCalm.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            limits[i] = NextLimit(limits[i], distance(c, i));
            wholes[i] = WholeLimit(limits[i]);
            calms[i] = limits[i] < calmLimit + (fault == Fault::CalmIncludesLimit ? 1 : 0) ? 255 : 0;
            const bool moves = (isMoving(c, i) != 0) != (fault == Fault::DirectionSwapped);
            intervals[i] = NextInterval(intervals[i], moves, step(c, i), draw(c, i));
        }
        AdjustLimits(distance.At(c) + c.first, limit.At(c) + c.first, whole.At(c) + c.first, isCalm.At(c) + c.first, count);
        AdjustIntervals(isMoving.At(c) + c.first, step.At(c) + c.first, draw.At(c) + c.first, interval.At(c) + c.first,
                        count);
        comparison.Compare(c, "limit", limit, limits);
        comparison.Compare(c, "whole", whole, wholes);
        comparison.Compare(c, "isCalm", isCalm, calms);
        comparison.Compare(c, "interval", interval, intervals);
    });
    return comparison.Result();
}

}  // namespace

TEST(GateFeedback, LoopsEqualTheirRules) { EXPECT_TRUE(LoopsEqualTheRules(Fault::None)); }
TEST(GateFeedback, ComparisonNoticesFaults) {
    EXPECT_FALSE(LoopsEqualTheRules(Fault::MovingHaveTurns));
    EXPECT_FALSE(LoopsEqualTheRules(Fault::AverageOfAll));
    EXPECT_FALSE(LoopsEqualTheRules(Fault::CalmIncludesLimit));
    EXPECT_FALSE(LoopsEqualTheRules(Fault::DirectionSwapped));
}
