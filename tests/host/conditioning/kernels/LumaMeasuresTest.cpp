// Are brightness, range and colour of a picture what sorting all of it would tell?
#include "conditioning/kernels/LumaMeasures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

using namespace Host::Kernels;

namespace {

std::vector<std::uint8_t> Chance(std::mt19937& random, std::size_t count, int low, int high) {
    std::vector<std::uint8_t> plane(count);
    for (auto& value : plane)
        value = static_cast<std::uint8_t>(low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1)));
    return plane;
}

}  // namespace

TEST(LumaMeasures, RatioCountsFromBlack) {
    EXPECT_EQ(BrightnessRatio(116, 116), 64);
    EXPECT_EQ(BrightnessRatio(136, 116), 77);
    EXPECT_EQ(BrightnessRatio(0, 116), 0);
    EXPECT_EQ(BrightnessRatio(255, 32), 255);
}

TEST(LumaMeasures, QuartilesAreThoseOfTheSortedRatios) {
    std::mt19937 random(7);
    for (std::size_t count = 1; count < 200; ++count) {
        const auto before = Chance(random, count, 0, 255), luma = Chance(random, count, 0, 255);
        std::vector<int> ratios;
        for (std::size_t i = 0; i < count; i += 3)
            if (before[i] >= 32) ratios.push_back(BrightnessRatio(luma[i], before[i]));
        std::sort(ratios.begin(), ratios.end());
        const RatioQuartiles got = CompareBrightness(luma.data(), before.data(), count);
        ASSERT_EQ(got.compared, ratios.size());
        if (ratios.empty()) continue;
        ASSERT_EQ(got.low, ratios[ratios.size() / 4]) << count;
        ASSERT_EQ(got.middle, ratios[ratios.size() / 2]) << count;
        ASSERT_EQ(got.high, ratios[ratios.size() * 3 / 4]) << count;
    }
}

TEST(LumaMeasures, TailsAreThoseOfTheSortedRatios) {
    std::mt19937 random(8);
    for (std::size_t count = 0; count < 200; ++count) {
        const auto before = Chance(random, count, 0, 255), luma = Chance(random, count, 0, 255);
        const int low = 1 + static_cast<int>(random() % 254), high = 1 + static_cast<int>(random() % 254);
        std::size_t compared = 0, below = 0, above = 0;
        for (std::size_t i = 0; i < count; i += 3) {
            if (before[i] < 32) continue;
            ++compared;
            below += BrightnessRatio(luma[i], before[i]) <= low ? 1 : 0;
            above += BrightnessRatio(luma[i], before[i]) >= high ? 1 : 0;
        }
        const RatioTails got = CountRatioTails(luma.data(), before.data(), low, high, count);
        ASSERT_EQ(got.compared, compared);
        ASSERT_EQ(got.low, below) << count << " blocks, at most " << low;
        ASSERT_EQ(got.high, above) << count << " blocks, at least " << high;
    }
}

TEST(LumaMeasures, EveryPairOfLumasIsInTheTailsOfItsRatio) {
    for (int before = 32; before < 256; ++before)
        for (int luma = 0; luma < 256; ++luma) {
            const auto now = static_cast<std::uint8_t>(luma), then = static_cast<std::uint8_t>(before);
            const int ratio = BrightnessRatio(luma, before);
            for (const int limit : {56, 72, std::clamp(ratio, 1, 254), std::clamp(ratio + 1, 1, 254)}) {
                const RatioTails tails = CountRatioTails(&now, &then, limit, limit, 1);
                ASSERT_EQ(tails.low, ratio <= limit ? 1u : 0u) << luma << " after " << before << ", limit " << limit;
                ASSERT_EQ(tails.high, ratio >= limit ? 1u : 0u) << luma << " after " << before << ", limit " << limit;
            }
        }
}

TEST(LumaMeasures, StepsGoTowardsThePictureAndNoFurther) {
    std::mt19937 random(10);
    for (std::size_t count = 0; count < 70; ++count)
        for (const int step : {0, 1, 4, 8, 255}) {
            const auto luma = Chance(random, count, 0, 255), before = Chance(random, count, 0, 255);
            auto reference = before;
            StepTowards(luma.data(), reference.data(), static_cast<std::uint8_t>(step), count);
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_EQ(reference[i], before[i] + std::clamp(luma[i] - before[i], -step, step)) << count << ", " << i;
        }
}

TEST(LumaMeasures, DarkPicturesTellNoRatio) {
    const std::vector<std::uint8_t> dark(50, 31), bright(50, 200);
    const RatioQuartiles ratios = CompareBrightness(bright.data(), dark.data(), dark.size());
    EXPECT_EQ(ratios.compared, 0u);
    EXPECT_EQ(ratios.middle, evenRatio);
}

TEST(LumaMeasures, SpreadLeavesATwentiethOfBothEndsAway) {
    std::mt19937 random(9);
    for (std::size_t count = 1; count < 200; ++count) {
        const auto luma = Chance(random, count, 20, 235);
        auto sorted = luma;
        std::sort(sorted.begin(), sorted.end());
        ASSERT_EQ(LumaSpread(luma.data(), count), sorted[count - 1 - count / 20] - sorted[count / 20]) << count;
    }
}

TEST(LumaMeasures, ColourIsWhatIsBeyondALevelOfGrey) {
    constexpr int columns = 5;
    std::vector<std::uint8_t> cb(columns * 4, 127), cr(columns * 4, 129);
    const BlockBox box = {1, 1, 5, 3};
    EXPECT_EQ(Colourfulness(cb.data(), cr.data(), columns, box), 0);
    cb[columns + 1] = 120;  // seven beyond the level
    cr[0] = 255;            // outside of the box
    EXPECT_EQ(Colourfulness(cb.data(), cr.data(), columns, box), 7 * 16 / 8);
    EXPECT_EQ(Colourfulness(cb.data(), cr.data(), columns, {2, 2, 2, 3}), 0);
}

TEST(LumaMeasures, ColoursOfEveryWidthAreAddedUp) {
    std::mt19937 random(11);
    for (int columns = 1; columns < 70; ++columns) {
        const auto cb = Chance(random, static_cast<std::size_t>(3 * columns), 0, 255);
        const auto cr = Chance(random, static_cast<std::size_t>(3 * columns), columns % 2 == 0 ? 0 : 120, 255);
        std::int64_t sum = 0;
        for (std::size_t i = static_cast<std::size_t>(columns); i < cb.size(); ++i)
            sum += std::max(std::abs(cb[i] - 128) - 1, 0) + std::max(std::abs(cr[i] - 128) - 1, 0);
        ASSERT_EQ(Colourfulness(cb.data(), cr.data(), columns, {0, 1, columns, 3}), sum * 16 / (2 * columns)) << columns;
    }
}
