// Are I-frames searched for motion exactly when P-frames do not tell?
#include "statistics/H264PartlyStatistic.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>

using MD::H264PartlyStatistic;

namespace {

constexpr long tenSeconds = 100000000;    // ticks
constexpr long fortySeconds = 400000000;  // ticks

}  // namespace

// The order of the members is fixed.
static_assert(offsetof(H264PartlyStatistic, _analyseIFramesForMotion) < offsetof(H264PartlyStatistic, _lastPFrameNumber));
static_assert(offsetof(H264PartlyStatistic, _lastPFrameNumber) < offsetof(H264PartlyStatistic, _lastPFrameTime));
static_assert(offsetof(H264PartlyStatistic, _lastPFrameTime) < offsetof(H264PartlyStatistic, _lastPFrameMotionNumber));
static_assert(offsetof(H264PartlyStatistic, _lastPFrameMotionNumber) < offsetof(H264PartlyStatistic, _lastPFrameMotionTime));
static_assert(offsetof(H264PartlyStatistic, _lastPFrameMotionTime) < offsetof(H264PartlyStatistic, _pFrameMotionCount));

TEST(H264PartlyStatisticTest, StartsWithPFramesOnly) {
    H264PartlyStatistic machine;
    EXPECT_FALSE(machine.AnalyseIFramesForMotion());
    EXPECT_EQ(machine._lastPFrameNumber, -1);
    EXPECT_EQ(machine._lastPFrameTime, 0);
    EXPECT_EQ(machine._lastPFrameMotionNumber, 0);
    EXPECT_EQ(machine._lastPFrameMotionTime, 0);
    EXPECT_EQ(machine._pFrameMotionCount, 0);
}

TEST(H264PartlyStatisticTest, FirstInitializationFixesTheStartingPoint) {
    H264PartlyStatistic machine;
    machine._pFrameMotionCount = 3;
    machine.InitializeIFrameAlgorithm(7, 1000);
    EXPECT_EQ(machine._lastPFrameNumber, 7);
    EXPECT_EQ(machine._lastPFrameMotionNumber, 7);
    EXPECT_EQ(machine._lastPFrameTime, 1000);
    EXPECT_EQ(machine._lastPFrameMotionTime, 1000);
    EXPECT_EQ(machine._pFrameMotionCount, 0);
}

TEST(H264PartlyStatisticTest, LaterInitializationsChangeNothing) {
    for (const int firstNumber : {0, 7}) {
        H264PartlyStatistic machine;
        machine.InitializeIFrameAlgorithm(firstNumber, 1000);
        machine._pFrameMotionCount = 3;
        machine.InitializeIFrameAlgorithm(9, 2000);
        EXPECT_EQ(machine._lastPFrameNumber, firstNumber);
        EXPECT_EQ(machine._lastPFrameMotionNumber, firstNumber);
        EXPECT_EQ(machine._lastPFrameTime, 1000);
        EXPECT_EQ(machine._lastPFrameMotionTime, 1000);
        EXPECT_EQ(machine._pFrameMotionCount, 3);
    }
}

TEST(H264PartlyStatisticTest, PFrameAndPFrameWithMotionAreKeptApart) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(1, 10);
    machine.UpdatePFrameData(2, 20);
    EXPECT_EQ(machine._lastPFrameNumber, 2);
    EXPECT_EQ(machine._lastPFrameTime, 20);
    EXPECT_EQ(machine._lastPFrameMotionNumber, 1);
    EXPECT_EQ(machine._lastPFrameMotionTime, 10);
    machine.UpdatePFrameMotionData(3, 30);
    EXPECT_EQ(machine._lastPFrameNumber, 2);
    EXPECT_EQ(machine._lastPFrameTime, 20);
    EXPECT_EQ(machine._lastPFrameMotionNumber, 3);
    EXPECT_EQ(machine._lastPFrameMotionTime, 30);
}

// Five I-frames after the last P-frame are still expected, the sixth is one too many.
TEST(H264PartlyStatisticTest, SixthIFrameAfterThePFrameExceedsTheLimit) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameData(100, 0);
    for (int number = 101; number <= 110; ++number)
        EXPECT_EQ(machine.ExceededIFrameLimit(number, 0), number >= 106) << number;
}

