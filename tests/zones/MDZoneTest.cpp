// Does a zone keep its mask, fit it to the grid and hang in its list as agreed?
#include "zones/MDZone.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "GuardedBlocks.h"

namespace {

using MD::MDZone;
using MD::MDZoneList;
using Byte = unsigned char;

// A list that ends empty.
struct OwnedList : MDZoneList {
    ~OwnedList() { Release(); }
};

std::vector<Byte> PixelMap(const MDZone& zone) {
    return std::vector<Byte>(zone.pixelMap, zone.pixelMap + zone.pixelMapWidth * zone.pixelMapHeight);
}

// '#' and '.' row after row, rows divided by blanks.
std::string Drawn(const MDZone& zone) {
    std::string drawing;
    for (int y = 0; y < zone.pixelMapHeight; ++y) {
        if (y > 0) drawing += ' ';
        for (int x = 0; x < zone.pixelMapWidth; ++x) drawing += zone.pixelMap[y * zone.pixelMapWidth + x] == 1 ? '#' : '.';
    }
    return drawing;
}

// The rule in integers: block b of `blocks` covers [b * cells, (b + 1) * cells), cell c of `cells` covers
// [c * blocks, (c + 1) * blocks), on an axis of cells * blocks units. They overlap if each starts before the other ends.
bool Overlap(std::int64_t cell, std::int64_t cells, std::int64_t block, std::int64_t blocks) {
    return block * cells < (cell + 1) * blocks && cell * blocks < (block + 1) * cells;
}

std::vector<Byte> FittedSlowly(const std::vector<Byte>& mask, int maskWidth, int maskHeight, int width, int height) {
    std::vector<Byte> fitted(static_cast<std::size_t>(width * height), 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int row = 0; row < maskHeight; ++row)
                for (int column = 0; column < maskWidth; ++column)
                    if (mask[static_cast<std::size_t>(row * maskWidth + column)] && Overlap(column, maskWidth, x, width) &&
                        Overlap(row, maskHeight, y, height))
                        fitted[static_cast<std::size_t>(y * width + x)] = 1;
    return fitted;
}

}  // namespace

// The order of the members is fixed.
static_assert(offsetof(MDZone, prev) < offsetof(MDZone, next));
static_assert(offsetof(MDZone, next) < offsetof(MDZone, map));
static_assert(offsetof(MDZone, map) < offsetof(MDZone, pixelMap));
static_assert(offsetof(MDZone, pixelMap) < offsetof(MDZone, mapWidth));
static_assert(offsetof(MDZone, mapWidth) < offsetof(MDZone, mapHeight));
static_assert(offsetof(MDZone, mapHeight) < offsetof(MDZone, pixelMapWidth));
static_assert(offsetof(MDZone, pixelMapWidth) < offsetof(MDZone, pixelMapHeight));
static_assert(offsetof(MDZone, pixelMapHeight) < offsetof(MDZone, minObjectHeight));
static_assert(offsetof(MDZone, minObjectHeight) < offsetof(MDZone, minObjectWidth));
static_assert(offsetof(MDZone, minObjectWidth) < offsetof(MDZone, zoneValue));
static_assert(offsetof(MDZoneList, _first) < offsetof(MDZoneList, _last));
static_assert(offsetof(MDZoneList, _last) < offsetof(MDZoneList, _count));

TEST(MDZoneTest, DefaultZoneIsTheWholeFrame) {
    MDZone zone;
    EXPECT_EQ(zone.prev, nullptr);
    EXPECT_EQ(zone.next, nullptr);
    EXPECT_EQ(zone.pixelMap, nullptr);
    EXPECT_EQ(zone.pixelMapWidth, 0);
    EXPECT_EQ(zone.pixelMapHeight, 0);
    ASSERT_EQ(zone.mapWidth, 1);
    ASSERT_EQ(zone.mapHeight, 1);
    EXPECT_EQ(zone.map[0], 1);
    for (const int width : {1, 2, 7, 64})
        for (const int height : {1, 3, 50}) {
            zone.InitPixelMap(width, height);
            EXPECT_EQ(PixelMap(zone), std::vector<Byte>(static_cast<std::size_t>(width * height), 1))
                << width << " " << height;
        }
}

TEST(MDZoneTest, StandardParametersKeepEveryObject) {
    MDZone zone(0.7f, 0.5f, 0.25f);
    zone.SetStandartParameters();
    EXPECT_EQ(zone.minObjectWidth, 0.0f);
    EXPECT_EQ(zone.minObjectHeight, 0.0f);
    EXPECT_EQ(zone.zoneValue, 0.3f);
    const MDZone fresh;
    EXPECT_EQ(fresh.minObjectWidth, 0.0f);
    EXPECT_EQ(fresh.minObjectHeight, 0.0f);
    EXPECT_EQ(fresh.zoneValue, 0.3f);
}

