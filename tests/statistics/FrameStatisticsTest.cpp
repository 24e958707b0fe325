// Does the ring of frames turn, start and keep its windows as agreed?  One behaviour per test; long runs of random frames
// against direct sums are in FrameStatisticsModelTest.
#include "statistics/FrameStatistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

using MD::FrameStatistics;
using Byte = unsigned char;

// One frame comes in as the detector feeds it: every luma block `luma`, Cb `luma` + 1, Cr `luma` + 2.
void Feed(FrameStatistics& statistics, int luma, bool isH264Partly = false) {
    statistics.ShiftToNewFrame();
    Byte* const frame = statistics.FrameOfAge(0);
    std::fill_n(frame, statistics._blockCount, static_cast<Byte>(luma));
    std::fill_n(frame + statistics._secondPlaneOffset, statistics._blockCount, static_cast<Byte>(luma + 1));
    std::fill_n(frame + statistics._thirdPlaneOffset, statistics._blockCount, static_cast<Byte>(luma + 2));
    statistics.Update(isH264Partly);
}

void FeedTimes(FrameStatistics& statistics, int times, int luma, bool isH264Partly = false) {
    for (int i = 0; i < times; ++i) Feed(statistics, luma, isH264Partly);
}

struct AllocatedStatistics : FrameStatistics {
    explicit AllocatedStatistics(int blockCount) { AllocateBuffers(blockCount); }
};

template <class T>
std::vector<T> Blocks(const T* first, int count) {
    return std::vector<T>(first, first + count);
}

constexpr float wrong = 1000000.0f;  // a sum with this added was stepped, not summed anew

}  // namespace

// The order of the members is fixed.
static_assert(offsetof(FrameStatistics, _frames) < offsetof(FrameStatistics, _isFilled));
static_assert(offsetof(FrameStatistics, _isFilled) < offsetof(FrameStatistics, _lastIsH264));
static_assert(offsetof(FrameStatistics, _lastIsH264) < offsetof(FrameStatistics, _needReCalculate));
static_assert(offsetof(FrameStatistics, _needReCalculate) < offsetof(FrameStatistics, _blockCount));
static_assert(offsetof(FrameStatistics, _blockCount) < offsetof(FrameStatistics, _secondPlaneOffset));
static_assert(offsetof(FrameStatistics, _secondPlaneOffset) < offsetof(FrameStatistics, _thirdPlaneOffset));
static_assert(offsetof(FrameStatistics, _thirdPlaneOffset) < offsetof(FrameStatistics, _frameSize));
static_assert(offsetof(FrameStatistics, _frameSize) < offsetof(FrameStatistics, _position));
static_assert(offsetof(FrameStatistics, _position) < offsetof(FrameStatistics, _min));
static_assert(offsetof(FrameStatistics, _min) < offsetof(FrameStatistics, _max));
static_assert(offsetof(FrameStatistics, _max) < offsetof(FrameStatistics, _firstPartSum));
static_assert(offsetof(FrameStatistics, _firstPartSum) < offsetof(FrameStatistics, _secondPartSum));
static_assert(offsetof(FrameStatistics, _secondPartSum) < offsetof(FrameStatistics, _centerPartSum));
static_assert(offsetof(FrameStatistics, _centerPartSum) < offsetof(FrameStatistics, _firstPartSquareSum));
static_assert(offsetof(FrameStatistics, _firstPartSquareSum) < offsetof(FrameStatistics, _secondPartSquareSum));
static_assert(offsetof(FrameStatistics, _secondPartSquareSum) < offsetof(FrameStatistics, _centerPartSquareSum));
static_assert(offsetof(FrameStatistics, _centerPartSquareSum) < offsetof(FrameStatistics, _diff));
static_assert(offsetof(FrameStatistics, _diff) < offsetof(FrameStatistics, _diffSquare));
static_assert(offsetof(FrameStatistics, _diffSquare) < offsetof(FrameStatistics, _currentFrame));
static_assert(offsetof(FrameStatistics, _currentFrame) < offsetof(FrameStatistics, _buffers));

