// Do the loops that step a window's sums and look for extremes follow plain sums and sorting, block by block?
#include "statistics/kernels/WindowSums.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::SeededRandom;

namespace {

// rule(sum or sum of squares, entering, leaving)
template <class SumRule, class SquareRule>
testing::AssertionResult SteppingEquals(SumRule sumRule, SquareRule squareRule) {
    KernelPlane<std::uint8_t> entering, leaving;
    KernelPlane<float> sum, squareSum;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        entering.Fill(c, 0, 255, [&] { return random.Byte(); });
        leaving.Fill(c, 255, 0, [&] { return random.Byte(); });
        sum.Draw(c, [&] { return static_cast<float>(random.Between(255, 5 * 255)); });
        squareSum.Draw(c, [&] { return static_cast<float>(random.Between(255 * 255, 5 * 255 * 255)); });
        std::vector<float> sums = sum.Copy(c), squareSums = squareSum.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            sums[i] = static_cast<float>(sumRule(static_cast<int>(sums[i]), entering(c, i), leaving(c, i)));
            squareSums[i] = static_cast<float>(squareRule(static_cast<int>(squareSums[i]), entering(c, i), leaving(c, i)));
        }
        StepWindow({.entering = entering.At(c), .leaving = leaving.At(c), .sum = sum.At(c), .squareSum = squareSum.At(c)},
                   c.Range());
        comparison.Compare(c, "sum", sum, sums);
        comparison.Compare(c, "squareSum", squareSum, squareSums);
    });
    return comparison.Result();
}

int SumRule(int sum, int entering, int leaving) { return sum + entering - leaving; }
int SquareRule(int sum, int entering, int leaving) { return sum + entering * entering - leaving * leaving; }

// Of the ages 0 to lastAge, sorted.
testing::AssertionResult ExtremesEqual(int lastAge) {
    KernelPlane<std::uint8_t> luma[10], min, max;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        for (KernelPlane<std::uint8_t>& plane : luma) plane.Fill(c, 0, 255, [&] { return random.Byte(); });
        for (KernelPlane<std::uint8_t>* plane : {&min, &max}) plane->Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> smallest = min.Copy(c), largest = max.Copy(c);
        ExtremesBlocks b{.luma = {}, .min = min.At(c), .max = max.At(c)};
        for (int age = 0; age < 10; ++age) b.luma[age] = luma[age].At(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            std::vector<std::uint8_t> values;
            for (int age = 0; age <= lastAge; ++age) values.push_back(luma[age](c, i));
            std::sort(values.begin(), values.end());
            smallest[i] = values.front();
            largest[i] = values.back();
        }
        FindExtremes(b, c.Range());
        comparison.Compare(c, "min", min, smallest);
        comparison.Compare(c, "max", max, largest);
    });
    return comparison.Result();
}

}  // namespace

TEST(WindowSumsKernel, SteppingEqualsRule) { EXPECT_TRUE(SteppingEquals(SumRule, SquareRule)); }
TEST(WindowSumsKernel, ExtremesEqualRule) { EXPECT_TRUE(ExtremesEqual(9)); }

TEST(WindowSumsKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(SteppingEquals([](int sum, int entering, int leaving) { return sum - entering + leaving; }, SquareRule));
    EXPECT_FALSE(SteppingEquals(SumRule, [](int sum, int entering, int leaving) {  // the square of the difference
        return sum + (entering - leaving) * (entering - leaving);
    }));
    EXPECT_FALSE(ExtremesEqual(8));  // the oldest frame forgotten
}

// The difference of two squares is a whole number far below 2^24: no step loses anything.
TEST(WindowSumsKernel, EveryStepIsExact) {
    for (int entering = 0; entering < 256; ++entering)
        for (int leaving = 0; leaving < 256; ++leaving) {
            const auto newest = static_cast<std::uint8_t>(entering), oldest = static_cast<std::uint8_t>(leaving);
            float sum = static_cast<float>(4 * 255 + leaving),
                  squareSum = static_cast<float>(4 * 255 * 255 + leaving * leaving);
            StepWindow({.entering = &newest, .leaving = &oldest, .sum = &sum, .squareSum = &squareSum}, {0, 1});
            ASSERT_EQ(sum, static_cast<float>(4 * 255 + entering));
            ASSERT_EQ(squareSum, static_cast<float>(4 * 255 * 255 + entering * entering));
        }
}