TEST(MDZoneTest, ParametersGoWhereTheirNamesSay) {
    MDZone zone(0.75f, 0.5f, 0.25f);
    EXPECT_EQ(zone.zoneValue, 0.75f);
    EXPECT_EQ(zone.minObjectWidth, 0.5f);
    EXPECT_EQ(zone.minObjectHeight, 0.25f);
    zone.InitPixelMap(3, 2);
    EXPECT_EQ(Drawn(zone), "### ###");
}

TEST(MDZoneTest, MaskIsCopied) {
    std::vector<Byte> mask = {0, 7, 0, 0, 0, 255};
    MDZone zone(mask.data(), 3, 2, 0.75f, 0.5f, 0.25f);
    mask.assign(6, 1);
    EXPECT_NE(zone.map, mask.data());
    EXPECT_EQ(std::vector<Byte>(zone.map, zone.map + 6), (std::vector<Byte>{0, 7, 0, 0, 0, 255}));
    EXPECT_EQ(zone.mapWidth, 3);
    EXPECT_EQ(zone.mapHeight, 2);
    EXPECT_EQ(zone.zoneValue, 0.75f);
    EXPECT_EQ(zone.minObjectWidth, 0.5f);
    EXPECT_EQ(zone.minObjectHeight, 0.25f);
    zone.InitPixelMap(3, 2);
    EXPECT_EQ(Drawn(zone), ".#. ..#");  // any value but 0 is inside, and becomes 1
}

TEST(MDZoneTest, InicTouchesNoParameter) {
    MDZone zone(0.75f, 0.5f, 0.25f);
    zone.InitPixelMap(2, 2);
    Byte* const map = zone.map;
    Byte* const pixelMap = zone.pixelMap;
    zone.prev = zone.next = &zone;
    zone.Inic();
    EXPECT_EQ(zone.prev, nullptr);
    EXPECT_EQ(zone.next, nullptr);
    EXPECT_EQ(zone.map, nullptr);
    EXPECT_EQ(zone.pixelMap, nullptr);
    EXPECT_EQ(zone.mapWidth, 0);
    EXPECT_EQ(zone.mapHeight, 0);
    EXPECT_EQ(zone.pixelMapWidth, 0);
    EXPECT_EQ(zone.pixelMapHeight, 0);
    EXPECT_EQ(zone.zoneValue, 0.75f);
    EXPECT_EQ(zone.minObjectWidth, 0.5f);
    EXPECT_EQ(zone.minObjectHeight, 0.25f);
    zone.map = map;  // back, so that the zone frees them
    zone.pixelMap = pixelMap;
}

TEST(MDZoneTest, FullFrameReplacesTheMask) {
    std::vector<Byte> mask(12, 0);
    MDZone zone(mask.data(), 4, 3, 0.75f, 0.5f, 0.25f);
    zone.SetMapToFullFrame();
    EXPECT_EQ(zone.mapWidth, 1);
    EXPECT_EQ(zone.mapHeight, 1);
    EXPECT_EQ(zone.map[0], 1);
    EXPECT_EQ(zone.zoneValue, 0.75f);
}

TEST(MDZoneTest, MaskIsClearedAndFilledAsAWhole) {
    std::vector<Byte> mask = {1, 2, 3, 4, 5, 6};
    MDZone zone(mask.data(), 3, 2, 0.0f, 0.0f, 0.0f);
    zone.ClearMap();
    EXPECT_EQ(std::vector<Byte>(zone.map, zone.map + 6), std::vector<Byte>(6, 0));
    zone.FillMap();
    EXPECT_EQ(std::vector<Byte>(zone.map, zone.map + 6), std::vector<Byte>(6, 1));
}

TEST(MDZoneTest, MaskWithoutCellsIsNeitherFilledNorFitted) {
    Byte cell = 1;
    for (const int width : {0, 3}) {
        MDZone zone(&cell, width, 0, 0.0f, 0.0f, 0.0f);
        zone.FillMap();
        zone.ClearMap();
        zone.InitPixelMap(2, 2);
        EXPECT_EQ(Drawn(zone), ".. ..");
    }
}

// ceil(1 * 5 / 2) = 3: the cell covers two and a half blocks and takes the whole third.
TEST(MDZoneTest, CellGrowsToWholeBlocks) {
    Byte mask[] = {1, 0, 0, 0};
    MDZone zone(mask, 2, 2, 0.0f, 0.0f, 0.0f);
    zone.InitPixelMap(5, 5);
    EXPECT_EQ(Drawn(zone), "###.. ###.. ###.. ..... .....");
}

