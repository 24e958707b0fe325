// Which things move in a zone?  From foreground blocks to labelled objects: growing, boxing, trimming, rebuilding.
#include <algorithm>
#include <cstdlib>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::Paint;
using DetectorKit::Picture;
using DetectorKit::PictureOf;

using Coordinates = std::vector<short>;

class ZonesTest : public DetectorKit::DetectorTest {
protected:
    void UseGrid(int columns, int rows) {
        Frame still(columns, rows);
        detector._currentTime = 1;
        FillRing(still);
        detector._nextProcessZone = detector._zones._first;
    }

    // Processes the first zone for that foreground. `moving`: blocks that moved just now, all of them when empty.
    void Process(const Picture& foreground, const Picture& moving = {}) {
        const int columns = static_cast<int>(foreground.front().size()), rows = static_cast<int>(foreground.size());
        if (detector.blockCountX != columns || detector.blockCountY != rows) UseGrid(columns, rows);
        Paint(detector._isObject, foreground);
        Paint(detector._isMotionPixel, moving.empty() ? foreground : moving);
        Paint(detector._zoneResultMap, foreground, 1);
        detector.ProcessOneZone();
    }

    Picture ResultMap() const { return PictureOf(detector._zoneResultMap, detector.blockCountX, detector.blockCountY); }
    int ObjectCount() const { return detector._zonePool._busyList._objectsCount; }
    const MD::MotionObject* FirstObject() const { return detector._zonePool._busyList._first; }

    static Coordinates Columns(const MD::MotionObject* object) { return Copied(object->motionX, object->objectPixelsCount); }
    static Coordinates Rows(const MD::MotionObject* object) { return Copied(object->motionY, object->objectPixelsCount); }
};

class ZonesDeathTest : public ZonesTest {};

// ---- Growing -------------------------------------------------------------------------------------------------------

TEST_F(ZonesTest, GapOfOneColumnJoins) {
    Process({"#.#"});
    EXPECT_EQ(Labels(), (Picture{"1.1"}));
    Process({"#", ".", "#"});
    EXPECT_EQ(Labels(), (Picture{"1", ".", "2"}));
    Process({"#..#"});
    EXPECT_EQ(Labels(), (Picture{"1..2"}));
}

TEST_F(ZonesTest, DiagonalNeighboursJoinButNotAcrossAColumn) {
    Process({"#.", ".#"});
    EXPECT_EQ(Labels(), (Picture{"1.", ".1"}));
    Process({".#", "#."});
    EXPECT_EQ(Labels(), (Picture{".1", "1."}));
    Process({"#..", "..#"});
    EXPECT_EQ(Labels(), (Picture{"1..", "..2"}));
    Process({"..#", "#.."});
    EXPECT_EQ(Labels(), (Picture{"..1", "2.."}));
}

TEST_F(ZonesTest, ReachIsADiamondTwoWideAndOneHigh) {
    UseGrid(9, 7);
    for (int dy = -3; dy <= 3; ++dy) {
        for (int dx = -4; dx <= 4; ++dx) {
            if (dx == 0 && dy == 0) continue;
            std::fill_n(detector._isObject, 63, std::uint8_t{0});
            detector._isObject[3 * 9 + 4] = detector._isObject[(3 + dy) * 9 + 4 + dx] = 255;
            std::fill_n(detector._isMotionPixel, 63, std::uint8_t{255});
            detector.ProcessOneZone();
            const bool joins = std::abs(dy) <= 1 && std::abs(dx) <= 2 - std::abs(dy);
            EXPECT_EQ(ObjectCount(), joins ? 1 : 2) << dx << ' ' << dy;
        }
    }
}

TEST_F(ZonesTest, ReachStopsAtTheEdgesOfTheGrid) {
    Process({"#...#", "....#", "#...."});  // rows do not continue into each other
    EXPECT_EQ(Labels(), (Picture{"1...2", "....2", "3...."}));
}

