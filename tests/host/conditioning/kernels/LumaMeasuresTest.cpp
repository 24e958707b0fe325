// Are brightness, range and colour of a picture what sorting all of it would tell?
#include "conditioning/kernels/LumaMeasures.h"

#include <gtest/gtest.h>

#include <algorithm>
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
