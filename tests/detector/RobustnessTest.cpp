// What may a host give without breaking anything?  Extreme times, strides and rates; memory that runs out.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>

#include <sys/resource.h>

#include "DetectorFixture.h"

#if defined(__SANITIZE_ADDRESS__)
#define HAS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::second;

class RobustnessTest : public DetectorKit::DetectorTest {
protected:
    // Everything that a host may do between two frames.
    void ReadEverything() {
        MDResultInfo summary{};
        MDZoneDetectionInfo zone{};
        MDObjectInfo object{};
        if (detector.GetResultInfo(&summary) != COREMD_DELIVERED) return;
        ASSERT_EQ(detector.GetNextMDZoneResult(&zone), COREMD_DELIVERED);
        int objects = 0;
        while (detector.GetNextMotionObject(&object) == COREMD_DELIVERED) {
            ++objects;
            ASSERT_GT(object.pixelsCount, 0);
            ASSERT_GE(object.left, 0);
            ASSERT_LT(object.right, detector.blockCountX);
            ASSERT_GE(object.top, 0);
            ASSERT_LT(object.bottom, detector.blockCountY);
        }
        ASSERT_EQ(objects, zone.objectsCount);
    }
};

class RobustnessDeathTest : public RobustnessTest {};

// One rule for all of these: elapsed times are counted modulo 2^64 and never trap.
TEST_F(RobustnessTest, AnyTimesInAnyModeAreDefined) {
    constexpr std::int64_t times[] = {INT64_MIN, INT64_MIN + 1, -1, 0, 1, INT64_MAX - 1, INT64_MAX};
    AddFullZone();
    for (int mode = 0; mode < 16; ++mode) {
        Frame frame(5, 4);
        frame.info.isH264Partly = mode & 1;
        frame.info.isMPEG4 = mode >> 1 & 1;
        frame.info.detectShadow = mode >> 2 & 1;
        detector._longBackgroundTimes = (mode >> 3 & 1) != 0;
        std::vector<std::uint8_t> reference(20, 50);
        frame.info.mpeg4ReferenceLuma = reference.data();
        for (const std::int64_t time : times) {
            for (int i = 0; i < 14; ++i) {
                frame.info.isH264PartlyIFrame = i != 12;
                frame.info.isIFrame = i & 1;
                frame.Fill(static_cast<std::uint8_t>(i > 11 ? 20 * i : 100));
                detector._skipPhase = i % 2;
                Feed(frame, time);
                ReadEverything();
            }
        }
        Feed(frame, INT64_MIN);  // the longest step back: a fresh start
        EXPECT_EQ(detector._lastChangeTime[0], INT64_MIN);
        EXPECT_FALSE(detector._frameStatistics._isFilled);
    }
}

// From the first to the last of all ticks: 2^64 - 1 of them, which is -1.
TEST_F(RobustnessTest, LongestIntervalIsAShortOneBackwards) {
    Frame frame(2, 1);
    AddFullZone();
    Feed(frame, INT64_MIN, 0, 11);
    detector._isBackground[0] = 255;
    Feed(frame, INT64_MAX);
    EXPECT_EQ(detector._isBackground[0], 255);
    EXPECT_EQ(detector._sampleTime[0], INT64_MIN);
}

TEST_F(RobustnessTest, StrideWhoseProductWrapsIsAccepted) {
    for (const int height : {1, 2, 3, 4}) {
        Frame frame(2, height);
        frame.info.bgr24stride = INT_MAX;
        detector._currentTime = 1;
        FillRing(frame);
        EXPECT_EQ(detector._bgr24Stride, INT_MAX);
        const std::int64_t product = std::int64_t{INT_MAX} * height;
        EXPECT_EQ(detector._bgr24Size, static_cast<std::int32_t>(static_cast<std::uint32_t>(product)));
        EXPECT_TRUE(detector._frameStatistics._isFilled);
    }
}