TEST_F(ZonesTest, ObjectsAreNumberedByTheirFirstBlock) {
    Process({"...#...#", "........", "#......#", "........", "...#...."});
    EXPECT_EQ(Labels(), (Picture{"...1...2", "........", "3......4", "........", "...5...."}));
    EXPECT_EQ(ObjectCount(), 5);
    EXPECT_EQ(FirstObject()->minX, 3);
    EXPECT_EQ(FirstObject()->next->minX, 7);
}

// From (0, 0) to (0, 1), from there to (2, 1), from there to (3, 0) above and (3, 1): not in raster order.
TEST_F(ZonesTest, BlocksAreListedAsTheFillReachesThem) {
    Process({"#..#", "#.##"});
    ASSERT_EQ(ObjectCount(), 1);
    EXPECT_EQ(Columns(FirstObject()), (Coordinates{0, 0, 2, 3, 3}));
    EXPECT_EQ(Rows(FirstObject()), (Coordinates{0, 1, 1, 0, 1}));
    EXPECT_EQ(FirstObject()->minX, 0);
    EXPECT_EQ(FirstObject()->maxX, 3);
    EXPECT_EQ(FirstObject()->minY, 0);
    EXPECT_EQ(FirstObject()->maxY, 1);
}

TEST_F(ZonesTest, FillFollowsAWindingPath) {
    Process({"#####", "....#", "#####", "#....", "#####"});
    EXPECT_EQ(ObjectCount(), 1);
    EXPECT_EQ(Labels(), (Picture{"11111", "....1", "11111", "1....", "11111"}));
}

TEST_F(ZonesTest, MovingBlocksAreListedInRasterOrder) {
    AddZone({"##..", "####", ".###"});
    UseGrid(4, 3);
    Paint(detector._isObject, {"#.##", "...#", "#.#."});
    EXPECT_EQ(detector.FindMovingInPixels(detector._zones._first), 3);
    EXPECT_EQ(Copied(detector._movingPixelX, 3), (Coordinates{0, 3, 2}));
    EXPECT_EQ(Copied(detector._movingPixelY, 3), (Coordinates{0, 1, 2}));
    for (int i = 0; i < 12; ++i) EXPECT_EQ(detector._objectsMap[i], i == 0 || i == 7 || i == 10 ? 65535 : 0) << i;
}

// ---- Zones ---------------------------------------------------------------------------------------------------------

TEST_F(ZonesTest, ZoneBesideTheForegroundFindsNothing) {
    AddZone({"##..", "##.."});
    Process({"..##", "..##"});
    EXPECT_EQ(ObjectCount(), 0);
    EXPECT_EQ(Labels(), (Picture{"....", "...."}));
    EXPECT_EQ(ResultMap(), (Picture{"..11", "..11"}));  // not its blocks
}

TEST_F(ZonesTest, ZoneCutsObjects) {
    AddZone({"##.##"});
    Process({"#####"});
    EXPECT_EQ(Labels(), (Picture{"11.11"}));  // the gap of one column joins
    detector.RemoveAllZones();
    detector.ReleaseBuffers();
    AddZone({"#..##"});
    Process({"#####"});
    EXPECT_EQ(Labels(), (Picture{"1..22"}));
}

TEST_F(ZonesTest, EveryPassStartsAnew) {
    Process({"#..#", "...."});
    Process({"....", ".##."});
    EXPECT_EQ(Labels(), (Picture{"....", ".11."}));
    EXPECT_EQ(ObjectCount(), 1);
    Process({"....", "...."});
    EXPECT_EQ(Labels(), (Picture{"....", "...."}));
    EXPECT_EQ(ObjectCount(), 0);
    EXPECT_EQ(detector._nextProcessZone, detector._zones._first);  // the caller moves it
}

TEST_F(ZonesTest, BeforeTheRingIsFilledNothingIsTouched) {
    Process({"#..#", "...."});
    detector._frameStatistics._isFilled = false;
    Process({"....", ".##."});
    EXPECT_EQ(Labels(), (Picture{"1..2", "...."}));
    EXPECT_EQ(ObjectCount(), 2);
}

