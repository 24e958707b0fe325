// What happens to one frame?  Checks and their order, flags, the steps of a pass and what switches them on and off.
#include <algorithm>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::Picture;
using DetectorKit::second;

class DetectTest : public DetectorKit::DetectorTest {};
class DetectDeathTest : public DetectTest {};

constexpr const char* widthText = "info->width > 0 && info->width < 10000";
constexpr const char* heightText = "info->height > 0 && info->height < 10000";
constexpr const char* strideText = "info->bgr24stride > 0";
constexpr const char* pictureText = "info->bgr24ForEachBlock";

TEST_F(DetectDeathTest, NullRecordIsFatal) { EXPECT_ASSERTION(detector.Detect(nullptr, true), "info"); }

TEST_F(DetectDeathTest, WidthOutsideItsRangeIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    for (const int width : {0, 10000, -1, INT32_MIN, INT32_MAX}) {
        frame.info.width = width;
        EXPECT_ASSERTION(Feed(frame, 0), widthText) << width;
    }
}

TEST_F(DetectDeathTest, HeightOutsideItsRangeIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    for (const int height : {0, 10000, -1, INT32_MIN, INT32_MAX}) {
        frame.info.height = height;
        EXPECT_ASSERTION(Feed(frame, 0), heightText) << height;
    }
}

TEST_F(DetectDeathTest, StrideBelowOneIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    for (const int stride : {0, -1, INT32_MIN}) {
        frame.info.bgr24stride = stride;
        EXPECT_ASSERTION(Feed(frame, 0), strideText) << stride;
    }
}

TEST_F(DetectDeathTest, MissingPictureIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    frame.info.bgr24ForEachBlock = nullptr;
    EXPECT_ASSERTION(Feed(frame, 0), pictureText);
}

// Width, height, stride, picture, and the zones at last.
TEST_F(DetectDeathTest, FirstBrokenConditionIsNamed) {
    DetectionInfo info{};
    EXPECT_ASSERTION(detector.Detect(&info, true), widthText);
    info.width = 9999;
    EXPECT_ASSERTION(detector.Detect(&info, true), heightText);
    info.height = 1;
    EXPECT_ASSERTION(detector.Detect(&info, true), strideText);
    info.bgr24stride = 1;
    EXPECT_ASSERTION(detector.Detect(&info, true), pictureText);
    std::uint8_t pixel = 0;
    info.bgr24ForEachBlock = &pixel;
    EXPECT_ASSERTION(detector.Detect(&info, true), "first");
}

TEST_F(DetectTest, SmallestAndLargestExtentsPass) {
    AddFullZone();
    Frame wide(9999, 1), tall(1, 9999), single(1, 1);
    for (Frame* frame : {&wide, &tall, &single}) {
        FillRing(*frame);
        EXPECT_EQ(detector.blockCountX, frame->info.width);
        EXPECT_EQ(detector.blockCountY, frame->info.height);
        EXPECT_TRUE(detector._frameStatistics._isFilled);
    }
}

TEST_F(DetectTest, PictureIsNotRead) {
    Frame frame(4, 3);
    AddFullZone();
    frame.info.bgr24ForEachBlock = reinterpret_cast<std::uint8_t*>(1);  // no address that could be read
    Feed(frame, 0);
    EXPECT_EQ(detector._frameStatistics._position, 1);
}

TEST_F(DetectTest, FlagsOfAFrameAreTakenEveryTime) {
    Frame frame(4, 3);
    AddFullZone();
    std::int64_t time = 0;
    for (const int value : {1, 0, 256, 0, -1}) {
        const bool isSet = value != 0;
        frame.info.passThroughFlag = frame.info.isIFrame = frame.info.isH264Partly = frame.info.isH264PartlyIFrame = value;
        Feed(frame, ++time);
        EXPECT_EQ(detector._passThroughFlag, isSet);
        EXPECT_EQ(detector._isIFrame, isSet);
        EXPECT_EQ(detector._h264PartlyIsOptimized, isSet);
        EXPECT_EQ(detector._h264PartlyIsIFrame, isSet);
        EXPECT_EQ(detector._currentTime, time);
    }
}