TEST(FrameStatisticsTest, WindowsHoldFiveFramesEach) {
    EXPECT_EQ(FrameStatistics::AllBuffersCount, 12);
    EXPECT_EQ(FrameStatistics::firstPartStartIndex, 0);
    EXPECT_EQ(FrameStatistics::firstPartEndIndex, 4);
    EXPECT_EQ(FrameStatistics::secondPartStartIndex, 5);
    EXPECT_EQ(FrameStatistics::secondPartEndIndex, 9);
    EXPECT_EQ(FrameStatistics::centerPartStartIndex, 2);
    EXPECT_EQ(FrameStatistics::centerPartEndIndex, 6);
}

TEST(FrameStatisticsTest, ConstructionHoldsNoBuffers) {
    const FrameStatistics statistics;
    EXPECT_EQ(statistics._frames, nullptr);
    EXPECT_EQ(statistics._min, nullptr);
    EXPECT_EQ(statistics._max, nullptr);
    EXPECT_EQ(statistics._firstPartSum, nullptr);
    EXPECT_EQ(statistics._secondPartSum, nullptr);
    EXPECT_EQ(statistics._centerPartSum, nullptr);
    EXPECT_EQ(statistics._firstPartSquareSum, nullptr);
    EXPECT_EQ(statistics._secondPartSquareSum, nullptr);
    EXPECT_EQ(statistics._centerPartSquareSum, nullptr);
    EXPECT_EQ(statistics._diff, nullptr);
    EXPECT_EQ(statistics._diffSquare, nullptr);
    EXPECT_EQ(statistics._currentFrame, nullptr);
    EXPECT_FALSE(statistics._isFilled);
}

