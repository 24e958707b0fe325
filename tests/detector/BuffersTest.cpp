// How does a detector come to its settings and buffers?  Constants, construction, the buffer table, reallocation, the copy
// of a frame into the ring.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <set>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::second;
using MD::MotionDetector;

class BuffersTest : public DetectorKit::DetectorTest {
protected:
    // Leaves a mark that lives as long as the buffers do.
    void MarkLearnedState() { detector._noiseLevel[0] = 77.0f; }
    bool HasLearnedState() const { return detector._noiseLevel[0] == 77.0f; }

    std::set<const void*> BufferMembers() const {
        const MotionDetector& d = detector;
        return {&d._movingPixelX,
                &d._movingPixelY,
                &d._objectPixelX,
                &d._objectPixelY,
                &d._noiseLevel,
                &d._isStable,
                &d._bgr24Copy,
                &d._backgroundY,
                &d._backgroundCb,
                &d._backgroundCr,
                &d._isBackground,
                &d._notBackground,
                &d._lastChangeTime,
                &d._backgroundTime,
                &d._sampleTime,
                &d._sampleValue,
                &d._isObject,
                &d._isMotionPixel,
                &d._zoneResultMap,
                &d._backgroundLogGradientX,
                &d._backgroundLogGradientY,
                &d._currentLogGradientX,
                &d._currentLogGradientY,
                &d._shadowGradientSum,
                &d._shadowSpare0,
                &d._shadowSpare1,
                &d._shadowSpare2,
                &d._shadowSpare3,
                &d._shadowChromaSum,
                &d._shadowCbDifference,
                &d._shadowCrDifference,
                &d._shadowSearchMask,
                &d._foregroundMask,
                &d._objectsMap,
                &d._uniformMask,
                &d._neighbourhoodMask,
                &d._finalPixelX,
                &d._finalPixelY};
    }

    static bool IsNullPointer(const void* member) {
        const void* const null = nullptr;
        return std::memcmp(member, &null, sizeof null) == 0;
    }
};

class BuffersDeathTest : public BuffersTest {};

TEST_F(BuffersTest, ConstantsHaveTheirAgreedValues) {
    EXPECT_EQ(MotionDetector::AllBuffersCount, 38);
    EXPECT_EQ(MotionDetector::defaultFPS, 5.0);
    EXPECT_EQ(MotionDetector::analyzeStageCount, 6);
    EXPECT_EQ(MotionDetector::OneSecondInTimeSpan, 10000000);
    EXPECT_EQ(MotionDetector::updateBgrInterval, 20000000);
    EXPECT_EQ(MotionDetector::resetBackgroundTime, 600000000);
    EXPECT_EQ(MotionDetector::noChangesToFastSegmentTimeSpan, 10000000);
    EXPECT_EQ(MotionDetector::noChangesToPutBackgroundTimeInTimeSpan, 50000000);
    EXPECT_EQ(MotionDetector::_h264MinBlockBrightness, 40.0f);
    EXPECT_EQ(MotionDetector::_h264MaxBlockBrightness, 190.0f);
    EXPECT_EQ(MotionDetector::_h264InterframeOutOfRangeCoeff, 2.1f);
    EXPECT_EQ(MotionDetector::_h264InterframeThreshold, 15.0f);
    EXPECT_EQ(MotionDetector::_h264DifferenceFromBackgroundOutOfRangeThreshold, 36.0f);
    EXPECT_EQ(MotionDetector::_h264DifferenceFromBackgroundOutOfRangeCoeff, 3.0f);
    EXPECT_EQ(MotionDetector::_h264DifferenceFromBackgroundThreshold, 12.0f);
    EXPECT_EQ(MotionDetector::_h264SetBackgroundDispersionThreshold, 64.0f);
    EXPECT_EQ(MotionDetector::_h264SetBackgroundThreshold, 4.0f);
    EXPECT_EQ(MotionDetector::noiseLevelPerDispersion, 4.5f);
    EXPECT_EQ(MotionDetector::dispersionThreshold, 0.8f);
    EXPECT_EQ(MotionDetector::sumThreshold, 5.0f);
    EXPECT_EQ(MotionDetector::averageThreshold, 1.0f);
    EXPECT_EQ(MotionDetector::defaultNoiseLevel, 21.0f);
    EXPECT_EQ(MotionDetector::addToNoiseLevel, 12.0f);
    EXPECT_EQ(MotionDetector::defaultBrightnessRangeWhenNoise, 9.0f);
    EXPECT_EQ(MotionDetector::cbAndCrThreshold, 10);
    EXPECT_EQ(MotionDetector::ShadowThreashold, 100.0f);
}

