// Which objects are too small for their zone?  Limits as fractions of the grid, and the labels after the removal.
#include <algorithm>
#include <limits>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Frame;
using DetectorKit::Paint;
using DetectorKit::Picture;
using DetectorKit::PictureOf;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

class ZonesTest : public DetectorKit::DetectorTest {
protected:
    // What a zone of the whole grid with these limits keeps of the foreground.
    Picture Kept(float minWidth, float minHeight, const Picture& foreground) {
        detector.RemoveAllZones();
        detector.ReleaseBuffers();
        AddFullZone(minWidth, minHeight);
        Frame still(static_cast<int>(foreground.front().size()), static_cast<int>(foreground.size()));
        FillRing(still);
        Paint(detector._isObject, foreground);
        Paint(detector._isMotionPixel, foreground);
        Paint(detector._zoneResultMap, foreground, 1);
        detector._nextProcessZone = detector._zones._first;
        detector.ProcessOneZone();
        return Labels();
    }

    int ObjectCount() const { return detector._zonePool._busyList._objectsCount; }

    const Picture widths{"#..##..###..####"};
    const Picture heights{"#..#..#", "...#..#", "......#", "#######"};
};

class ZonesDeathTest : public ZonesTest {};

// A quarter of 16 columns: 4 stay, 3 do not.
TEST_F(ZonesTest, ObjectsNarrowerThanTheirShareAreDropped) {
    EXPECT_EQ(Kept(0.25f, 0.0f, widths), (Picture{"............1111"}));
    EXPECT_EQ(ObjectCount(), 1);
}

TEST_F(ZonesTest, ObjectsLowerThanTheirShareAreDropped) {
    const Picture columns{"#..#..#", "...#..#", "......#", "......."};
    EXPECT_EQ(Kept(0.0f, 0.5f, columns), (Picture{"...1..2", "...1..2", "......2", "......."}));
    EXPECT_EQ(Kept(0.0f, 0.75f, columns), (Picture{"......1", "......1", "......1", "......."}));
}

TEST_F(ZonesTest, BothLimitsMustBeMet) {
    const Picture shapes{"####..#...", "......#...", "......#...", ".........."};
    EXPECT_EQ(Kept(0.2f, 0.5f, shapes), (Picture{"..........", "..........", "..........", ".........."}));
    EXPECT_EQ(Kept(0.1f, 0.5f, shapes), (Picture{"......1...", "......1...", "......1...", ".........."}));
}

// 0.25 of 10 columns are 2.5: two columns are enough. So is one of 0.19 of 10.
TEST_F(ZonesTest, LimitIsTruncatedToWholeBlocks) {
    EXPECT_EQ(Kept(0.25f, 0.0f, {"#..##....."}), (Picture{"...11....."}));
    EXPECT_EQ(Kept(0.19f, 0.0f, {"#..##....."}), (Picture{"1..22....."}));
    EXPECT_EQ(Kept(0.09f, 0.0f, {"#..##....."}), (Picture{"1..22....."}));  // 0 columns: everything
}

// 0.7 in single precision lies below 0.7, but its product with 10 rounds to 7: six columns are too few.
TEST_F(ZonesTest, LimitIsASinglePrecisionProduct) {
    EXPECT_EQ(Kept(0.7f, 0.0f, {"######...."}), (Picture{".........."}));
    EXPECT_EQ(Kept(0.7f, 0.0f, {"#######..."}), (Picture{"1111111..."}));
}

TEST_F(ZonesTest, RemovalClosesTheGapInTheLabels) {
    EXPECT_EQ(Kept(0.2f, 0.0f, {"##..#..##."}), (Picture{"11.....22."}));
    EXPECT_EQ(Kept(0.2f, 0.0f, {"#..##..##."}), (Picture{"...11..22."}));
    EXPECT_EQ(Kept(0.2f, 0.0f, {"##..##..#."}), (Picture{"11..22...."}));
    EXPECT_EQ(Kept(0.2f, 0.0f, {"#..##..#..##"}), (Picture{"...11.....22"}));
    EXPECT_EQ(detector._zonePool._freeList._objectsCount, 0);  // removed objects are destroyed
}

TEST_F(ZonesTest, SmallObjectKeepsZoneMap) {
    EXPECT_EQ(Kept(0.25f, 0.0f, widths), (Picture{"............1111"}));
    EXPECT_EQ(PictureOf(detector._zoneResultMap, 16, 1), (Picture{"1..11..111..1111"}));
}

TEST_F(ZonesTest, ZoneWithoutLimitsKeepsEverything) {
    EXPECT_EQ(Kept(0.0f, 0.0f, widths), (Picture{"1..22..333..4444"}));
    EXPECT_EQ(Kept(-0.0f, 0.0f, widths), (Picture{"1..22..333..4444"}));
}