TEST(FrameStatisticsTest, BufferTableHasTheAgreedOrder) {
    FrameStatistics s;
    void* const expected[] = {&s._firstPartSum,
                              &s._secondPartSum,
                              &s._centerPartSum,
                              &s._firstPartSquareSum,
                              &s._secondPartSquareSum,
                              &s._centerPartSquareSum,
                              &s._currentFrame,
                              &s._diff,
                              &s._diffSquare,
                              &s._frames,
                              &s._min,
                              &s._max};
    ASSERT_EQ(std::size(expected), std::size_t{FrameStatistics::AllBuffersCount});
    for (std::size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(s._buffers[i].member, expected[i]) << i;
}

TEST(FrameStatisticsTest, AllocationStartsAfresh) {
    AllocatedStatistics s(7);
    EXPECT_EQ(s._blockCount, 7);
    EXPECT_EQ(s._secondPlaneOffset, 7);
    EXPECT_EQ(s._thirdPlaneOffset, 14);
    EXPECT_EQ(s._frameSize, 21);
    EXPECT_EQ(s._position, 0);
    EXPECT_FALSE(s._isFilled);
    EXPECT_EQ(Blocks(s._frames, 33 * 7), std::vector<Byte>(33 * 7, 0));
    EXPECT_EQ(Blocks(s._min, 7), std::vector<Byte>(7, 255));
    EXPECT_EQ(Blocks(s._max, 7), std::vector<Byte>(7, 0));
    EXPECT_EQ(Blocks(s._currentFrame, 21), std::vector<Byte>(21, 0));
    for (const float* plane : {s._firstPartSum, s._secondPartSum, s._centerPartSum, s._firstPartSquareSum,
                               s._secondPartSquareSum, s._centerPartSquareSum, s._diff, s._diffSquare})
        EXPECT_EQ(Blocks(plane, 7), std::vector<float>(7, 0.0f));
}

TEST(FrameStatisticsTest, ReleasedBuffersMayBeAllocatedAgain) {
    AllocatedStatistics s(5);
    FeedTimes(s, 20, 50);
    s.ReleaseBuffers();
    for (int i = 0; i < FrameStatistics::AllBuffersCount; ++i)
        EXPECT_EQ(*static_cast<void**>(s._buffers[i].member), nullptr) << i;
    s.ReleaseBuffers();  // nothing held: nothing to do
    s.AllocateBuffers(9);
    EXPECT_FALSE(s._isFilled);  // the fill-up starts again
    FeedTimes(s, 10, 60);
    EXPECT_FALSE(s._isFilled);
    Feed(s, 60);
    EXPECT_EQ(Blocks(s._firstPartSum, 9), std::vector<float>(9, 300.0f));
}

TEST(FrameStatisticsTest, QueuePosCountsSlotsRoundTheRing) {
    AllocatedStatistics s(1);
    for (int position = 0; position < 11; ++position) {
        s._position = position;
        for (int n = 0; n <= 33; ++n) EXPECT_EQ(s.QueuePos(n), (position + n) % 11) << position << " " << n;
    }
}

TEST(FrameStatisticsTest, FrameOfAgeIsThatManyFramesOld) {
    AllocatedStatistics s(3);
    for (int frame = 1; frame <= 40; ++frame) {
        Feed(s, frame);
        for (int age = 0; age <= std::min(10, frame - 1); ++age) {
            const Byte* const planes = s.FrameOfAge(age);
            EXPECT_EQ(planes, s._frames + s.QueuePos(11 - age) * s._frameSize);
            const Byte y = static_cast<Byte>(frame - age), cb = static_cast<Byte>(y + 1), cr = static_cast<Byte>(y + 2);
            EXPECT_EQ(Blocks(planes, 9), (std::vector<Byte>{y, y, y, cb, cb, cb, cr, cr, cr})) << frame << " " << age;
        }
    }
}

TEST(FrameStatisticsTest, FirstTenFramesGiveNoStatistics) {
    AllocatedStatistics s(4);
    for (int frame = 1; frame <= 10; ++frame) {
        Feed(s, 100, frame % 2 == 0);  // nor does a change of mode
        EXPECT_FALSE(s._isFilled);
        EXPECT_EQ(s._position, frame);
        EXPECT_EQ(Blocks(s._firstPartSum, 4), std::vector<float>(4, 0.0f));
        EXPECT_EQ(Blocks(s._min, 4), std::vector<Byte>(4, 255));
        EXPECT_EQ(Blocks(s._max, 4), std::vector<Byte>(4, 0));
    }
}

TEST(FrameStatisticsTest, EleventhFrameSumsEverythingAnew) {
    AllocatedStatistics s(2);
    FeedTimes(s, 10, 100);
    std::fill_n(s._secondPartSum, 2, wrong);
    std::fill_n(s._max, 2, Byte{250});
    Feed(s, 110);
    EXPECT_TRUE(s._isFilled);
    EXPECT_EQ(s._position, 0);
    EXPECT_FALSE(s._needReCalculate);
    EXPECT_EQ(Blocks(s._firstPartSum, 2), std::vector<float>(2, 110.0f + 4 * 100.0f));
    EXPECT_EQ(Blocks(s._firstPartSquareSum, 2), std::vector<float>(2, 12100.0f + 4 * 10000.0f));
    EXPECT_EQ(Blocks(s._secondPartSum, 2), std::vector<float>(2, 500.0f));
    EXPECT_EQ(Blocks(s._secondPartSquareSum, 2), std::vector<float>(2, 50000.0f));
    EXPECT_EQ(Blocks(s._centerPartSum, 2), std::vector<float>(2, 500.0f));
    EXPECT_EQ(Blocks(s._centerPartSquareSum, 2), std::vector<float>(2, 50000.0f));
    EXPECT_EQ(Blocks(s._min, 2), std::vector<Byte>(2, 100));
    EXPECT_EQ(Blocks(s._max, 2), std::vector<Byte>(2, 110));
}

TEST(FrameStatisticsTest, TwelfthFrameStepsTheSums) {
    AllocatedStatistics s(1);
    FeedTimes(s, 11, 100);
    for (float* sum : {s._firstPartSum, s._secondPartSum, s._centerPartSum, s._firstPartSquareSum, s._secondPartSquareSum,
                       s._centerPartSquareSum})
        *sum += wrong;
    Feed(s, 110);
    EXPECT_EQ(*s._firstPartSum, wrong + 510.0f);
    EXPECT_EQ(*s._secondPartSum, wrong + 500.0f);
    EXPECT_EQ(*s._centerPartSum, wrong + 500.0f);
    EXPECT_EQ(*s._firstPartSquareSum, wrong + 52100.0f);
    EXPECT_EQ(*s._secondPartSquareSum, wrong + 50000.0f);
    EXPECT_EQ(*s._centerPartSquareSum, wrong + 50000.0f);
}

TEST(FrameStatisticsTest, ExtremesAreThoseOfTenFramesEveryTime) {
    AllocatedStatistics s(1);
    FeedTimes(s, 11, 100);
    *s._min = 3;  // carried along, these would stay
    *s._max = 252;
    Feed(s, 90);
    EXPECT_EQ(*s._min, 90);
    EXPECT_EQ(*s._max, 100);
    FeedTimes(s, 9, 100);
    EXPECT_EQ(*s._min, 90);  // age 9: the last frame that counts
    Feed(s, 100);
    EXPECT_EQ(*s._min, 100);  // age 10 does not
}

TEST(FrameStatisticsTest, ChromaEntersNoStatistic) {
    AllocatedStatistics s(1);
    FeedTimes(s, 15, 250);  // Cb is 251, Cr 252
    EXPECT_EQ(*s._max, 250);
    EXPECT_EQ(*s._firstPartSum, 1250.0f);
}

TEST(FrameStatisticsTest, ChangeOfModeSumsAnew) {
    AllocatedStatistics s(1);
    FeedTimes(s, 12, 100);
    *s._firstPartSum = *s._secondPartSum = wrong;
    Feed(s, 100, true);
    EXPECT_EQ(*s._firstPartSum, 500.0f);
    EXPECT_EQ(*s._secondPartSum, wrong);  // the other windows rest in this mode
    EXPECT_TRUE(s._lastIsH264);
    *s._firstPartSum = wrong;
    Feed(s, 100, true);
    EXPECT_EQ(*s._firstPartSum, wrong);  // the same mode again: a step
    Feed(s, 100, false);
    EXPECT_EQ(*s._firstPartSum, 500.0f);
    EXPECT_EQ(*s._secondPartSum, 500.0f);
    EXPECT_FALSE(s._lastIsH264);
}

TEST(FrameStatisticsTest, RequestedRecalculationHappensOnce) {
    AllocatedStatistics s(1);
    FeedTimes(s, 12, 100);
    *s._firstPartSum = wrong;
    s._needReCalculate = true;
    Feed(s, 100);
    EXPECT_EQ(*s._firstPartSum, 500.0f);
    EXPECT_FALSE(s._needReCalculate);
    *s._firstPartSum = wrong;
    Feed(s, 100);
    EXPECT_EQ(*s._firstPartSum, wrong);
}

TEST(FrameStatisticsTest, H264ModeStepsTheFirstWindowOnly) {
    AllocatedStatistics s(1);
    FeedTimes(s, 12, 100, true);
    FeedTimes(s, 6, 120, true);
    EXPECT_EQ(*s._firstPartSum, 600.0f);
    EXPECT_EQ(*s._firstPartSquareSum, 5 * 14400.0f);
    EXPECT_EQ(*s._secondPartSum, 0.0f);
    EXPECT_EQ(*s._secondPartSquareSum, 0.0f);
    EXPECT_EQ(*s._centerPartSum, 0.0f);
    EXPECT_EQ(*s._centerPartSquareSum, 0.0f);
}

TEST(FrameStatisticsTest, ExtremesOnlyWidenInH264Mode) {
    AllocatedStatistics s(1);
    FeedTimes(s, 8, 100);
    Feed(s, 30);
    Feed(s, 200);
    Feed(s, 100);
    ASSERT_EQ(*s._min, 30);
    ASSERT_EQ(*s._max, 200);
    FeedTimes(s, 20, 100, true);
    EXPECT_EQ(*s._min, 30);  // the frame of 30 has left the ring
    EXPECT_EQ(*s._max, 200);
    s._needReCalculate = true;
    Feed(s, 20, true);
    EXPECT_EQ(*s._min, 20);  // a recalculation widens
    EXPECT_EQ(*s._max, 200);
    FeedTimes(s, 12, 100, true);
    s._needReCalculate = true;
    Feed(s, 100, true);
    EXPECT_EQ(*s._min, 20);  // and does not reset
    EXPECT_EQ(*s._max, 200);
    Feed(s, 100, false);
    EXPECT_EQ(*s._min, 100);  // the other mode does
    EXPECT_EQ(*s._max, 100);
}

TEST(FrameStatisticsTest, IntervalFoldsIntoTheExtremesItIsGiven) {
    AllocatedStatistics s(2);
    for (int luma = 1; luma <= 11; ++luma) Feed(s, 10 * luma);  // age k holds 110 - 10 k
    std::vector<float> sum(2, wrong), squareSum(2, wrong);
    std::vector<Byte> min = {255, 5}, max = {0, 250};
    s.ReCalculateInterval(sum.data(), squareSum.data(), min.data(), max.data(), 3, 5);
    EXPECT_EQ(sum, std::vector<float>(2, 80.0f + 70.0f + 60.0f));
    EXPECT_EQ(squareSum, std::vector<float>(2, 6400.0f + 4900.0f + 3600.0f));
    EXPECT_EQ(min, (std::vector<Byte>{60, 5}));
    EXPECT_EQ(max, (std::vector<Byte>{80, 250}));
    s.ReCalculateInterval(sum.data(), squareSum.data(), min.data(), max.data(), 5, 4);  // no age: sums of nothing
    EXPECT_EQ(sum, std::vector<float>(2, 0.0f));
    EXPECT_EQ(squareSum, std::vector<float>(2, 0.0f));
    EXPECT_EQ(max, (std::vector<Byte>{80, 250}));
}

TEST(FrameStatisticsTest, FrameDiffIsExactForEveryPairOfBytes) {
    AllocatedStatistics s(256 * 256);
    std::vector<Byte> a(256 * 256), b(256 * 256);
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<Byte>(i / 256);
        b[i] = static_cast<Byte>(i % 256);
    }
    s.CalculateFrameDiff(a.data(), b.data(), s._diff, s._diffSquare);
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(s._diff[i], static_cast<float>(a[i] - b[i]));
        ASSERT_EQ(s._diffSquare[i], static_cast<float>(a[i] * a[i] - b[i] * b[i]));
    }
}

