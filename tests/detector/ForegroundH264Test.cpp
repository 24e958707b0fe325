// Which blocks of a partly decoded H.264 stream differ, and when are its I-frames searched?
#include <algorithm>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::second;

using Bytes = std::vector<std::uint8_t>;

struct BlockCase {
    int current, reference;
    bool isForeground;
};

// 12 or 36 to the background, 15 or 31.499998 to an earlier frame; 40 and 190 are the last references in range.
constexpr BlockCase toBackground[] = {{52, 39, false},   {75, 39, false},  {76, 39, true},    {3, 39, false},
                                      {52, 40, false},   {53, 40, true},   {28, 40, false},   {27, 40, true},
                                      {112, 100, false}, {113, 100, true}, {202, 190, false}, {203, 190, true},
                                      {227, 191, false}, {228, 191, true}, {155, 191, false}, {154, 191, true}};
constexpr BlockCase toEarlierFrame[] = {{70, 39, false},   {71, 39, true},   {8, 39, false},    {7, 39, true},
                                        {55, 40, false},   {56, 40, true},   {205, 190, false}, {206, 190, true},
                                        {222, 191, false}, {223, 191, true}, {231, 200, false}, {232, 200, true},
                                        {115, 100, false}, {84, 100, true},  {0, 0, false},     {255, 255, false}};
constexpr int caseCount = 16;

class ForegroundTest : public DetectorKit::DetectorTest {
protected:
    ForegroundTest() {
        for (Frame* frame : {&iFrame, &pFrame}) frame->info.isH264Partly = 1;
        iFrame.info.isH264PartlyIFrame = 1;
        AddFullZone();
    }

    // `count` I-frames at time 0; masks hold 9 afterwards.
    void StartWithIFrames(int count) {
        Feed(iFrame, 0, 0, count);
        ResetMasks();
    }

    void ResetMasks() {
        std::fill_n(detector._isObject, caseCount, std::uint8_t{9});
        std::fill_n(detector._isMotionPixel, caseCount, std::uint8_t{9});
    }

    void Load(const BlockCase (&cases)[caseCount]) {
        for (const BlockCase& c : cases) {
            current.push_back(static_cast<std::uint8_t>(c.current));
            reference.push_back(static_cast<std::uint8_t>(c.reference));
            expected.push_back(c.isForeground ? 255 : 0);
        }
    }

    Bytes Objects() const { return Copied(detector._isObject, caseCount); }
    Bytes MotionPixels() const { return Copied(detector._isMotionPixel, caseCount); }
    bool WroteMasks() const { return Objects() != Bytes(caseCount, 9) || MotionPixels() != Bytes(caseCount, 9); }
    bool SearchesIFrames() const { return detector._h264PartlyStatistic._analyseIFramesForMotion; }

    MD::H264PartlyStatistic& machine = detector._h264PartlyStatistic;
    Frame iFrame{caseCount, 1}, pFrame{caseCount, 1};
    Bytes current, reference, expected;
};

class ForegroundDeathTest : public ForegroundTest {};

// ---- Rules ---------------------------------------------------------------------------------------------------------

TEST_F(ForegroundTest, IFrameIsComparedWithTheBackgroundWhereThereIsOne) {
    StartWithIFrames(11);
    Load(toBackground);
    std::copy(reference.begin(), reference.end(), detector._backgroundY);
    std::fill_n(detector._isBackground, caseCount, std::uint8_t{255});
    machine.TurnOnIFramesForMotion();
    Bytes previous(caseCount, 100);
    detector.FindForegroundIFrames(current.data(), previous.data());
    EXPECT_EQ(Objects(), expected);
    EXPECT_EQ(MotionPixels(), expected);
}

TEST_F(ForegroundTest, IFrameIsComparedWithThePreviousOneElsewhere) {
    StartWithIFrames(11);
    Load(toEarlierFrame);
    machine.TurnOnIFramesForMotion();
    detector.FindForegroundIFrames(current.data(), reference.data());
    EXPECT_EQ(Objects(), expected);
    EXPECT_EQ(MotionPixels(), expected);
}

TEST_F(ForegroundTest, IFrameThatIsNotSearchedLeavesBothMasks) {
    StartWithIFrames(11);
    Bytes dark(caseCount, 0), bright(caseCount, 255);
    detector.FindForegroundIFrames(bright.data(), dark.data());
    EXPECT_FALSE(WroteMasks());
}

TEST_F(ForegroundTest, PFrameIsComparedWithItsReferenceEverywhere) {
    StartWithIFrames(11);
    Load(toEarlierFrame);
    std::fill_n(detector._isBackground, caseCount, std::uint8_t{255});  // not consulted
    std::fill_n(detector._backgroundY, caseCount, std::uint8_t{120});
    detector.FindForegroundPFrames(current.data(), reference.data());
    EXPECT_EQ(Objects(), expected);
    EXPECT_EQ(MotionPixels(), expected);
}