// 15 * 2.1 in single precision lies just below 31.5.
TEST_F(BuffersTest, InterframeLimitHasItsAgreedBits) {
    EXPECT_EQ(std::bit_cast<std::uint32_t>(MotionDetector::_h264InterframeOutOfRangeThreshold), 0x41FBFFFFu);
    EXPECT_LT(MotionDetector::_h264InterframeOutOfRangeThreshold, 31.5f);
}

TEST_F(BuffersTest, ConstructedDetectorHasDefaultsAndNoBuffers) {
    EXPECT_EQ(detector.blockCountX, 0);
    EXPECT_EQ(detector.blockCountY, 0);
    EXPECT_EQ(detector.blockCount, 0);
    EXPECT_EQ(detector._bgr24Size, 0);
    EXPECT_EQ(detector._bgr24Stride, 0);
    EXPECT_EQ(detector._currentTime, 0);
    EXPECT_EQ(detector._skipFrameCounter, 0);
    EXPECT_EQ(detector._lastFrameTime, 0);
    EXPECT_EQ(detector._fps, 5.0);
    EXPECT_EQ(detector._h264FrameCounter, 0);
    for (const bool flag :
         {detector._extraFlag1, detector._isIFrame, detector._passThroughFlag, detector._detectShadow, detector._extraFlag2,
          detector._mpeg4IFrameOverride, detector._isMPEG4, detector._h264PartlyIsOptimized, detector._h264PartlyIsIFrame,
          detector._solveForeground, detector._longBackgroundTimes != 0})
        EXPECT_FALSE(flag);
    EXPECT_TRUE(detector._processZones);
    EXPECT_TRUE(detector._limitObjectsToMask);
    EXPECT_EQ(detector._nextProcessZone, nullptr);
    EXPECT_EQ(detector._nextMotionObject, nullptr);
    EXPECT_EQ(detector._zones._count, 0);
    for (const void* member : BufferMembers()) EXPECT_TRUE(IsNullPointer(member));
}

TEST_F(BuffersTest, TableHoldsEveryBufferMemberOnce) {
    std::set<const void*> listed;
    for (int i = 0; i < MotionDetector::AllBuffersCount; ++i) {
        EXPECT_NE(detector._buffers[i].member, nullptr);
        listed.insert(detector._buffers[i].member);
    }
    EXPECT_EQ(listed.size(), 38u);
    EXPECT_EQ(listed, BufferMembers());
}

TEST_F(BuffersTest, TableStandsInTheOrderOfTheMembers) {
    EXPECT_EQ(detector._buffers[0].member, &detector._movingPixelX);
    EXPECT_EQ(detector._buffers[37].member, &detector._finalPixelY);
    for (int i = 1; i < MotionDetector::AllBuffersCount; ++i)
        EXPECT_LT(detector._buffers[i - 1].member, detector._buffers[i].member) << i;
}

TEST_F(BuffersTest, ReleaseNullsEveryMemberAndAllocationMayFollow) {
    Frame frame(4, 3);
    AddFullZone();
    for (int round = 0; round < 2; ++round) {
        detector.AllocateBuffers(frame.At(5));
        for (const void* member : BufferMembers()) EXPECT_FALSE(IsNullPointer(member));
        EXPECT_EQ(detector.blockCountX, 4);
        EXPECT_EQ(detector.blockCountY, 3);
        EXPECT_EQ(detector.blockCount, 12);
        EXPECT_EQ(detector._bgr24Stride, 12);
        EXPECT_EQ(detector._bgr24Size, 36);
        detector._nextProcessZone = detector._zones._first;
        detector.ReleaseBuffers();
        for (const void* member : BufferMembers()) EXPECT_TRUE(IsNullPointer(member));
        for (const int size :
             {detector.blockCountX, detector.blockCountY, detector.blockCount, detector._bgr24Stride, detector._bgr24Size})
            EXPECT_EQ(size, 0);
        EXPECT_EQ(detector._nextProcessZone, nullptr);
        EXPECT_EQ(detector._nextMotionObject, nullptr);
        EXPECT_EQ(detector._frameStatistics._frames, nullptr);
    }
}

