// What does the host get to know?  Summary, zone results, objects, the background picture, and how long cursors live.
#include <algorithm>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::Picture;

class ResultsTest : public DetectorKit::DetectorTest {
protected:
    // A still scene of 7 x 3 blocks whose blocks of `picture` light up in the newest frame.
    void Show(const Picture& picture) {
        Frame still(7, 3), moved(7, 3);
        FillRing(still);
        const std::vector<std::uint8_t> lit = DetectorKit::MaskOf(picture);
        for (std::size_t i = 0; i < lit.size(); ++i)
            if (lit[i]) moved.Y()[i] = 200;
        Feed(moved, 0);
    }

    int ResultInfo() { return detector.GetResultInfo(&summary); }
    int ZoneResult() { return detector.GetNextMDZoneResult(&zone); }
    int Object() { return detector.GetNextMotionObject(&object); }

    MDResultInfo summary{.zoneResultsCount = -7, .isIFrame = -7, .passThroughFlag = -7};
    MDZoneDetectionInfo zone{.objectsCount = -7, .objectsMap = nullptr, .zoneMap = nullptr};
    MDObjectInfo object{};
};

class ResultsDeathTest : public ResultsTest {};

TEST_F(ResultsTest, BeforeTheRingIsFilledOnlyTheFlagsAreReported) {
    Frame frame(4, 3);
    AddFullZone();
    frame.info.isIFrame = 4;
    frame.info.passThroughFlag = -1;
    Feed(frame, 0, 0, 10);
    EXPECT_EQ(ResultInfo(), COREMD_NOT_READY);
    EXPECT_EQ(summary.zoneResultsCount, 0);
    EXPECT_EQ(summary.isIFrame, 1);
    EXPECT_EQ(summary.passThroughFlag, 1);
    frame.info.isIFrame = frame.info.passThroughFlag = 0;
    Feed(frame, 0);
    EXPECT_EQ(ResultInfo(), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 1);
    EXPECT_EQ(summary.isIFrame, 0);
    EXPECT_EQ(summary.passThroughFlag, 0);
}

TEST_F(ResultsTest, SummaryWorksBeforeTheFirstFrame) {
    EXPECT_EQ(ResultInfo(), COREMD_NOT_READY);
    EXPECT_EQ(summary.zoneResultsCount, 0);
    EXPECT_EQ(summary.isIFrame, 0);
}

TEST_F(ResultsTest, BeforeTheRingIsFilledZoneResultsOnlyMoveTheCursor) {
    Frame frame(4, 3);
    AddFullZone();
    AddFullZone();
    Feed(frame, 0);
    detector._nextProcessZone = detector._zones._first;
    EXPECT_EQ(ZoneResult(), COREMD_NOT_READY);
    EXPECT_EQ(detector._nextProcessZone, detector._zones._last);
    EXPECT_EQ(ZoneResult(), COREMD_NOT_READY);
    EXPECT_EQ(detector._nextProcessZone, nullptr);
    EXPECT_EQ(ZoneResult(), COREMD_NOT_READY);
    EXPECT_EQ(zone.objectsCount, -7);
    EXPECT_EQ(zone.objectsMap, nullptr);
    EXPECT_EQ(zone.zoneMap, nullptr);
}

TEST_F(ResultsTest, MergedResultRepeats) {
    AddFullZone();
    AddFullZone();
    AddFullZone();
    Show({"##.....", ".......", "......."});
    ASSERT_EQ(ResultInfo(), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 1);
    for (int i = 0; i < 3; ++i) {
        zone = {};
        EXPECT_EQ(ZoneResult(), COREMD_DELIVERED);
        EXPECT_EQ(zone.objectsCount, 1);
        EXPECT_EQ(zone.objectsMap, detector._objectsMap);
        EXPECT_EQ(zone.zoneMap, detector._zoneResultMap);
        EXPECT_EQ(Object(), COREMD_DELIVERED);
        EXPECT_EQ(Object(), COREMD_EXHAUSTED);
    }
    EXPECT_EQ(detector._nextProcessZone, detector._zones._first);  // where the summary put it
}