TEST_F(ForegroundTest, PFrameMotionIsNoted) {
    StartWithIFrames(11);
    Bytes still(caseCount, 100), moved(caseCount, 100);
    moved[caseCount - 1] = 200;
    detector._currentTime = 7 * second;
    detector.FindForegroundPFrames(still.data(), still.data());
    EXPECT_EQ(machine._lastPFrameMotionTime, 0);
    detector.FindForegroundPFrames(moved.data(), still.data());
    EXPECT_EQ(machine._lastPFrameMotionTime, 7 * second);
    EXPECT_EQ(machine._pFrameMotionCount, 0);  // counted only while I-frames are searched
    machine.TurnOnIFramesForMotion();
    detector.FindForegroundPFrames(still.data(), still.data());
    EXPECT_EQ(machine._pFrameMotionCount, 0);
    detector.FindForegroundPFrames(moved.data(), still.data());
    EXPECT_EQ(machine._pFrameMotionCount, 1);
}

// ---- Driver --------------------------------------------------------------------------------------------------------

TEST_F(ForegroundTest, NothingHappensBeforeTheSecondIFrame) {
    pFrame.Fill(250);
    Feed(pFrame, 1);  // the ring is empty
    EXPECT_LT(machine._lastPFrameNumber, 0);
    Feed(iFrame, 2);
    Feed(pFrame, 3);
    EXPECT_EQ(detector._frameStatistics._position, 1);
    EXPECT_LT(machine._lastPFrameNumber, 0);
    EXPECT_EQ(Objects(), Bytes(caseCount, 0));
    Feed(iFrame, 4);
    EXPECT_EQ(machine._lastPFrameNumber, 0);
    EXPECT_EQ(machine._lastPFrameTime, 4);
    EXPECT_EQ(machine._lastPFrameMotionTime, 4);
}

TEST_F(ForegroundTest, PositionDoesNotMatterOnceTheRingIsFilled) {
    StartWithIFrames(11);
    ASSERT_EQ(detector._frameStatistics._position, 0);
    pFrame.Fill(250);
    Feed(pFrame, 1);
    EXPECT_EQ(Objects(), Bytes(caseCount, 255));
}

TEST_F(ForegroundTest, PFrameIsComparedWithTheNewestIFrame) {
    StartWithIFrames(2);
    iFrame.Fill(180);
    pFrame.Fill(170);
    Feed(iFrame, 1);
    ResetMasks();
    Feed(pFrame, 2);
    EXPECT_EQ(Objects(), Bytes(caseCount, 0));
    pFrame.Fill(100);
    Feed(pFrame, 3);
    EXPECT_EQ(Objects(), Bytes(caseCount, 255));
    EXPECT_EQ(machine._lastPFrameTime, 3);
    EXPECT_EQ(machine._lastPFrameMotionTime, 3);
}

TEST_F(ForegroundTest, IFrameIsSearchedMoreThanTenSecondsAfterTheLastPFrame) {
    for (const std::int64_t late : {0, 1}) {
        detector._currentTime = 1;
        machine = MD::H264PartlyStatistic();
        iFrame.Fill(100);
        StartWithIFrames(2);
        Feed(pFrame, 5);
        ResetMasks();
        iFrame.Fill(200);
        Feed(iFrame, 5 + 10 * second + late);
        EXPECT_EQ(SearchesIFrames(), late == 1);
        EXPECT_EQ(Objects(), Bytes(caseCount, late ? 255 : 9));  // this very frame already
        EXPECT_EQ(MotionPixels(), Bytes(caseCount, late ? 255 : 9));
    }
}

TEST_F(ForegroundTest, IFramesAreSearchedAfterMoreThanFortySecondsWithoutPFrameMotion) {
    StartWithIFrames(2);
    for (int i = 1; i <= 40; ++i) Feed(pFrame, i * second);
    EXPECT_FALSE(SearchesIFrames());  // 40 s since the start
    Feed(pFrame, 40 * second + 1);
    EXPECT_TRUE(SearchesIFrames());
    EXPECT_EQ(machine._pFrameMotionCount, 0);
}

TEST_F(ForegroundTest, PFrameMotionPostponesTheSearch) {
    StartWithIFrames(2);
    pFrame.Fill(200);
    Feed(pFrame, 30 * second);
    pFrame.Fill(100);
    Feed(pFrame, 70 * second);
    EXPECT_FALSE(SearchesIFrames());
    Feed(pFrame, 70 * second + 1);
    EXPECT_TRUE(SearchesIFrames());
}

TEST_F(ForegroundTest, SearchEndsAfterMoreThan120PFramesWithMotion) {
    StartWithIFrames(2);
    machine.TurnOnIFramesForMotion();
    pFrame.Fill(200);
    for (int i = 1; i <= 120; ++i) Feed(pFrame, i);
    EXPECT_TRUE(SearchesIFrames());
    Feed(pFrame, 121);
    EXPECT_FALSE(SearchesIFrames());
    EXPECT_EQ(machine._pFrameMotionCount, 121);
}

// The frame that turns the search on ends there: the old count, kept when the search ended, is cleared and not compared.
TEST_F(ForegroundTest, CountStartsAgainWhenTheSearchDoes) {
    StartWithIFrames(2);
    machine._pFrameMotionCount = 121;
    Feed(pFrame, 41 * second);
    EXPECT_TRUE(SearchesIFrames());
    EXPECT_EQ(machine._pFrameMotionCount, 0);
}

TEST_F(ForegroundDeathTest, DriverOutsideItsModeIsFatalAtItsFixedPlace) {
    EXPECT_DEATH(detector.FindForegroundOptimyzedForH264Partly(),
                 "MotionDetector.cpp:1283: void MD::MotionDetector::FindForegroundOptimyzedForH264Partly\\(\\): "
                 "Assertion `_h264PartlyIsOptimized' failed");
}

}  // namespace
