// Is it warmest where most moved, whatever grids were counted on?
#include "video/watch/HeatMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "video/base/BgrPicture.h"

namespace Video {
namespace {

// Pictures of 8 by 4 pixels.
HeatMap Map(int blockSize, const std::vector<std::uint32_t>& counts) {
    return {.grid = {8, 4, blockSize, 8 / blockSize, 4 / blockSize}, .counts = counts};
}

int Brightness(const BgrPicture& picture, int x, int y) {
    const std::uint8_t* pixel = picture.pixels.data() + 3 * (static_cast<std::ptrdiff_t>(y) * picture.width + x);
    return 114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2];
}

TEST(HeatMap, CountsAddUp) {
    HeatMap map;
    map.Add(Map(2, {0, 1, 2, 3, 4, 5, 6, 7}));
    map.Add({});
    map.Add(Map(2, {1, 1, 1, 1, 0, 0, 0, 4'294'967'295u}));
    EXPECT_EQ(map.counts, (std::vector<std::uint32_t>{1, 2, 3, 4, 4, 5, 6, 4'294'967'295u})) << "no count starts anew";
    EXPECT_EQ(map.grid.columns, 4);
}

TEST(HeatMap, AnotherGridsBlocksAreFoundByTheirPlace) {
    HeatMap map = Map(2, {0, 0, 0, 0, 0, 0, 0, 1});
    map.Add(Map(4, {10, 20}));
    EXPECT_EQ(map.counts, (std::vector<std::uint32_t>{10, 10, 20, 20, 10, 10, 20, 21}));
    HeatMap coarse = Map(4, {0, 0});
    coarse.Add(Map(2, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(coarse.counts, (std::vector<std::uint32_t>{6, 8}));
}

TEST(HeatMap, ThePictureIsWarmestWhereMostMoved) {
    const BgrPicture background{2, 1, std::vector<std::uint8_t>(6, 100)};
    const BgrPicture picture = HeatPicture(Map(4, {1, 9}), background);
    ASSERT_EQ(picture.width, 8);
    ASSERT_EQ(picture.height, 4);
    for (int x = 1; x < 8; ++x) {
        EXPECT_GE(Brightness(picture, x, 1), Brightness(picture, x - 1, 1)) << x;
    }
    EXPECT_GT(Brightness(picture, 7, 1), 2 * Brightness(picture, 0, 1));
    const std::uint8_t* warm = picture.pixels.data() + 3 * 7;
    EXPECT_GT(warm[2], warm[0]) << "warm is more red than blue";
}

// 20 columns of 10 blocks: the left half moves in nearly every frame, one column of the right one in a few of them.
HeatMap Busy(std::uint32_t path) {
    HeatMap map{.grid = {80, 40, 4, 20, 10}, .counts = std::vector<std::uint32_t>(200), .frames = 1000};
    for (std::size_t i = 0; i < map.counts.size(); ++i) {
        map.counts[i] = i % 20 < 10 ? 1000 - static_cast<std::uint32_t>(i % 20 * 60) : i % 20 == 15 ? path : 0;
    }
    return map;
}

// How far colours lie apart, 0 to 441.
double Apart(const BgrPicture& picture, int oneX, int otherX) {
    const auto at = [&](int x) { return picture.pixels.data() + 3 * (std::ptrdiff_t{20} * picture.width + x); };
    double sum = 0;
    for (int i = 0; i < 3; ++i) {
        sum += (at(oneX)[i] - at(otherX)[i]) * (at(oneX)[i] - at(otherX)[i]);
    }
    return std::sqrt(sum);
}

TEST(HeatMap, ABusyHalfLeavesColoursForARarePathAndForItself) {
    for (const std::uint32_t crossed : {1u, 5u, 40u, 200u}) {
        const BgrPicture picture = HeatPicture(Busy(crossed), {});
        EXPECT_GT(Apart(picture, 62, 72), 60) << "path and ground, " << crossed;
        EXPECT_GT(Apart(picture, 62, 22), 90) << "path and busy half, " << crossed;
        EXPECT_GT(Apart(picture, 2, 22), 90) << "all of the time and seven tenths of it, " << crossed;
        EXPECT_GT(Apart(picture, 22, 37), 60) << "seven tenths and not half, " << crossed;
    }
}

TEST(HeatMap, LevelsRiseFromTheLeastToTheMost) {
    const HeatMap map = Busy(5);
    const HeatScale scale(map);
    EXPECT_EQ(scale.LevelOf(5), 0.0f);
    EXPECT_EQ(scale.LevelOf(1000), 1.0f);
    for (std::uint32_t count = 460; count < 1000; count += 60) {
        EXPECT_LT(scale.LevelOf(count), scale.LevelOf(count + 60)) << count;
    }
    EXPECT_EQ(scale.CountFrom(0), 5u);
    EXPECT_EQ(scale.CountFrom(1), 1000u);
    EXPECT_EQ(HeatScale(Map(4, {0, 7})).LevelOf(7), 1.0f) << "there is but one";
    EXPECT_EQ(HeatScale(Map(4, {0, 0})).CountFrom(0), 0u);
}

TEST(HeatMap, TheLegendTellsSharesOfTheTime) {
    const std::vector<HeatColour> legend = HeatLegend(Busy(5));
    ASSERT_EQ(legend.size(), 5u);
    EXPECT_DOUBLE_EQ(legend[1].share, 0.46) << "the least of the busy half";
    ASSERT_EQ(HeatLegend(Map(4, {3, 300})).size(), 2u) << "nothing lies between";
    EXPECT_DOUBLE_EQ(legend.front().share, 0.005);
    EXPECT_DOUBLE_EQ(legend.back().share, 1);
    for (std::size_t i = 1; i < legend.size(); ++i) {
        EXPECT_LT(legend[i - 1].share, legend[i].share);
    }
    EXPECT_TRUE(HeatLegend(Map(4, {0, 0})).empty());
    ASSERT_EQ(HeatLegend(Map(4, {0, 3})).size(), 1u);
    HeatMap sum = Busy(5);
    sum.Add(Busy(5));
    EXPECT_EQ(sum.frames, 2000u);
    EXPECT_DOUBLE_EQ(HeatLegend(sum).front().share, 0.005);
}

TEST(HeatMap, StillGroundIsTheDimmedBackground) {
    const BgrPicture picture = HeatPicture(Map(4, {0, 0}), {2, 1, {100, 100, 100, 255, 0, 255}});
    EXPECT_EQ(picture.pixels[0], 55);
    EXPECT_EQ(picture.pixels[2], 55);
    EXPECT_EQ(picture.pixels[3 * 7], 40) << "not known: dark, not magenta";
    EXPECT_EQ(picture.pixels[3 * 7 + 1], 40);
    EXPECT_EQ(HeatPicture(Map(4, {0, 0}), {}, 2).width, 4);
}

TEST(HeatMap, ABackgroundKeepsWhatANewerOneDoesNotKnow) {
    BgrPicture known{2, 1, {1, 2, 3, 4, 5, 6}};
    UpdateBackground(known, {2, 1, {255, 0, 255, 7, 8, 9}});
    EXPECT_EQ(known.pixels, (std::vector<std::uint8_t>{1, 2, 3, 7, 8, 9}));
    UpdateBackground(known, {1, 1, {255, 0, 255}});
    EXPECT_EQ(known.width, 1);
    EXPECT_EQ(GreyWhereUnknown(known).pixels, (std::vector<std::uint8_t>{40, 40, 40}));
}

}  // namespace
}  // namespace Video