TEST_F(ResultsTest, ObjectsHandOutTheirBlocks) {
    Show({"##....#", "#.....#", "......."});
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    ASSERT_EQ(zone.objectsCount, 2);
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 3);
    EXPECT_EQ(Copied(object.pixelsX, 3), (std::vector<std::int16_t>{0, 1, 0}));
    EXPECT_EQ(Copied(object.pixelsY, 3), (std::vector<std::int16_t>{0, 0, 1}));
    EXPECT_EQ(object.left, 0);
    EXPECT_EQ(object.right, 1);
    EXPECT_EQ(object.top, 0);
    EXPECT_EQ(object.bottom, 1);
    EXPECT_EQ(object.index, 0);
    EXPECT_EQ(object.secondIndex, 0);
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 2);
    EXPECT_EQ(object.left, 6);
    EXPECT_EQ(object.right, 6);
    EXPECT_EQ(Object(), COREMD_EXHAUSTED);
    EXPECT_EQ(object.pixelsCount, 2);  // an exhausted cursor writes nothing
}

TEST_F(ResultsTest, IdentifiersAreCopiedFromTheObject) {
    Show({"#......", ".......", "......."});
    detector._mergedPool._busyList._first->index = -12;
    detector._mergedPool._busyList._first->secondIndex = 3400;
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.index, -12);
    EXPECT_EQ(object.secondIndex, 3400);
}

TEST_F(ResultsTest, ObjectWithoutBlocksHasBoundsOfZero) {
    Show({"......#", ".......", "......."});
    detector._mergedPool.ReleaseBusyList();
    detector._mergedPool.AddWorkingObjects(1);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    object = {.pixelsX = nullptr,
              .pixelsY = nullptr,
              .pixelsCount = 9,
              .index = 9,
              .secondIndex = 9,
              .left = 9,
              .right = 9,
              .top = 9,
              .bottom = 9};
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 0);
    for (const int bound : {object.left, object.right, object.top, object.bottom}) EXPECT_EQ(bound, 0);
}

TEST_F(ResultsTest, WithoutZoneProcessingEveryZoneHasItsResult) {
    detector._processZones = false;
    AddZone({"###...."});
    AddZone({"....###"});
    Show({"#......", ".....#.", "....#.#"});
    ASSERT_EQ(ResultInfo(), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 2);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 1);
    EXPECT_EQ(Labels(), (Picture{"1......", ".......", "......."}));
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 1);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 1);
    EXPECT_EQ(Labels(), (Picture{".......", ".....1.", "....1.1"}));
    ASSERT_EQ(Object(), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 3);
    EXPECT_EQ(ZoneResult(), COREMD_EXHAUSTED);
    ASSERT_EQ(ResultInfo(), COREMD_DELIVERED);  // rewinds
    EXPECT_EQ(ZoneResult(), COREMD_DELIVERED);
}

TEST_F(ResultsTest, SummaryWithoutZonesIsDelivered) {
    Show({"#......", ".......", "......."});
    detector.RemoveAllZones();
    EXPECT_EQ(ResultInfo(), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 1);
    detector._processZones = false;
    EXPECT_EQ(ResultInfo(), COREMD_DELIVERED);
    EXPECT_EQ(summary.zoneResultsCount, 0);
    EXPECT_EQ(ZoneResult(), COREMD_EXHAUSTED);
}

// h11 takes the zones, not the grid: frames go on, their merged result is empty, and the labels are those of the last
// frame that had zones.
TEST_F(ResultsTest, FramesAfterTheZonesAreGoneHaveNoObjectsAndTheOldLabels) {
    void* cell = &detector;
    DetectorHandle handle = &cell;
    Show({"##....#", ".......", "......."});
    h11(&handle);
    EXPECT_EQ(detector._nextProcessZone, nullptr);
    Frame other(7, 3, 30);
    h13(&handle, other.At(0));
    EXPECT_EQ(h17(&handle, &summary), COREMD_DELIVERED);
    ASSERT_EQ(h19(&handle, &zone), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 0);
    EXPECT_EQ(DetectorKit::PictureOf(zone.objectsMap, 7, 3), (Picture{"11....2", ".......", "......."}));
    EXPECT_EQ(h18(&handle, &object), COREMD_EXHAUSTED);
}

TEST_F(ResultsTest, ObjectCursorEndsWithTheNextFrame) {
    Show({"##....#", ".......", "......."});
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    ASSERT_NE(detector._nextMotionObject, nullptr);
    Frame next(7, 3, 30);
    Feed(next, 0);
    ASSERT_EQ(detector._mergedPool._busyList._objectsCount, 1);
    EXPECT_EQ(Object(), COREMD_EXHAUSTED);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    EXPECT_EQ(Object(), COREMD_DELIVERED);
}

TEST_F(ResultsTest, ObjectCursorEndsWithTheNextFrameEvenWithoutZones) {
    Show({"##....#", ".......", "......."});
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    detector.RemoveAllZones();
    Frame next(7, 3, 30);
    Feed(next, 0);
    EXPECT_EQ(Object(), COREMD_EXHAUSTED);
}