TEST_F(ZonesTest, TrimmedSizeDecides) {
    Kept(0.25f, 0.0f, {"####.......#####"});
    Paint(detector._isObject, {"####.......#####"});
    Paint(detector._isMotionPixel, {".###.......#..#."});
    detector.ProcessOneZone();
    EXPECT_EQ(Labels(), (Picture{"...........1111."}));
}

TEST_F(ZonesTest, LimitThatIsNoNumberLimitsNothing) {
    EXPECT_EQ(Kept(notANumber, 0.0f, widths), (Picture{"1..22..333..4444"}));
    EXPECT_EQ(Kept(0.0f, notANumber, widths), (Picture{"1..22..333..4444"}));
    EXPECT_EQ(Kept(0.25f, notANumber, widths), (Picture{"............1111"}));
}

TEST_F(ZonesTest, NegativeLimitLimitsNothing) {
    for (const float limit : {-0.5f, -1e30f, -infinity})
        EXPECT_EQ(Kept(limit, limit, widths), (Picture{"1..22..333..4444"}));
}

TEST_F(ZonesTest, LimitBeyondTheGridDropsEveryObject) {
    for (const float limit : {1.5f, 1e9f, 1e38f, infinity}) {
        EXPECT_EQ(Kept(limit, 0.0f, widths), (Picture{"................"})) << limit;
        EXPECT_EQ(ObjectCount(), 0);
        EXPECT_EQ(Kept(0.0f, limit, heights), (Picture{".......", ".......", ".......", "......."})) << limit;
    }
}

TEST_F(ZonesTest, WholeGridIsTheLargestUsefulLimit) {
    EXPECT_EQ(Kept(1.0f, 1.0f, {"###", "###"}), (Picture{"111", "111"}));
    EXPECT_EQ(Kept(1.0f, 0.0f, {"###", "..."}), (Picture{"111", "..."}));
    EXPECT_EQ(Kept(1.0f, 0.0f, {"##.", "..."}), (Picture{"...", "..."}));
}

TEST_F(ZonesDeathTest, DroppingAnObjectThatFillsTheGridIsFatal) {
    EXPECT_DETECTOR_ASSERTION(Kept(1.5f, 0.0f, {"###", "###"}), "RemoveSmallObjects(MD::MDZone*)",
                              "mOBlocksCount > 0 && mOBlocksCount < blockCount");
}

// Counted in 16 bits, the empty box from 32767 to -32768 is 2 blocks wide: too small only where 3 are asked for.
TEST_F(ZonesDeathTest, DroppingAnEmptyObjectIsFatal) {
    Kept(0.5f, 0.0f, {"....", "...."});
    detector._zonePool.AddWorkingObjects(1);
    detector.RemoveSmallObjects(detector._zones._first);
    EXPECT_EQ(ObjectCount(), 1);
    Kept(0.5f, 0.0f, {"......", "......"});
    detector._zonePool.AddWorkingObjects(1);
    EXPECT_DETECTOR_ASSERTION(detector.RemoveSmallObjects(detector._zones._first), "RemoveSmallObjects(MD::MDZone*)",
                              "mOBlocksCount > 0 && mOBlocksCount < blockCount");
}

TEST_F(ZonesDeathTest, DroppingAnObjectWithoutBuffersIsFatal) {
    Kept(0.5f, 0.0f, {"......", "......"});
    short column = 1, row = 1;
    detector._zonePool.Add(&column, &row, 1, 12);
    EXPECT_DETECTOR_ASSERTION(
        {
            detector._zonePool._busyList._first->motionY = nullptr;
            detector.RemoveSmallObjects(detector._zones._first);
        },
        "RemoveSmallObjects(MD::MDZone*)", "curObjMotionBlocksX && curObjMotionBlocksY");
}

TEST_F(ZonesDeathTest, SizesOfTheZoneAreCheckedOnlyWhereItLimits) {
    Kept(0.0f, 0.0f, {"...", "..."});
    MD::MDZone* const zone = detector._zones._first;
    zone->pixelMapHeight = 3;
    detector.RemoveSmallObjects(zone);  // without limits: nothing to do, nothing to check
    zone->minObjectHeight = 0.5f;
    EXPECT_DETECTOR_ASSERTION(detector.RemoveSmallObjects(zone), "RemoveSmallObjects(MD::MDZone*)",
                              "zone->pixelMapHeight == blockCountY");
    zone->pixelMapWidth = 2;
    EXPECT_DETECTOR_ASSERTION(detector.RemoveSmallObjects(zone), "RemoveSmallObjects(MD::MDZone*)",
                              "zone->pixelMapWidth == blockCountX");
    EXPECT_DETECTOR_ASSERTION(detector.RemoveSmallObjects(nullptr), "RemoveSmallObjects(MD::MDZone*)", "zone");
}

}  // namespace
