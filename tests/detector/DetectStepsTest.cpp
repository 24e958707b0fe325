// Is a pass the same as its public steps?  Detect takes statistics, background and foreground chunk by chunk; the steps,
// each over the whole frame, must leave the same bytes.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "StreamScene.h"
#include "detector/MotionDetector.h"

namespace {

using Kit::InputKind;

constexpr int columns = 41, rows = 29;  // five chunks, the last one short
constexpr std::size_t blocks = columns * rows;

void DetectByHand(MD::MotionDetector& d, DetectionInfo* info) {
    d._passThroughFlag = info->passThroughFlag != 0;
    d._isIFrame = info->isIFrame != 0;
    d._h264PartlyIsOptimized = info->isH264Partly != 0;
    d._h264PartlyIsIFrame = info->isH264PartlyIFrame != 0;
    d.CheckMemBuffers(info);
    d._currentTime = info->timestamp;
    d.CopyImagesToInternalBuffers(info);
    std::memset(d._zoneResultMap, 0, blocks);
    d.UpdateBackground(nullptr, 0);
    d.FindForeground(info);
    if (d._detectShadow) d.DetectShadow(info);
}

template <class T>
void ExpectSame(const T* a, const T* b, const char* name, std::size_t count = blocks) {
    ASSERT_EQ(std::memcmp(a, b, count * sizeof(T)), 0) << name;
}

void ExpectSameState(const MD::MotionDetector& a, const MD::MotionDetector& b) {
    const MD::FrameStatistics &s = a._frameStatistics, &t = b._frameStatistics;
    ASSERT_EQ(s._position, t._position);
    ASSERT_EQ(s._isFilled, t._isFilled);
    ExpectSame(s._frames, t._frames, "_frames", 11 * 3 * blocks);
    ExpectSame(s._min, t._min, "_min");
    ExpectSame(s._max, t._max, "_max");
    ExpectSame(s._firstPartSum, t._firstPartSum, "_firstPartSum");
    ExpectSame(s._secondPartSum, t._secondPartSum, "_secondPartSum");
    ExpectSame(s._centerPartSum, t._centerPartSum, "_centerPartSum");
    ExpectSame(s._firstPartSquareSum, t._firstPartSquareSum, "_firstPartSquareSum");
    ExpectSame(s._secondPartSquareSum, t._secondPartSquareSum, "_secondPartSquareSum");
    ExpectSame(s._centerPartSquareSum, t._centerPartSquareSum, "_centerPartSquareSum");
    ASSERT_EQ(a._skipPhase, b._skipPhase);
    ASSERT_EQ(a._skipFrameCounter, b._skipFrameCounter);
    ASSERT_EQ(a._lastFrameTime, b._lastFrameTime);
    ASSERT_EQ(a._isIFrame, b._isIFrame);
    ExpectSame(a._noiseLevel, b._noiseLevel, "_noiseLevel");
    ExpectSame(a._isStable, b._isStable, "_isStable");
    ExpectSame(a._isMotionPixel, b._isMotionPixel, "_isMotionPixel");
    ExpectSame(a._isBackground, b._isBackground, "_isBackground");
    ExpectSame(a._backgroundY, b._backgroundY, "_backgroundY");
    ExpectSame(a._backgroundCb, b._backgroundCb, "_backgroundCb");
    ExpectSame(a._backgroundCr, b._backgroundCr, "_backgroundCr");
    ExpectSame(a._lastChangeTime, b._lastChangeTime, "_lastChangeTime");
    ExpectSame(a._backgroundTime, b._backgroundTime, "_backgroundTime");
    ExpectSame(a._sampleTime, b._sampleTime, "_sampleTime");
    ExpectSame(a._sampleValue, b._sampleValue, "_sampleValue");
    ExpectSame(a._isObject, b._isObject, "_isObject");
    ExpectSame(a._zoneResultMap, b._zoneResultMap, "_zoneResultMap");
}

class DetectStepsTest : public testing::TestWithParam<InputKind> {};

}  // namespace

// More than a cycle of frame skipping, whose end wipes the background in MPEG-4 mode; now and then a frame of the other
// mode.
TEST_P(DetectStepsTest, LeaveTheSameState) {
    MD::MotionDetector whole, byHand;
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    for (MD::MotionDetector* detector : {&whole, &byHand}) {
        detector->_skipPhase = 0;
        detector->_processZones = false;
        detector->AddMDZone(&zone);
    }
    Kit::SeededRandom random(5);
    Kit::FrameFeed feed(GetParam(), Kit::oneSecond / 4);
    feed.fps = 5.0;
    const Kit::Picture ground = Kit::Texture(columns, rows, random, 60, 180);
    Kit::Picture before = ground;
    long foreground = 0, known = 0;
    for (int frame = 0; frame < 480; ++frame) {
        Kit::Picture picture = ground;
        Kit::AddNoise(picture, random, 2);
        if (frame > 60) Kit::Fill(picture, {frame % columns, frame / 7 % rows, 6, 5}, 230);
        if (frame > 60) Kit::Darken(picture, {columns - frame % columns, 3, 9, 9}, 70);
        feed.isIFrame = GetParam() == InputKind::PartlyH264 ? frame % 5 == 0 : frame % 9 == 0;
        feed.Refer(before);
        DetectionInfo info = feed.Next(picture);
        if (frame > 100 && frame % 50 < 3) {
            info.isH264Partly = !info.isH264Partly;
            info.isH264PartlyIFrame = frame % 50 != 1;
        }
        whole.Detect(&info, true);
        DetectByHand(byHand, &info);
        ASSERT_NO_FATAL_FAILURE(ExpectSameState(whole, byHand)) << "frame " << frame;
        for (std::size_t i = 0; i < blocks; ++i) {
            foreground += whole._isObject[i] != 0;
            known += whole._isBackground[i] != 0;
        }
        before = picture;
    }
    EXPECT_GT(foreground, 1000);
    EXPECT_GT(known, 1000);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DetectStepsTest,
                         testing::Values(InputKind::Standard, InputKind::StandardWithShadows, InputKind::MPEG4,
                                         InputKind::PartlyH264),
                         Kit::NameOfKind<testing::TestParamInfo<InputKind>>);

// A host's own cursor is at its end after a pass, before the history is filled too.
TEST(DetectStepsCursorTest, IsAtItsEndAfterAPassOfAShortHistory) {
    MD::MotionDetector detector;
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    detector.AddMDZone(&zone);
    Kit::FrameFeed feed(InputKind::Standard, Kit::oneSecond);
    const Kit::Picture picture(4, 3);
    DetectionInfo info = feed.Next(picture);
    detector.Detect(&info, true);
    detector._nextProcessZone = detector._zones._first;
    info = feed.Next(picture);
    detector.Detect(&info, true);
    EXPECT_EQ(detector._nextProcessZone, nullptr);
}