TEST(H264PartlyStatisticTest, StreamOfIFramesTurnsAnalysisOnAtTheSixth) {
    H264PartlyStatistic machine;
    int turnedOnAt = -1;
    for (int number = 0; number < 20; ++number) {  // the first call stands for the last P-frame
        machine.InitializeIFrameAlgorithm(number, number);
        if (!machine.AnalyseIFramesForMotion() && machine.ExceededIFrameLimit(number, number)) {
            machine.TurnOnIFramesForMotion();
            turnedOnAt = number;
        }
    }
    EXPECT_EQ(turnedOnAt, 6);
    EXPECT_TRUE(machine.AnalyseIFramesForMotion());
}

TEST(H264PartlyStatisticTest, TenSecondsWithoutPFrameAreNotYetTooLong) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameData(1, 5000);
    EXPECT_FALSE(machine.ExceededIFrameLimit(1, 5000 + tenSeconds));
    EXPECT_TRUE(machine.ExceededIFrameLimit(1, 5000 + tenSeconds + 1));
}

TEST(H264PartlyStatisticTest, IFrameLimitDoesNotLookAtMotion) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameMotionData(100, fortySeconds);
    EXPECT_TRUE(machine.ExceededIFrameLimit(6, 0));
    EXPECT_TRUE(machine.ExceededIFrameLimit(0, tenSeconds + 1));
}

TEST(H264PartlyStatisticTest, NoMotionLimitIs120Frames) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameMotionData(10, 0);
    EXPECT_FALSE(machine.ExceededNoMotionLimit(130, 0));
    EXPECT_TRUE(machine.ExceededNoMotionLimit(131, 0));
}

TEST(H264PartlyStatisticTest, NoMotionLimitIsFortySeconds) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameMotionData(10, 7000);
    EXPECT_FALSE(machine.ExceededNoMotionLimit(10, 7000 + fortySeconds));
    EXPECT_TRUE(machine.ExceededNoMotionLimit(10, 7000 + fortySeconds + 1));
}

TEST(H264PartlyStatisticTest, NoMotionLimitDoesNotLookAtPFramesWithoutMotion) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, 0);
    machine.UpdatePFrameData(121, fortySeconds + 1);
    EXPECT_TRUE(machine.ExceededNoMotionLimit(121, 0));
    EXPECT_TRUE(machine.ExceededNoMotionLimit(0, fortySeconds + 1));
}

TEST(H264PartlyStatisticTest, MotionLimitIsExceededByThe121stPFrame) {
    H264PartlyStatistic machine;
    machine.TurnOnIFramesForMotion();
    for (int count = 1; count <= 125; ++count) {
        machine.IncrementPFrameMotion();
        EXPECT_EQ(machine.ExceededPFrameMotionLimit(), count > 120) << count;
    }
}

TEST(H264PartlyStatisticTest, TurningOnClearsTheCountTurningOffKeepsIt) {
    H264PartlyStatistic machine;
    machine.IncrementPFrameMotion();
    machine.TurnOnIFramesForMotion();
    EXPECT_TRUE(machine.AnalyseIFramesForMotion());
    EXPECT_EQ(machine._pFrameMotionCount, 0);
    machine.IncrementPFrameMotion();
    machine.IncrementPFrameMotion();
    machine.TurnOffIFramesForMotion();
    EXPECT_FALSE(machine.AnalyseIFramesForMotion());
    EXPECT_EQ(machine._pFrameMotionCount, 2);
}

// Frame numbers are ints, their difference is not.
TEST(H264PartlyStatisticTest, DifferencesAreTakenIn64Bits) {
    constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    H264PartlyStatistic machine;
    machine.UpdatePFrameData(lowest, 0);
    machine.UpdatePFrameMotionData(lowest, 0);
    EXPECT_TRUE(machine.ExceededIFrameLimit(highest, 0));  // 2^32 - 1, not -1
    EXPECT_TRUE(machine.ExceededNoMotionLimit(highest, 0));
    machine.UpdatePFrameData(highest, 0);
    machine.UpdatePFrameMotionData(highest, 0);
    EXPECT_FALSE(machine.ExceededIFrameLimit(lowest, 0));  // 1 - 2^32, not 1
    EXPECT_FALSE(machine.ExceededNoMotionLimit(lowest, 0));
}

TEST(H264PartlyStatisticTest, TimeThatRunsBackwardsExceedsNothing) {
    H264PartlyStatistic machine;
    machine.InitializeIFrameAlgorithm(0, fortySeconds);
    EXPECT_FALSE(machine.ExceededIFrameLimit(0, 0));
    EXPECT_FALSE(machine.ExceededNoMotionLimit(0, 0));
}