TEST_F(RobustnessTest, AnyFrameRateIsDefined) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    AddFullZone();
    for (const double rate : {0.0, -25.0, infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), 1e308, 1e-308}) {
        Frame frame(3, 2), moved(3, 2, 200);
        frame.info.fps = moved.info.fps = rate;
        detector._currentTime = INT64_MAX;
        detector._skipPhase = 1;
        Feed(frame, 0, second, 14);
        Feed(moved, 14 * second);
        EXPECT_EQ(Copied(detector._isObject, 6), std::vector<std::uint8_t>(6, 255)) << rate;  // found all the same
        ReadEverything();
    }
}

TEST_F(RobustnessTest, SmallestGridGoesThroughAWholeSkipCycle) {
    Frame frame(1, 1);
    frame.info.isMPEG4 = 1;
    AddFullZone();
    for (int i = 0; i < 500; ++i) {
        frame.Fill(static_cast<std::uint8_t>(i % 50 == 49 ? 250 : 100));
        Feed(frame, i * second);
        ReadEverything();
    }
    EXPECT_EQ(detector._skipPhase, 1);  // 490 updates: six phases of 66, and one more
    EXPECT_EQ(detector._isBackground[0], 255);
    EXPECT_EQ(detector._backgroundY[0], 100);
}

TEST_F(RobustnessTest, DetectorThatNeverSawAFrameIsDestroyed) {
    { const MD::MotionDetector unused; }
    AddFullZone();
    AddFullZone();
    detector.RemoveAllZones();
    EXPECT_EQ(detector._zones._count, 0);
}

#if !defined(HAS_ADDRESS_SANITIZER)

void Require(bool condition, int exitCode) {
    if (condition) return;
    std::fprintf(stderr, "failed at %d\n", exitCode);
    std::_Exit(exitCode);
}

// The largest grid needs some 20 GB. A part of its buffers fits, then memory ends; smaller grids go on working.
[[noreturn]] void RunOutOfMemoryAndGoOn() {
    {
        MD::MotionDetector detector;
        detector._skipPhase = 0;
        std::uint8_t cell = 1;
        MDZoneInfo zone{
            .mask = &cell, .maskWidth = 1, .maskHeight = 1, .zoneValue = 0, .minObjectWidth = 0, .minObjectHeight = 0};
        detector.AddMDZone(&zone);
        Frame small(4, 3), moved(4, 3, 200), large(1, 1);
        for (int i = 0; i < 11; ++i) detector.Detect(small.At(i), true);
        large.info.width = large.info.height = 9999;  // its planes are not reached

        const rlimit limit{.rlim_cur = rlim_t{1} << 30, .rlim_max = RLIM_INFINITY};
        Require(setrlimit(RLIMIT_AS, &limit) == 0, 2);
        for (int attempt = 0; attempt < 2; ++attempt) {
            bool hasThrown = false;
            try {
                detector.Detect(large.At(20), true);
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
            Require(hasThrown, 3);
            for (int i = 0; i < MD::MotionDetector::AllBuffersCount; ++i) Require(detector._buffers[i].member, 4);
            Require(!detector._noiseLevel && !detector._finalPixelY && !detector._zoneResultMap, 5);
            Require(!detector._frameStatistics._frames && detector.blockCount == 0, 6);
            MDResultInfo summary{};
            MDZoneDetectionInfo zoneResult{};
            Require(detector.GetResultInfo(&summary) == COREMD_NOT_READY, 7);
            Require(detector.GetNextMDZoneResult(&zoneResult) == COREMD_NOT_READY, 8);

            for (int i = 0; i < 11; ++i) detector.Detect(small.At(30 + i), true);
            detector.Detect(moved.At(50), true);
            Require(detector.GetResultInfo(&summary) == COREMD_DELIVERED, 9);
            Require(detector.GetNextMDZoneResult(&zoneResult) == COREMD_DELIVERED, 10);
            Require(zoneResult.objectsCount == 1 && zoneResult.objectsMap[11] == 1, 11);
        }
        bool hasThrown = false;
        try {
            detector.Detect(large.At(60), true);  // and destroyed in that state
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        Require(hasThrown, 12);
    }
    std::_Exit(0);
}

TEST_F(RobustnessDeathTest, DetectorSurvivesExhaustedMemory) {
    EXPECT_EXIT(RunOutOfMemoryAndGoOn(), testing::ExitedWithCode(0), "");
}

#endif

}  // namespace
