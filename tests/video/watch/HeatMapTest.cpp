// Is it warmest where most moved, whatever grids were counted on?
#include "video/watch/HeatMap.h"

#include <gtest/gtest.h>

#include <cstddef>
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