TEST_F(ZonesTest, WithoutAZoneOnlyTheObjectsEnd) {
    Process({"#..#", "...."});
    detector._nextProcessZone = nullptr;
    Process({"....", ".##."});
    EXPECT_EQ(ObjectCount(), 0);
    EXPECT_EQ(Labels(), (Picture{"1..2", "...."}));
}

// ---- Boxes of moved blocks -------------------------------------------------------------------------------------------

TEST_F(ZonesTest, ObjectWithoutMovedBlockDisappearsAndTheNextTakesItsLabel) {
    Process({"##..##", "......", "##..##"}, {"....#.", "......", ".#...."});
    EXPECT_EQ(ObjectCount(), 2);
    EXPECT_EQ(Labels(), (Picture{"....1.", "......", ".2...."}));
    EXPECT_EQ(ResultMap(), (Picture{"....1.", "......", ".1...."}));
}

TEST_F(ZonesTest, BlocksOutsideTheBoxOfMovedBlocksAreTrimmed) {
    Process({"#####", "#####", "#####"}, {".....", ".#.#.", "....."});
    EXPECT_EQ(Labels(), (Picture{".....", ".111.", "....."}));  // what lies between moved blocks stays
    EXPECT_EQ(ResultMap(), (Picture{".....", ".111.", "....."}));
    ASSERT_EQ(ObjectCount(), 1);
    EXPECT_EQ(Columns(FirstObject()), (Coordinates{1, 2, 3}));
    EXPECT_EQ(FirstObject()->minX, 1);
    EXPECT_EQ(FirstObject()->maxX, 3);
    EXPECT_EQ(FirstObject()->minY, 1);
    EXPECT_EQ(FirstObject()->maxY, 1);
}

TEST_F(ZonesTest, MovedBlocksOfOtherObjectsAndOfNoneDoNotCount) {
    Process({"###..", ".....", "###.#"}, {"..###", "#####", "..#.#"});
    EXPECT_EQ(Labels(), (Picture{"..1..", ".....", "..2.2"}));
}

// The refinement's work mask, filled by somebody else: a pass that keeps an object clears it, trimmed or not, any other
// leaves it alone.
TEST_F(ZonesTest, UniformMaskIsClearedForEveryObject) {
    UseGrid(5, 2);
    const auto cleared = [&](const Picture& foreground, const Picture& moving) {
        std::fill_n(detector._uniformMask, 10, std::uint8_t{1});
        Process(foreground, moving);
        const Picture mask = PictureOf(detector._uniformMask, 5, 2);
        EXPECT_TRUE(mask == (Picture{"11111", "11111"}) || mask == (Picture{".....", "....."}));
        return mask[0] == ".....";
    };
    EXPECT_TRUE(cleared({"#....", "....."}, {"#....", "....."}));
    EXPECT_TRUE(cleared({"###..", "....."}, {"#....", "....."}));
    EXPECT_TRUE(cleared({"#..#.", "....."}, {"...#.", "....."}));   // the second of two
    EXPECT_FALSE(cleared({"###..", "....."}, {".....", "....."}));  // discarded whole
    EXPECT_FALSE(cleared({".....", "....."}, {".....", "....."}));
    EXPECT_TRUE(cleared({"#....", "....."}, {"#....", "....."}));  // once more: what was cleared may have been written since
}

TEST_F(ZonesTest, WithoutTheLimitAllBlocksCount) {
    detector._limitObjectsToMask = false;
    Process({"###..", ".....", "##..."}, {".....", ".....", "....."});
    EXPECT_EQ(Labels(), (Picture{"111..", ".....", "22..."}));
    EXPECT_EQ(ResultMap(), (Picture{"111..", ".....", "11..."}));
}

TEST_F(ZonesTest, InSlowModeAllBlocksCountToo) {
    detector._longBackgroundTimes = true;
    Process({"###..", ".....", "##..."}, {".....", ".....", "....."});
    EXPECT_EQ(Labels(), (Picture{"111..", ".....", "22..."}));
}