TEST_F(BuffersTest, AllocationSetsNoiseAndTimesAndClearsTheRest) {
    Frame frame(5, 3);
    AddFullZone();
    detector.AllocateBuffers(frame.At(123456789));
    const std::vector<std::int64_t> firstTime(15, 123456789);
    EXPECT_EQ(Copied(detector._noiseLevel, 15), std::vector<float>(15, 21.0f));
    EXPECT_EQ(Copied(detector._lastChangeTime, 15), firstTime);
    EXPECT_EQ(Copied(detector._backgroundTime, 15), firstTime);
    EXPECT_EQ(Copied(detector._sampleTime, 15), firstTime);
    for (const std::uint8_t* plane :
         {detector._zoneResultMap, detector._backgroundY, detector._backgroundCb, detector._backgroundCr, detector._isStable,
          detector._isBackground, detector._notBackground, detector._isObject, detector._isMotionPixel,
          detector._shadowSearchMask, detector._foregroundMask, detector._uniformMask, detector._neighbourhoodMask})
        EXPECT_EQ(Copied(plane, 15), std::vector<std::uint8_t>(15, 0));
    EXPECT_EQ(Copied(detector._sampleValue, 15), std::vector<float>(15, 0.0f));
    EXPECT_EQ(Copied(detector._objectsMap, 15), std::vector<std::uint16_t>(15, 0));
    EXPECT_EQ(detector._zones._first->pixelMapWidth, 5);
    EXPECT_EQ(detector._zones._first->pixelMapHeight, 3);
    EXPECT_EQ(detector._zonePool._width, 5);
    EXPECT_EQ(detector._mergedPool._height, 3);
}

TEST_F(BuffersTest, EqualGridAndTimeKeepBuffers) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 7 * second);
    MarkLearnedState();
    const float* const noise = detector._noiseLevel;
    Feed(frame, 7 * second);
    EXPECT_EQ(detector._noiseLevel, noise);
    EXPECT_TRUE(HasLearnedState());
}

TEST_F(BuffersTest, EarlierTimeStartsAfresh) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 7 * second);
    MarkLearnedState();
    Feed(frame, 7 * second - 1);
    EXPECT_FALSE(HasLearnedState());
    EXPECT_EQ(detector._lastChangeTime[11], 7 * second - 1);
    EXPECT_EQ(detector._frameStatistics._position, 1);
}

// A first frame before time 0 is allocated for its grid; the next is compared with it, not with 0.
TEST_F(BuffersTest, NegativeTimesAreOrdinaryTimes) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, -5 * second);
    MarkLearnedState();
    Feed(frame, -4 * second);
    EXPECT_TRUE(HasLearnedState());
}

TEST_F(BuffersTest, OtherGridOfEqualBlockCountStartsAfresh) {
    Frame wide(4, 3), tall(3, 4);
    AddFullZone();
    Feed(wide, 0);
    MarkLearnedState();
    Feed(tall, 1);
    EXPECT_FALSE(HasLearnedState());
    EXPECT_EQ(detector.blockCountX, 3);
    EXPECT_EQ(detector._zones._first->pixelMapWidth, 3);
}

TEST_F(BuffersTest, SettingsAreTakenWhenStartingAfreshOnly) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 0);
    EXPECT_EQ(detector._fps, 10.0);
    frame.info.fps = 25.0;
    frame.info.detectShadow = 2;
    frame.info.isMPEG4 = -1;
    frame.info.extraFlag1 = 1;
    frame.info.extraFlag2 = 256;
    Feed(frame, 1);
    EXPECT_EQ(detector._fps, 10.0);
    EXPECT_FALSE(detector._detectShadow);
    EXPECT_FALSE(detector._isMPEG4);
    EXPECT_FALSE(detector._extraFlag1);
    EXPECT_FALSE(detector._extraFlag2);
    Feed(frame, 0);
    EXPECT_EQ(detector._fps, 25.0);
    EXPECT_TRUE(detector._detectShadow);
    EXPECT_TRUE(detector._isMPEG4);
    EXPECT_TRUE(detector._extraFlag1);
    EXPECT_TRUE(detector._extraFlag2);
}