TEST_F(DetectTest, BackgroundUpdateCanBeLeftOut) {
    Frame frame(4, 3);
    FillRing(frame);
    const int counted = detector._skipFrameCounter;
    std::fill_n(detector._isStable, 12, std::uint8_t{7});
    detector.Detect(frame.At(10 * second), false);
    EXPECT_EQ(detector._skipFrameCounter, counted);
    EXPECT_EQ(detector._sampleTime[0], 0);
    EXPECT_EQ(detector._isStable[0], 7);
    detector.Detect(frame.At(10 * second), true);
    EXPECT_EQ(detector._skipFrameCounter, counted + 1);
    EXPECT_EQ(detector._sampleTime[0], 10 * second);
    EXPECT_EQ(detector._isStable[0], 255);
}

TEST_F(DetectTest, BackgroundUpdateOfPartlyDecodedInputCanBeLeftOut) {
    Frame iFrame(4, 3);
    iFrame.info.isH264Partly = iFrame.info.isH264PartlyIFrame = 1;
    FillRing(iFrame);
    const int counted = detector._skipFrameCounter;
    detector.Detect(iFrame.At(20 * second), false);
    EXPECT_EQ(detector._skipFrameCounter, counted);
    EXPECT_EQ(Copied(detector._isBackground, 12), std::vector<std::uint8_t>(12, 0));
    detector.Detect(iFrame.At(20 * second), true);
    EXPECT_EQ(detector._skipFrameCounter, counted + 1);
    EXPECT_EQ(Copied(detector._isBackground, 12), std::vector<std::uint8_t>(12, 255));
}

TEST_F(DetectTest, ZoneResultMapIsClearedEveryFrame) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 0);
    std::fill_n(detector._zoneResultMap, 12, std::uint8_t{2});
    Feed(frame, 1);
    EXPECT_EQ(Copied(detector._zoneResultMap, 12), std::vector<std::uint8_t>(12, 0));
}

// 255 is far from 100, but there is nothing to compare with before the eleventh frame.
TEST_F(DetectTest, NoForegroundBeforeTheRingIsFilled) {
    for (const int isMPEG4 : {0, 1}) {
        Frame still(4, 3), bright(4, 3, 255);
        const std::vector<std::uint8_t> reference(12, 0);
        for (Frame* frame : {&still, &bright}) {
            frame->info.isMPEG4 = isMPEG4;
            frame->info.isIFrame = 0;
            frame->info.mpeg4ReferenceLuma = const_cast<std::uint8_t*>(reference.data());
        }
        if (isMPEG4 == 0) AddFullZone();
        detector._currentTime = 1;
        Feed(still, 0, 0, 5);
        Feed(bright, 0, 0, 5);
        EXPECT_EQ(Copied(detector._isObject, 12), std::vector<std::uint8_t>(12, 0)) << isMPEG4;
        Feed(still, 0);
        EXPECT_EQ(Copied(detector._isObject, 12), std::vector<std::uint8_t>(12, 255)) << isMPEG4;
    }
}

TEST_F(DetectTest, PartlyDecodedInputIsSearchedBeforeTheRingIsFilled) {
    Frame iFrame(4, 3), pFrame(4, 3, 200);
    iFrame.info.isH264Partly = iFrame.info.isH264PartlyIFrame = pFrame.info.isH264Partly = 1;
    AddFullZone();
    Feed(iFrame, 0, 1, 2);
    Feed(pFrame, 2);
    ASSERT_FALSE(detector._frameStatistics._isFilled);
    EXPECT_EQ(Copied(detector._isObject, 12), std::vector<std::uint8_t>(12, 255));
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 0);  // objects wait for the ring
}

TEST_F(DetectTest, ObjectsAreFoundOnTheEleventhFrame) {
    Frame still(4, 3), moved(4, 3, 200);
    AddFullZone();
    Feed(still, 0, 0, 10);
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 0);
    Feed(moved, 0);
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 1);
    EXPECT_EQ(Labels(), (Picture{"1111", "1111", "1111"}));
    EXPECT_EQ(detector._nextProcessZone, nullptr);
}

TEST_F(DetectTest, WithoutZoneProcessingThereAreNoObjects) {
    Frame still(4, 3), moved(4, 3, 200);
    AddFullZone();
    detector._processZones = false;
    Feed(still, 0, 0, 10);
    Feed(moved, 0);
    EXPECT_EQ(detector._isObject[0], 255);
    EXPECT_EQ(detector._zonePool._busyList._objectsCount, 0);
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 0);
    EXPECT_EQ(Labels(), (Picture{"....", "....", "...."}));
}