TEST(MDZoneTest, UnsetCellDoesNotTakeASharedBlockBack) {
    Byte mask[] = {1, 0};
    MDZone zone(mask, 2, 1, 0.0f, 0.0f, 0.0f);
    zone.InitPixelMap(3, 1);
    EXPECT_EQ(Drawn(zone), "##.");
    Byte mirrored[] = {0, 1};
    MDZone other(mirrored, 2, 1, 0.0f, 0.0f, 0.0f);
    other.InitPixelMap(3, 1);
    EXPECT_EQ(Drawn(other), ".##");
}

// Ten columns on four blocks: a cell is 0.4 blocks wide; the cells 2 and 7 lie across a border of blocks.
TEST(MDZoneTest, CellOfAFineMaskMarksOneOrTwoBlocks) {
    const std::string expected[] = {"#...", "#...", "##..", ".#..", ".#..", "..#.", "..#.", "..##", "...#", "...#"};
    for (std::size_t cell = 0; cell < 10; ++cell) {
        std::vector<Byte> mask(10, 0);
        mask[cell] = 1;
        MDZone zone(mask.data(), 10, 1, 0.0f, 0.0f, 0.0f);
        zone.InitPixelMap(4, 1);
        EXPECT_EQ(Drawn(zone), expected[cell]) << cell;
    }
    std::vector<Byte> neighbours(10, 0);
    neighbours[3] = neighbours[4] = 1;
    MDZone zone(neighbours.data(), 10, 1, 0.0f, 0.0f, 0.0f);
    zone.InitPixelMap(4, 1);
    EXPECT_EQ(Drawn(zone), ".#..");
}

TEST(MDZoneTest, FitEqualsTheOverlapRuleForManySizes) {
    std::mt19937 random(51);
    for (int round = 0; round < 400; ++round) {
        const int maskWidth = 1 + static_cast<int>(random() % 23), maskHeight = 1 + static_cast<int>(random() % 19);
        const int width = 1 + static_cast<int>(random() % 29), height = 1 + static_cast<int>(random() % 17);
        std::vector<Byte> mask(static_cast<std::size_t>(maskWidth * maskHeight));
        for (Byte& cell : mask) cell = random() % 4 == 0 ? static_cast<Byte>(1 + random() % 255) : Byte{0};
        MDZone zone(mask.data(), maskWidth, maskHeight, 0.0f, 0.0f, 0.0f);
        zone.InitPixelMap(width, height);
        ASSERT_EQ(PixelMap(zone), FittedSlowly(mask, maskWidth, maskHeight, width, height))
            << maskWidth << " x " << maskHeight << " onto " << width << " x " << height;
    }
}

// Quotients whose neighbours are close to a whole number: long axes, one against the other.
TEST(MDZoneTest, FitEqualsTheOverlapRuleOnLongAxes) {
    const int lengths[] = {1, 2, 3, 7, 997, 1000, 1024, 2047, 2048, 2049};
    for (const int cells : lengths)
        for (const int blocks : lengths) {
            std::vector<Byte> mask(static_cast<std::size_t>(cells), 0);
            for (std::size_t cell = 0; cell < mask.size(); cell += 3) mask[cell] = 1;
            MDZone row(mask.data(), cells, 1, 0.0f, 0.0f, 0.0f), column(mask.data(), 1, cells, 0.0f, 0.0f, 0.0f);
            row.InitPixelMap(blocks, 1);
            column.InitPixelMap(1, blocks);
            std::vector<Byte> expected(static_cast<std::size_t>(blocks), 0);
            for (int block = 0; block < blocks; ++block)
                for (int cell = 0; cell < cells; cell += 3)
                    if (Overlap(cell, cells, block, blocks)) expected[static_cast<std::size_t>(block)] = 1;
            ASSERT_EQ(PixelMap(row), expected) << cells << " onto " << blocks;
            ASSERT_EQ(PixelMap(column), expected) << cells << " onto " << blocks;
        }
}

TEST(MDZoneTest, MaskIsReadNowhereElse) {
    for (const Kit::GuardedSide side : {Kit::GuardedSide::End, Kit::GuardedSide::Front}) {
        Kit::GuardedBlocks<Byte> mask(5 * 7, side);
        for (Byte& cell : mask) cell = 1;
        MDZone zone(mask.data(), 5, 7, 0.0f, 0.0f, 0.0f);
        zone.InitPixelMap(3, 2);
        EXPECT_EQ(Drawn(zone), "### ###");
    }
}

TEST(MDZoneTest, SameSizeKeepsPixelMap) {
    Byte mask[] = {1, 0, 0, 0};
    MDZone zone(mask, 2, 2, 0.0f, 0.0f, 0.0f);
    zone.InitPixelMap(4, 4);
    const std::string before = Drawn(zone);
    const Byte* const buffer = zone.pixelMap;
    zone.FillMap();
    zone.InitPixelMap(4, 4);
    EXPECT_EQ(zone.pixelMap, buffer);
    EXPECT_EQ(Drawn(zone), before);
    zone.InitPixelMap(4, 3);  // another size sees the change
    EXPECT_EQ(Drawn(zone), "#### #### ####");
}