// Skip state, I-frame machine, switches and zones outlive the buffers.
TEST_F(BuffersTest, StartingAfreshKeepsWhatIsNoBuffer) {
    Frame frame(4, 3);
    AddFullZone(0.5f, 0.25f);
    Feed(frame, 10 * second);
    detector._skipPhase = 4;
    detector._skipFrameCounter = 33;
    detector._lastFrameTime = 9 * second;
    detector._limitObjectsToMask = false;
    detector._longBackgroundTimes = true;
    detector._solveForeground = true;
    detector._mpeg4IFrameOverride = true;
    detector._h264PartlyStatistic._analyseIFramesForMotion = true;
    detector._h264PartlyStatistic._lastPFrameNumber = 0;
    detector._h264PartlyStatistic._lastPFrameTime = 8 * second;
    detector._h264PartlyStatistic._lastPFrameMotionTime = 7 * second;
    detector._h264PartlyStatistic._pFrameMotionCount = 55;
    detector._frameStatistics._lastIsH264 = true;
    MD::MDZone* const zone = detector._zones._first;
    MarkLearnedState();
    Feed(frame, 0);
    ASSERT_FALSE(HasLearnedState());
    EXPECT_EQ(detector._skipPhase, 4);
    EXPECT_EQ(detector._skipFrameCounter, 33);
    EXPECT_EQ(detector._lastFrameTime, 9 * second);
    EXPECT_FALSE(detector._limitObjectsToMask);
    EXPECT_TRUE(detector._longBackgroundTimes);
    EXPECT_TRUE(detector._solveForeground);
    EXPECT_TRUE(detector._mpeg4IFrameOverride);
    EXPECT_TRUE(detector._h264PartlyStatistic._analyseIFramesForMotion);
    EXPECT_EQ(detector._h264PartlyStatistic._lastPFrameTime, 8 * second);
    EXPECT_EQ(detector._h264PartlyStatistic._lastPFrameMotionTime, 7 * second);
    EXPECT_EQ(detector._h264PartlyStatistic._pFrameMotionCount, 55);
    EXPECT_TRUE(detector._frameStatistics._lastIsH264);
    EXPECT_EQ(detector._zones._first, zone);
    EXPECT_EQ(zone->minObjectWidth, 0.5f);
}

TEST_F(BuffersTest, FrameEntersTheRingPlaneByPlane) {
    Frame frame(3, 2);
    for (std::size_t i = 0; i < 18; ++i) frame.Y()[i] = static_cast<std::uint8_t>(i + 1);  // all three planes
    AddFullZone();
    Feed(frame, 0);
    const MD::FrameStatistics& ring = detector._frameStatistics;
    EXPECT_EQ(ring._position, 1);
    EXPECT_EQ(Copied(ring._frames + 18, 18), Copied(frame.Y(), 18));
    EXPECT_EQ(Copied(ring._frames, 18), std::vector<std::uint8_t>(18, 0));
    EXPECT_EQ(Copied(ring._currentFrame, 18), std::vector<std::uint8_t>(18, 0));
}

TEST_F(BuffersTest, PFrameStaysOutsideTheRing) {
    Frame iFrame(3, 2, 10, 20, 30), pFrame(3, 2, 40, 50, 60);
    iFrame.info.isH264Partly = iFrame.info.isH264PartlyIFrame = pFrame.info.isH264Partly = 1;
    AddFullZone();
    Feed(iFrame, 0);
    Feed(pFrame, 1);
    const MD::FrameStatistics& ring = detector._frameStatistics;
    EXPECT_EQ(ring._position, 1);
    EXPECT_EQ(Copied(ring._frames + 18, 18), Copied(iFrame.Y(), 18));
    EXPECT_EQ(Copied(ring._currentFrame, 18), Copied(pFrame.Y(), 18));
}

// The I-frame flag of partly decoded H.264 means nothing for other input: such a frame enters the ring.
TEST_F(BuffersTest, OnlyPartlyDecodedPFramesStayOutside) {
    Frame frame(3, 2);
    AddFullZone();
    frame.info.isH264PartlyIFrame = 0;
    Feed(frame, 0);
    EXPECT_EQ(detector._frameStatistics._position, 1);
}

TEST_F(BuffersTest, ZeroDetectionArraysClearsBothMasks) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 0);
    std::fill_n(detector._isObject, 12, std::uint8_t{255});
    std::fill_n(detector._isMotionPixel, 12, std::uint8_t{255});
    detector.ZeroDetectionArrays();
    EXPECT_EQ(Copied(detector._isObject, 12), std::vector<std::uint8_t>(12, 0));
    EXPECT_EQ(Copied(detector._isMotionPixel, 12), std::vector<std::uint8_t>(12, 0));
}

TEST_F(BuffersDeathTest, AllocatingOverLiveBuffersIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    detector.AllocateBuffers(frame.At(0));
    EXPECT_ASSERTION(detector.AllocateBuffers(frame.At(0)), "!*res");
}

TEST_F(BuffersDeathTest, ReleasingThroughAMissingTableEntryIsFatal) {
    EXPECT_ASSERTION(
        {
            detector._buffers[37].member = nullptr;
            detector.ReleaseBuffers();
        },
        "ptr");
}

TEST_F(BuffersDeathTest, FirstFrameWithoutAZoneIsFatal) {
    Frame frame(4, 3);
    EXPECT_ASSERTION(Feed(frame, 0), "first");
}

TEST_F(BuffersDeathTest, StartingAfreshWithoutAZoneIsFatal) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 1);
    detector.RemoveAllZones();
    Feed(frame, 2);
    EXPECT_ASSERTION(Feed(frame, 1), "first");
}

}  // namespace