// Every zone starts the label map anew; the merge writes the labels of all of them.
TEST_F(DetectTest, ObjectsOfAllZonesReachTheMergedPoolInZoneOrder) {
    Frame still(7, 2), moved(7, 2, 200);
    AddZone({"....###"});
    AddZone({"##....."});
    Feed(still, 0, 0, 10);
    Feed(moved, 0);
    EXPECT_EQ(Labels(), (Picture{"22..111", "22..111"}));
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 2);
    EXPECT_EQ(detector._mergedPool._busyList._first->minX, 4);
    EXPECT_EQ(detector._mergedPool._busyList._last->minX, 0);
    EXPECT_EQ(detector._zonePool._busyList._objectsCount, 1);  // of the last zone
}

TEST_F(DetectTest, ObjectsAreDestroyedBeforeTheNextFrame) {
    Frame dark(4, 3, 100), bright(4, 3, 200);
    FillRing(dark);
    for (int i = 0; i < 6; ++i) {  // flickers longer would count as noise
        Feed(i % 2 ? dark : bright, 0);
        ASSERT_EQ(detector._mergedPool._busyList._objectsCount, 1);
        ASSERT_EQ(detector._zonePool._freeList._objectsCount, 0);
        ASSERT_EQ(detector._mergedPool._freeList._objectsCount, 0);
    }
}

TEST_F(DetectTest, FrameWithoutMotionLeavesNoObject) {
    Frame dark(4, 3, 100), bright(4, 3, 200);
    FillRing(dark);
    Feed(bright, 0);
    ASSERT_EQ(detector._mergedPool._busyList._objectsCount, 1);
    Feed(bright, 0);
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 0);
    EXPECT_EQ(detector._zonePool._busyList._objectsCount, 0);
    EXPECT_EQ(detector._mergedPool._freeList._objectsCount, 0);  // destroyed, not kept
    EXPECT_EQ(detector._zonePool._freeList._objectsCount, 0);
    EXPECT_EQ(Labels(), (Picture{"....", "....", "...."}));
}

TEST_F(DetectTest, ForegroundMaskIsSolvedOnRequestOnly) {
    Frame still(4, 3), moved(4, 3);
    FillRing(still);
    moved.Y()[0] = moved.Y()[1] = 200;
    Feed(moved, 0);
    ASSERT_EQ(Labels(), (Picture{"11..", "....", "...."}));
    EXPECT_EQ(Copied(detector._foregroundMask, 12), std::vector<std::uint8_t>(12, 0));
    detector._solveForeground = true;
    Feed(still, 0);
    EXPECT_EQ(Copied(detector._foregroundMask, 12), DetectorKit::MaskOf({"##..", "....", "...."}));
}

TEST_F(DetectTest, ForegroundMaskIsZeroOr255WhateverTheLabels) {
    Frame frame(4, 3);
    FillRing(frame);
    std::fill_n(detector._foregroundMask, 12, std::uint8_t{77});
    detector._objectsMap[0] = 1;
    detector._objectsMap[3] = 256;  // its low byte is 0
    detector._objectsMap[7] = 32767;
    detector._objectsMap[11] = 65535;
    detector.SolveForeground();
    EXPECT_EQ(Copied(detector._foregroundMask, 12), DetectorKit::MaskOf({"#..#", "...#", "...#"}));
}

TEST_F(DetectTest, ForegroundMaskStaysBeforeTheRingIsFilledAndInPartlyDecodedMode) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 0);
    std::fill_n(detector._objectsMap, 12, std::uint16_t{1});
    std::fill_n(detector._foregroundMask, 12, std::uint8_t{77});
    detector.SolveForeground();
    EXPECT_EQ(detector._foregroundMask[0], 77);
    Feed(frame, 0, 0, 10);
    detector._h264PartlyIsOptimized = true;
    detector.SolveForeground();
    EXPECT_EQ(detector._foregroundMask[0], 77);
    detector._h264PartlyIsOptimized = false;
    detector.SolveForeground();
    EXPECT_EQ(detector._foregroundMask[0], 0);  // the passes above left no object
}

TEST_F(DetectTest, H264FrameCounterStaysZero) {
    Frame frame(4, 3);
    AddFullZone();
    for (int i = 0; i < 60; ++i) {
        frame.info.isH264Partly = i % 3 != 0;
        frame.info.isH264PartlyIFrame = i % 4 == 0;
        frame.Fill(static_cast<std::uint8_t>(i % 2 ? 90 : 180));
        Feed(frame, i * second);
        ASSERT_EQ(detector._h264FrameCounter, 0);
    }
    EXPECT_EQ(detector._h264PartlyStatistic._lastPFrameNumber, 0);
    EXPECT_EQ(detector._h264PartlyStatistic._lastPFrameMotionNumber, 0);
}

}  // namespace