// ---- Labels of a pool, and objects of the labels -----------------------------------------------------------------------

TEST_F(ZonesTest, LabelsAreRewrittenFromAPositionOn) {
    Process({"#..#..#"});
    std::fill_n(detector._objectsMap, 7, std::uint16_t{9});
    detector.ResolveMotionObjectsMapIndex(detector._zonePool, 1);
    EXPECT_EQ(Labels(), (Picture{"9992993"}));
    detector.ResolveMotionObjectsMapIndex(detector._zonePool, 3);
    EXPECT_EQ(Labels(), (Picture{"9992993"}));
    detector.ResolveMotionObjectsMapIndex(detector._zonePool, -1);
    EXPECT_EQ(Labels(), (Picture{"1992993"}));
}

TEST_F(ZonesTest, ObjectsAreRebuiltFromTheLabels) {
    for (const bool isMerged : {false, true}) {
        detector._processZones = isMerged;
        Process({".....", "....."});
        const Picture labels{"22.11", ".1.2."};
        for (int i = 0; i < 10; ++i) {
            const char c = labels[static_cast<std::size_t>(i / 5)][static_cast<std::size_t>(i % 5)];
            detector._objectsMap[i] = static_cast<std::uint16_t>(c == '.' ? 0 : c - '0');
        }
        detector.ResolveMotionObjects(3);
        const MD::MotionObjectPool& pool = isMerged ? detector._mergedPool : detector._zonePool;
        ASSERT_EQ(pool._busyList._objectsCount, 3);
        const MD::MotionObject* const first = pool._busyList._first;
        EXPECT_EQ(Columns(first), (Coordinates{3, 4, 1}));
        EXPECT_EQ(Rows(first), (Coordinates{0, 0, 1}));
        EXPECT_EQ(first->minX, 1);
        EXPECT_EQ(first->maxX, 4);
        EXPECT_EQ(Columns(first->next), (Coordinates{0, 1, 3}));
        EXPECT_EQ(Rows(first->next), (Coordinates{0, 0, 1}));
        EXPECT_EQ(pool._busyList._last->objectPixelsCount, 0);
        EXPECT_EQ(pool._busyList._last->minX, 32767);
        detector.ReleaseBuffers();
    }
}

TEST_F(ZonesTest, RebuildingEndsTheEarlierObjects) {
    Process({"#..#."});
    std::fill_n(detector._objectsMap, 5, std::uint16_t{0});
    detector._processZones = false;
    detector.ResolveMotionObjects(0);
    EXPECT_EQ(ObjectCount(), 0);
    EXPECT_EQ(detector._zonePool._freeList._objectsCount, 0);
}

// ---- Limits --------------------------------------------------------------------------------------------------------

// Isolated blocks, three columns and two rows apart: 256 in a row, 128 rows.
TEST_F(ZonesTest, LabelsReach32767) {
    detector._limitObjectsToMask = false;
    UseGrid(768, 256);
    int placed = 0;
    for (int y = 0; y < 256; y += 2)
        for (int x = 0; x < 768; x += 3)
            if (placed < 32767) detector._isObject[y * 768 + x] = 255, ++placed;
    detector.ProcessOneZone();
    EXPECT_EQ(ObjectCount(), 32767);
    EXPECT_EQ(detector._objectsMap[254 * 768 + 762], 32767);
    EXPECT_EQ(detector._objectsMap[254 * 768 + 765], 0);
}

TEST_F(ZonesDeathTest, ObjectNumber32768IsFatal) {
    detector._limitObjectsToMask = false;
    UseGrid(768, 256);
    for (int y = 0; y < 256; y += 2)
        for (int x = 0; x < 768; x += 3) detector._isObject[y * 768 + x] = 255;
    EXPECT_DETECTOR_ASSERTION(detector.ProcessOneZone(), "ProcessOneZone()", "motionObjectsCount >= 0");
}