TEST(FrameStatisticsTest, NoBlocksMeansNothingToDo) {
    AllocatedStatistics s(0);
    EXPECT_NE(s._frames, nullptr);
    EXPECT_NE(s._min, nullptr);
    for (int frame = 0; frame < 30; ++frame) Feed(s, 100, frame % 7 == 0);
    s.CalculateFrameDiff(s._frames, s._frames, s._diff, s._diffSquare);
    EXPECT_TRUE(s._isFilled);
    EXPECT_EQ(s._position, 30 % 11);
}

TEST(FrameStatisticsDeathTest, NegativeRingOffsetIsFatalAtItsFixedPlace) {
    AllocatedStatistics s(1);
    EXPECT_DEATH(s.QueuePos(-1),
                 "MotionDetector\\.h:90: int MD::FrameStatistics::QueuePos\\(int\\): Assertion `n>=0' failed");
    EXPECT_DEATH(s.FrameOfAge(12), "Assertion `n>=0' failed");  // no ring holds an age 12
}

TEST(FrameStatisticsDeathTest, AllocatingOverHeldBuffersIsFatal) {
    AllocatedStatistics s(1);
    EXPECT_DEATH(s.AllocateBuffers(1), "Assertion `!\\*res' failed");
}

TEST(FrameStatisticsDeathTest, ReleasingThroughAnUnsetEntryIsFatal) {
    AllocatedStatistics s(1);
    EXPECT_DEATH(
        {
            s._buffers[3].member = nullptr;
            s.ReleaseBuffers();
        },
        "Assertion `ptr' failed");
}