TEST(MDZoneTest, ImpossibleSizesThrow) {
    Byte cell = 1;
    EXPECT_THROW(MDZone(&cell, -1, 2, 0.0f, 0.0f, 0.0f), std::bad_array_new_length);
    MDZone zone;
    zone.InitPixelMap(3, 1);
    EXPECT_THROW(zone.InitPixelMap(5, -1), std::bad_array_new_length);
    zone.InitPixelMap(3, 1);  // usable afterwards
    EXPECT_EQ(Drawn(zone), "###");
}

TEST(MDZoneListTest, AddAppendsAndMapsTheRecord) {
    OwnedList list;
    EXPECT_EQ(list._first, nullptr);
    EXPECT_EQ(list._last, nullptr);
    EXPECT_EQ(list._count, 0);
    std::vector<Byte> mask = {1, 0, 1};
    MDZoneInfo info = {mask.data(), 3, 1, 0.75f, 0.5f, 0.25f};
    list.Add(&info);
    const MDZone* const first = list._first;
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(list._last, first);
    EXPECT_EQ(list._count, 1);
    EXPECT_EQ(first->prev, nullptr);
    EXPECT_EQ(first->next, nullptr);
    EXPECT_EQ(first->mapWidth, 3);
    EXPECT_EQ(first->mapHeight, 1);
    EXPECT_EQ(first->zoneValue, 0.75f);
    EXPECT_EQ(first->minObjectWidth, 0.5f);
    EXPECT_EQ(first->minObjectHeight, 0.25f);
    EXPECT_NE(first->map, mask.data());
    EXPECT_EQ(std::vector<Byte>(first->map, first->map + 3), mask);
    EXPECT_EQ(first->pixelMapWidth, 0);
    EXPECT_EQ(first->pixelMapHeight, 0);
}

TEST(MDZoneListTest, ZonesKeepTheOrderOfTheirAddition) {
    OwnedList list;
    Byte cell = 1;
    for (int i = 0; i < 20; ++i) {
        MDZoneInfo info = {&cell, 1, 1, static_cast<float>(i), 0.0f, 0.0f};
        list.Add(&info);
        EXPECT_EQ(list._count, i + 1);
        EXPECT_EQ(list._last->zoneValue, static_cast<float>(i));
        EXPECT_EQ(list._last->next, nullptr);
    }
    int position = 0;
    const MDZone* predecessor = nullptr;
    for (const MDZone* zone = list._first; zone; predecessor = zone, zone = zone->next, ++position) {
        EXPECT_EQ(zone->zoneValue, static_cast<float>(position));
        EXPECT_EQ(zone->prev, predecessor);
    }
    EXPECT_EQ(position, 20);
    EXPECT_EQ(predecessor, list._last);
}

TEST(MDZoneListTest, FailedAdditionLeavesTheListAlone) {
    OwnedList list;
    Byte cell = 1;
    MDZoneInfo good = {&cell, 1, 1, 0.0f, 0.0f, 0.0f}, bad = {&cell, 1, -1, 0.0f, 0.0f, 0.0f};
    EXPECT_THROW(list.Add(&bad), std::bad_array_new_length);
    EXPECT_EQ(list._first, nullptr);
    EXPECT_EQ(list._count, 0);
    list.Add(&good);
    EXPECT_THROW(list.Add(&bad), std::bad_array_new_length);
    EXPECT_EQ(list._count, 1);
    EXPECT_EQ(list._last, list._first);
    EXPECT_EQ(list._first->next, nullptr);
}

TEST(MDZoneListTest, ReleaseEmptiesTheList) {
    MDZoneList list;
    list.Release();  // nothing there: succeeds
    EXPECT_EQ(list._first, nullptr);
    EXPECT_EQ(list._last, nullptr);
    EXPECT_EQ(list._count, 0);
    Byte cell = 1;
    MDZoneInfo info = {&cell, 1, 1, 0.0f, 0.0f, 0.0f};
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i <= round; ++i) list.Add(&info);
        list.Release();
        EXPECT_EQ(list._first, nullptr);
        EXPECT_EQ(list._last, nullptr);
        EXPECT_EQ(list._count, 0);
    }
}

TEST(MDZoneDeathTest, CountThatDisagreesWithTheLinksIsFatal) {
    for (const int wrongCount : {1, -1})
        EXPECT_DEATH(
            {
                MDZoneList list;
                list._count = wrongCount;
                list.Release();
            },
            "MDZone\\.cpp:.*Assertion `_count == 0' failed");
}

TEST(MDZoneDeathTest, NullMaskIsFatal) {
    EXPECT_DEATH(MDZone(nullptr, 1, 1, 0.0f, 0.0f, 0.0f), "Assertion `source' failed");
}
