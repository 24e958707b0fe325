// Does a relative zone cover the right blocks?
#include "video/zones/ZoneMask.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "video/base/PictureGrid.h"
#include "video/zones/Zone.h"

namespace Video {
namespace {

constexpr PictureGrid fourByThree{.pictureWidth = 40, .pictureHeight = 30, .blockSize = 10, .columns = 4, .rows = 3};

int Blocks(const std::vector<std::uint8_t>& mask) { return std::accumulate(mask.begin(), mask.end(), 0); }

std::vector<std::uint8_t> Rectangle(const RelativeZone& rectangle, const PictureGrid& grid) {
    return ZoneMask(RectangleZone("", rectangle), grid);
}

TEST(ZoneMask, TheWholePictureIsEveryBlock) { EXPECT_EQ(Blocks(Rectangle({0, 0, 1, 1}, fourByThree)), 12); }

TEST(ZoneMask, TheLeftHalfIsTheLeftColumns) {
    EXPECT_EQ(Rectangle({0, 0, 0.5, 1}, fourByThree), (std::vector<std::uint8_t>{1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0}));
}

TEST(ZoneMask, RowsAndColumnsAreNotConfused) {
    EXPECT_EQ(Rectangle({0.25, 0.34, 0.5, 0.3}, fourByThree),
              (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0}));
}

TEST(ZoneMask, ABlockBelongsToTheZoneWhereItsCentreIs) {
    EXPECT_EQ(Blocks(Rectangle({0, 0, 0.126, 1}, fourByThree)), 3);         // centres at 1/8 of the width
    EXPECT_EQ(Blocks(Rectangle({0.126, 0, 0.24, 1}, fourByThree)), 3 * 1);  // only the one in the middle, by necessity
}

TEST(ZoneMask, ATinyZoneIsOneBlock) {
    EXPECT_EQ(Rectangle({0.99, 0.99, 0.005, 0.005}, fourByThree),
              (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Rectangle({0, 0, 0.001, 0.001}, fourByThree), (std::vector<std::uint8_t>{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ZoneMask, LastBlocksThatReachBeyondThePictureBelongToTheWhole) {
    const PictureGrid ragged{.pictureWidth = 41, .pictureHeight = 31, .blockSize = 10, .columns = 5, .rows = 4};
    const std::vector<std::uint8_t> mask = Rectangle({0, 0, 1, 1}, ragged);
    EXPECT_EQ(Blocks(mask), 20);
}

TEST(ZoneMask, ATriangleIsItsHalf) {
    const Zone triangle{.name = "", .polygon = {{0, 0}, {1, 0}, {0, 1}}};
    EXPECT_EQ(ZoneMask(triangle, fourByThree), (std::vector<std::uint8_t>{1, 1, 1, 0, 1, 1, 0, 0, 1, 0, 0, 0}));
}

TEST(ZoneMask, AThinLineIsAChainOfBlocks) {
    const Zone level{.name = "", .polygon = {{0, 0.4}, {1, 0.4}, {1, 0.41}, {0, 0.41}}};
    EXPECT_EQ(ZoneMask(level, fourByThree), (std::vector<std::uint8_t>{0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0}));
}

TEST(ZoneMask, NeighboursShareNoBlock) {
    const auto left = Rectangle({0, 0, 0.375, 1}, fourByThree), right = Rectangle({0.375, 0, 0.625, 1}, fourByThree);
    EXPECT_EQ(Blocks(left) + Blocks(right), 12);  // the border runs through centres
}

TEST(ZoneMask, APictureIsStretchedOverTheGrid) {
    const Zone zone{.name = "", .mask = {2, 2, {127, 128, 255, 0}}};
    EXPECT_EQ(ZoneMask(zone, {.pictureWidth = 40, .pictureHeight = 40, .blockSize = 10, .columns = 4, .rows = 4}),
              (std::vector<std::uint8_t>{0, 0, 1, 1, 0, 0, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0}));
}

TEST(ZoneMask, WhatIsExcludedIsNotWatched) {
    Zone hole = RectangleZone("hole", {0, 0, 0.5, 0.5});
    hole.exclude = true;
    const auto excluded = ExcludedBlocks({hole, RectangleZone("other", {0, 0, 1, 1})}, fourByThree);
    EXPECT_EQ(excluded, Rectangle({0, 0, 0.5, 0.5}, fourByThree));
    EXPECT_EQ(Blocks(WatchedBlocks(RectangleZone("", {0, 0, 1, 1}), excluded, fourByThree)), 12 - Blocks(excluded));
}

}  // namespace
}  // namespace Video
