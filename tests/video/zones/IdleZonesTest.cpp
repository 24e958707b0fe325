// Is a zone that can never tell motion known as such, with the reason, and no other one?
#include "video/zones/IdleZones.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "video/base/PictureGrid.h"
#include "video/zones/ObjectSizes.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Video {
namespace {

constexpr PictureGrid grid{.pictureWidth = 400, .pictureHeight = 300, .blockSize = 10, .columns = 40, .rows = 30};

// What is said of the zones, line by line.
std::string Said(const std::vector<Zone>& zones, const ObjectSizes& sizes) {
    std::string text;
    for (const IdleZone& zone : IdleZones(zones, grid, sizes)) {
        text += Told(zone) + "\n";
    }
    return text;
}

Zone Excluding(Zone zone) {
    zone.exclude = true;
    return zone;
}

TEST(IdleZones, AZoneHoldsTheSmallestObjectOrNot) {
    const ObjectSizes tenth{.smallest = 0.1};  // 4 by 3 blocks
    EXPECT_EQ(Said({RectangleZone("gate", {0.5, 0.5, 0.1, 0.1})}, tenth), "");
    EXPECT_EQ(
        Said({RectangleZone("gate", {0.5, 0.5, 0.075, 0.5})}, tenth),
        "zone \"gate\" can never tell motion: its 45 blocks have no room for 4 by 3, the smallest object that counts\n");
    EXPECT_EQ(
        Said({RectangleZone("wire", {0.5, 0.5, 0.5, 1.0 / 15})}, tenth),
        "zone \"wire\" can never tell motion: its 40 blocks have no room for 4 by 3, the smallest object that counts\n");
    EXPECT_EQ(Said({RectangleZone("wire", {0.5, 0.5, 0.001, 0.001})}, {.smallest = 0.05}),
              "zone \"wire\" can never tell motion: its 1 block has no room for 2 by 1, the smallest object that counts\n");
    EXPECT_EQ(Said({RectangleZone("wire", {0.5, 0.5, 0.001, 0.001})}, {.smallest = 0}), "");
    Zone own = RectangleZone("gate", {0.5, 0.5, 0.075, 0.5});
    own.minSize = 0.05;
    EXPECT_EQ(Said({own}, tenth), "") << "its own size counts";
    EXPECT_EQ(Said({}, {.smallest = 1}), "") << "the whole picture";
}

TEST(IdleZones, PartsThatNoObjectJoinsDoNotAddUp) {
    Zone parts{.name = "two", .mask = {40, 30, std::vector<std::uint8_t>(1200)}};
    const auto paint = [&](int column, int row) { parts.mask.pixels[static_cast<std::size_t>(row * 40 + column)] = 255; };
    for (int row = 10; row < 13; ++row) {
        paint(3, row);
        paint(4, row);
        paint(7, row);
        paint(8, row);
    }
    EXPECT_NE(Said({parts}, {.smallest = 0.1}), "") << "two columns in between";
    paint(6, 11);
    EXPECT_EQ(Said({parts}, {.smallest = 0.1}), "") << "one column in between";
}

TEST(IdleZones, WhatIsExcludedIsNotThere) {
    const Zone all = Excluding(RectangleZone("all", {0, 0, 1, 1})), half = Excluding(RectangleZone("half", {0, 0, 0.5, 1}));
    const Zone left = RectangleZone("left", {0, 0, 0.25, 0.1}), middle = RectangleZone("middle", {0.4, 0.4, 0.15, 0.2});
    EXPECT_EQ(Said({left, half}, {}), "zone \"left\" can never tell motion: excluded are all of its 30 blocks\n");
    EXPECT_EQ(Said({middle, half}, {.smallest = 0.05}), "");
    EXPECT_EQ(
        Said({middle, half}, {.smallest = 0.1}),
        "zone \"middle\" can never tell motion: its 12 blocks have no room for 4 by 3, the smallest object that counts\n");
    EXPECT_EQ(Said({all}, {}), "the picture can never tell motion: excluded are all of its 1200 blocks\n");
    EXPECT_FALSE(AreAll(IdleZones({left, middle, half}, grid, {}), {left, middle, half}));
    EXPECT_TRUE(AreAll(IdleZones({left, half}, grid, {}), {left, half}));
    EXPECT_TRUE(AreAll(IdleZones({all}, grid, {}), {all}));
    EXPECT_FALSE(AreAll(IdleZones({}, grid, {}), {}));
}

TEST(IdleZones, AMaskMayMissEveryBlock) {
    Zone dot{.name = "dot", .mask = {400, 300, std::vector<std::uint8_t>(120'000)}};
    dot.mask.pixels[0] = 255;
    EXPECT_EQ(Said({dot}, {}), "zone \"dot\" can never tell motion: it covers the centre of no block\n");
}

TEST(IdleZones, ALargestSizeMayLeaveNothing) {
    Zone zone = RectangleZone("all\n", {0, 0, 1, 1});
    zone.maxSize = 0.05;
    EXPECT_EQ(Said({zone}, {.smallest = 0.1}),
              "zone \"all\\n\" can never tell motion: the smallest object that counts has 4 "
              "by 3 blocks, the largest 2 by 1\n");
    EXPECT_EQ(Said({zone}, {.smallest = 0.05}), "");
    EXPECT_EQ(Said({}, {.smallest = 0, .largest = 0.03}),
              "the picture can never tell motion: the largest object that counts has 1 by 0 blocks\n");
}

}  // namespace
}  // namespace Video