TEST_F(ZonesDeathTest, ZoneAddedBetweenFramesIsFatal) {
    Process({"...", "..."});
    AddFullZone();
    Frame next(3, 2);
    EXPECT_DETECTOR_ASSERTION(Feed(next, 1), "ProcessOneZone()", "currentZone->pixelMapWidth == blockCountX");
}

TEST_F(ZonesDeathTest, ZoneIsCheckedMaskThenWidthThenHeight) {
    Process({"...", "..."});
    MD::MDZone* const zone = detector._zones._first;
    zone->pixelMapHeight = 3;
    EXPECT_DETECTOR_ASSERTION(detector.ProcessOneZone(), "ProcessOneZone()", "currentZone->pixelMapHeight == blockCountY");
    zone->pixelMapWidth = 2;
    EXPECT_DETECTOR_ASSERTION(detector.ProcessOneZone(), "ProcessOneZone()", "currentZone->pixelMapWidth == blockCountX");
    EXPECT_DETECTOR_ASSERTION(
        {
            zone->map = nullptr;
            detector.ProcessOneZone();
        },
        "ProcessOneZone()", "currentZone->map");
}

// The lists are full with blocks that were counted twice: one more does not fit.
TEST_F(ZonesDeathTest, ObjectOfMoreBlocksThanTheGridIsFatal) {
    UseGrid(2, 1);
    std::fill_n(detector._objectsMap, 2, std::uint16_t{65535});
    std::fill_n(detector._objectPixelX, 2, short{0});
    std::fill_n(detector._objectPixelY, 2, short{0});
    int processed = 0, count = 2;
    EXPECT_DETECTOR_ASSERTION(detector.BuildCurrentMovingObject(processed, count, 1),
                              "BuildCurrentMovingObject(int&, int&, int)", "currentObjectMotionBlocksCount <= blockCount");
}

TEST_F(ZonesDeathTest, RelabellingOutsideTheGridIsFatal) {
    UseGrid(3, 2);
    short column = -1, row = 0;
    detector._zonePool.Add(&column, &row, 1, 6);
    EXPECT_DETECTOR_ASSERTION(detector.ResolveMotionObjectsMapIndex(detector._zonePool, -1),
                              "ResolveMotionObjectsMapIndex(MD::MotionObjectPool&, int)", "offset >= 0");
    detector._zonePool.ReleaseBusyList();
    column = 0;
    row = 2;
    detector._zonePool.Add(&column, &row, 1, 6);
    EXPECT_DETECTOR_ASSERTION(detector.ResolveMotionObjectsMapIndex(detector._zonePool, -1),
                              "ResolveMotionObjectsMapIndex(MD::MotionObjectPool&, int)", "offset < blockCount");
}

TEST_F(ZonesDeathTest, RebuildingChecksItsLabels) {
    UseGrid(3, 2);
    detector._objectsMap[4] = 32768;
    EXPECT_DETECTOR_ASSERTION(detector.ResolveMotionObjects(1), "ResolveMotionObjects(int)", "*ptr > 0");
    detector._objectsMap[4] = 65535;
    EXPECT_DETECTOR_ASSERTION(detector.ResolveMotionObjects(1), "ResolveMotionObjects(int)", "*ptr > 0");
    detector._objectsMap[4] = 2;
    EXPECT_ASSERTION(detector.ResolveMotionObjects(1), "index < _objectsCount");
}

// One entry of a rebuilt object always stays spare: an object that fills the grid does not fit.
TEST_F(ZonesDeathTest, RebuildingAFullGridIsFatal) {
    UseGrid(3, 2);
    std::fill_n(detector._objectsMap, 5, std::uint16_t{1});
    detector.ResolveMotionObjects(1);
    EXPECT_EQ(detector._mergedPool._busyList._first->objectPixelsCount, 5);
    detector._objectsMap[5] = 1;
    EXPECT_ASSERTION(detector.ResolveMotionObjects(1), "objectPixelsCount + 1 < _realBufferLenght");
}

}  // namespace