// While the host itself processes the zones, only that ends the objects of the zone before.
TEST_F(ResultsTest, ObjectCursorEndsWithTheNextZone) {
    detector._processZones = false;
    AddZone({"###...."});
    AddZone({"....###"});
    Show({"#......", ".......", "......."});
    ASSERT_EQ(ResultInfo(), COREMD_DELIVERED);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 0);
    EXPECT_EQ(Object(), COREMD_EXHAUSTED);
}

TEST_F(ResultsTest, CursorsEndWithTheBuffers) {
    Show({"##....#", ".......", "......."});
    ASSERT_EQ(ResultInfo(), COREMD_DELIVERED);
    ASSERT_EQ(ZoneResult(), COREMD_DELIVERED);
    Frame smaller(3, 3);
    Feed(smaller, 0);
    EXPECT_EQ(Object(), COREMD_EXHAUSTED);
    EXPECT_EQ(ResultInfo(), COREMD_NOT_READY);
    EXPECT_EQ(ZoneResult(), COREMD_NOT_READY);
}

TEST_F(ResultsTest, UnknownBackgroundIsMagenta) {
    Show({"##.....", ".......", "......."});
    std::vector<std::uint8_t> image(63, 7);
    std::vector<std::int32_t> mask(21, 7);
    EXPECT_EQ(detector.GetBackground(image.data(), mask.data()), 0);
    for (std::size_t pixel = 0; pixel < 21; ++pixel) {
        EXPECT_EQ(image[3 * pixel], 255);
        EXPECT_EQ(image[3 * pixel + 1], 0);
        EXPECT_EQ(image[3 * pixel + 2], 255);
    }
    EXPECT_EQ(mask, std::vector<std::int32_t>(21, 0));
}

TEST_F(ResultsTest, KnownBackgroundHasItsColour) {
    Show({"##.....", ".......", "......."});
    detector._isBackground[9] = 255;
    detector._backgroundY[9] = 128;
    detector._backgroundCb[9] = 0;
    detector._backgroundCr[9] = 128;
    detector._isBackground[10] = 255;
    detector._backgroundY[10] = 37;
    detector._backgroundCb[10] = detector._backgroundCr[10] = 128;
    std::vector<std::uint8_t> image(63);
    std::vector<std::int32_t> mask(21);
    EXPECT_EQ(detector.GetBackground(image.data(), mask.data()), 0);
    EXPECT_EQ(Copied(image.data() + 24, 12), (std::vector<std::uint8_t>{255, 0, 255, 0, 172, 128, 37, 37, 37, 255, 0, 255}));
    std::vector<std::int32_t> known(21, 0);
    known[9] = known[10] = 255;
    EXPECT_EQ(mask, known);
    EXPECT_EQ(detector._notBackground[9], 0);
    EXPECT_EQ(detector._notBackground[8], 255);
}

TEST_F(ResultsTest, BackgroundBeforeTheFirstFrameIsRefused) {
    std::uint8_t image[3] = {1, 2, 3};
    std::int32_t mask = 4;
    EXPECT_LT(detector.GetBackground(image, &mask), 0);
    EXPECT_EQ(image[0], 1);
    EXPECT_EQ(image[1], 2);
    EXPECT_EQ(image[2], 3);
    EXPECT_EQ(mask, 4);
}

TEST_F(ResultsDeathTest, ZoneFittedToAWiderGridIsFatal) {
    Show({"#......", ".......", "......."});
    detector._zones._first->pixelMapWidth = 8;
    EXPECT_ASSERTION(ResultInfo(), "!_nextProcessZone || _nextProcessZone->pixelMapWidth <= blockCountX");
}

TEST_F(ResultsDeathTest, ZoneFittedToAHigherGridIsFatal) {
    Show({"#......", ".......", "......."});
    detector._zones._first->pixelMapHeight = 4;
    EXPECT_ASSERTION(ResultInfo(), "!_nextProcessZone || _nextProcessZone->pixelMapHeight <= blockCountY");
}

TEST_F(ResultsDeathTest, ObjectsBeforeTheFirstFrameAreFatal) { EXPECT_ASSERTION(Object(), "_isObject"); }

TEST_F(ResultsDeathTest, ZoneResultWithoutBuffersIsFatal) {
    detector._frameStatistics._isFilled = true;
    EXPECT_ASSERTION(ZoneResult(), "_isBackground");
}

}  // namespace
