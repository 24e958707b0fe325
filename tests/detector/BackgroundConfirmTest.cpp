// When does a block become background, and how does it stay so?  Samples, confirmation, refresh, slow mode, whole lives.
#include <algorithm>

#include "BackgroundFixture.h"

namespace {

using DetectorKit::flat;
using DetectorKit::Frame;
using DetectorKit::History;
using DetectorKit::second;

class BackgroundTest : public DetectorKit::BackgroundFixture {
protected:
    static constexpr std::int64_t now = 1000 * second;

    // One block of the history. It last changed, was set as background and was sampled so many ticks before `now`.
    void UseBlock(std::int64_t sinceChange, std::int64_t sinceBackground, std::int64_t sinceSample,
                  float sampleValue = 100.0f, const History& history = flat) {
        UseHistories({history});
        detector._lastChangeTime[0] = now - sinceChange;
        detector._backgroundTime[0] = now - sinceBackground;
        detector._sampleTime[0] = now - sinceSample;
        detector._sampleValue[0] = sampleValue;
    }

    void MakeBackground(std::uint8_t luma) {
        detector._isBackground[0] = 255;
        detector._backgroundY[0] = luma;
        detector._backgroundCb[0] = detector._backgroundCr[0] = 1;
    }

    bool IsConfirmed() { return UpdateAt(now) && detector._isBackground[0] == 255; }
    bool IsBackgroundSetNow() const { return detector._backgroundTime[0] == now; }
    bool IsSampledNow() const { return detector._sampleTime[0] == now; }
};

// ---- Candidate rule ------------------------------------------------------------------------------------------------

TEST_F(BackgroundTest, ConfirmationNeedsMoreThanFiveQuietSeconds) {
    UseBlock(5 * second, second, second);
    EXPECT_FALSE(IsConfirmed());
    UseBlock(5 * second + 1, second, second);
    EXPECT_TRUE(IsConfirmed());
    EXPECT_EQ(detector._backgroundY[0], 100);
    EXPECT_EQ(detector._backgroundCb[0], newestCb);
    EXPECT_EQ(detector._backgroundCr[0], newestCr);
    EXPECT_TRUE(IsBackgroundSetNow());
}

// One tick decides: from five seconds on the sample is too old to agree with, whatever it holds.
TEST_F(BackgroundTest, SampleOfFiveSecondsIsReplaced) {
    UseBlock(6 * second, second, 5 * second - 1);
    EXPECT_TRUE(IsConfirmed());
    EXPECT_TRUE(IsSampledNow());  // it is older than a second
    UseBlock(6 * second, second, 5 * second, 55.0f);
    EXPECT_FALSE(IsConfirmed());
    EXPECT_TRUE(IsSampledNow());
    EXPECT_EQ(detector._sampleValue[0], 100.0f);
    UseBlock(6 * second, second, 5 * second, 100.0f);
    EXPECT_FALSE(IsConfirmed());
}

TEST_F(BackgroundTest, SampleMayBeOfThisVeryMoment) {
    UseBlock(6 * second, second, 0);
    EXPECT_TRUE(IsConfirmed());
}

TEST_F(BackgroundTest, MeanAndSampleMayDifferByOneLevel) {
    for (const float inside : {99.0f, 101.0f}) {
        UseBlock(6 * second, second, 3 * second, inside);
        EXPECT_TRUE(IsConfirmed()) << inside;
    }
    for (const float outside : {98.9375f, 101.0625f}) {
        UseBlock(6 * second, second, 3 * second, outside);
        EXPECT_FALSE(IsConfirmed()) << outside;
        EXPECT_TRUE(IsSampledNow());
        EXPECT_EQ(detector._sampleValue[0], 100.0f);
    }
}

TEST_F(BackgroundTest, SampleIsRenewedAfterMoreThanOneSecond) {
    for (const std::int64_t late : {0, 1}) {
        UseBlock(6 * second, second, second + late, 99.5f);  // confirmed
        EXPECT_TRUE(IsConfirmed());
        EXPECT_EQ(IsSampledNow(), late == 1);
        EXPECT_EQ(detector._sampleValue[0], late ? 100.0f : 99.5f);
        UseBlock(6 * second, second, second + late, 90.0f);  // disagrees
        EXPECT_FALSE(IsConfirmed());
        EXPECT_EQ(IsSampledNow(), late == 1);
        UseBlock(5 * second, second, second + late, 100.0f);  // not quiet for long enough
        EXPECT_FALSE(IsConfirmed());
        EXPECT_EQ(IsSampledNow(), late == 1);
    }
}

TEST_F(BackgroundTest, RestlessBlockLearnsNothing) {
    UseBlock(6 * second, second, 3 * second, 100.0f, {101, 101, 101, 101, 102, 100, 100, 100, 100, 100, 100});  // 506, 500
    EXPECT_FALSE(IsConfirmed());
    EXPECT_FALSE(IsSampledNow());
    MakeBackground(100);
    ASSERT_TRUE(UpdateAt(now));
    EXPECT_FALSE(IsBackgroundSetNow());
}

// Ten-frame means 100.5 and 100.4.
TEST_F(BackgroundTest, BackgroundIsTheRoundedMean) {
    UseBlock(6 * second, second, 0, 100.5f, {101, 101, 101, 101, 101, 100, 100, 100, 100, 100, 100});
    ASSERT_TRUE(IsConfirmed());
    EXPECT_EQ(detector._backgroundY[0], 101);
    UseBlock(6 * second, second, 0, 100.4f, {101, 101, 101, 101, 100, 100, 100, 100, 100, 100, 100});
    ASSERT_TRUE(IsConfirmed());
    EXPECT_EQ(detector._backgroundY[0], 100);
}

TEST_F(BackgroundTest, BrightestBlockStaysAt255) {
    UseBlock(6 * second, second, 0, 255.0f, {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255});
    ASSERT_TRUE(IsConfirmed());
    EXPECT_EQ(detector._backgroundY[0], 255);
}

// ---- Refresh, normal mode ------------------------------------------------------------------------------------------

TEST_F(BackgroundTest, BackgroundWithinOneLevelIsRefreshedEveryTime) {
    for (const int luma : {98, 99, 100, 101, 102}) {
        UseBlock(0, 1, 0);
        MakeBackground(static_cast<std::uint8_t>(luma));
        ASSERT_TRUE(UpdateAt(now));
        const bool isNear = luma >= 99 && luma <= 101;
        EXPECT_EQ(IsBackgroundSetNow(), isNear) << luma;
        EXPECT_EQ(detector._backgroundY[0], isNear ? 100 : luma);
        EXPECT_EQ(detector._backgroundCb[0], isNear ? newestCb : 1);
        EXPECT_EQ(detector._isBackground[0], 255);
    }
}

TEST_F(BackgroundTest, SettledSceneReplacesItsBackground) {
    UseBlock(6 * second, 30 * second, 2 * second);
    MakeBackground(50);
    ASSERT_TRUE(UpdateAt(now));
    EXPECT_EQ(detector._backgroundY[0], 100);
    EXPECT_TRUE(IsBackgroundSetNow());
}

// ---- Slow mode -----------------------------------------------------------------------------------------------------

TEST_F(BackgroundTest, SlowRefreshNeedsMoreThanTwoSeconds) {
    for (const std::int64_t late : {0, 1}) {
        UseBlock(6 * second, 2 * second + late, 0);
        detector._longBackgroundTimes = true;
        MakeBackground(101);
        ASSERT_TRUE(UpdateAt(now));
        EXPECT_EQ(IsBackgroundSetNow(), late == 1);
        EXPECT_EQ(detector._backgroundY[0], late ? 100 : 101);
    }
}

TEST_F(BackgroundTest, SlowRefreshNeedsTheSameAgreement) {
    UseBlock(6 * second, 3 * second, 0);
    detector._longBackgroundTimes = true;
    MakeBackground(102);
    ASSERT_TRUE(UpdateAt(now));
    EXPECT_FALSE(IsBackgroundSetNow());
}

TEST_F(BackgroundTest, SlowBackgroundIsSampledEverySecondButNeverReplaced) {
    for (const std::int64_t late : {0, 1}) {
        UseBlock(6 * second, 30 * second, second + late, 99.5f);
        detector._longBackgroundTimes = true;
        MakeBackground(50);
        ASSERT_TRUE(UpdateAt(now));
        EXPECT_EQ(detector._backgroundY[0], 50);
        EXPECT_EQ(IsSampledNow(), late == 1);
        EXPECT_EQ(detector._sampleValue[0], late ? 100.0f : 99.5f);
    }
}

TEST_F(BackgroundTest, SlowLearningConfirmsByTheSameRule) {
    UseBlock(5 * second, second, second);
    detector._longBackgroundTimes = true;
    EXPECT_FALSE(IsConfirmed());
    UseBlock(5 * second + 1, second, second);
    EXPECT_TRUE(IsConfirmed());
    UseBlock(6 * second, second, 5 * second);
    EXPECT_FALSE(IsConfirmed());
}

// ---- Whole lives, through the detection pass -------------------------------------------------------------------------

class BackgroundLifeTest : public DetectorKit::DetectorTest {
protected:
    BackgroundLifeTest() { AddFullZone(); }

    // Feeds frames of that luma, a second apart, up to and including second `last`.
    void LiveUntil(int last, std::uint8_t luma) {
        Frame frame(4, 3, luma, 90, 60);
        for (; clock <= last; ++clock) Feed(frame, clock * second);
    }

    bool IsKnown() const { return detector._isBackground[5] == 255; }
    int Background() const { return detector._backgroundY[5]; }

    int clock = 0;
};

// Second 10, the eleventh frame: the sample of second 0 is too old and replaced. Second 11: it agrees.
TEST_F(BackgroundLifeTest, StillSceneIsConfirmedOnTheTwelfthFrame) {
    LiveUntil(9, 100);
    EXPECT_EQ(detector._noiseLevel[5], 21.0f);
    LiveUntil(10, 100);
    EXPECT_FALSE(IsKnown());
    EXPECT_EQ(detector._sampleTime[5], 10 * second);
    EXPECT_EQ(detector._noiseLevel[5], 12.0f);
    LiveUntil(11, 100);
    EXPECT_TRUE(IsKnown());
    EXPECT_EQ(Background(), 100);
    EXPECT_EQ(detector._backgroundCb[5], 90);
    EXPECT_EQ(detector._backgroundCr[5], 60);
}

// Ten frames a second: five seconds after the start are not enough, 5.1 are.
TEST_F(BackgroundLifeTest, FastStreamIsConfirmedAfterMoreThanFiveSeconds) {
    Frame frame(4, 3);
    Feed(frame, 0, second / 10, 51);
    EXPECT_EQ(detector._currentTime, 5 * second);
    EXPECT_FALSE(IsKnown());
    Feed(frame, 51 * (second / 10));
    EXPECT_TRUE(IsKnown());
}

// The new luma is a change for ages 1, 2 and 4: seconds 21 to 24. Ten equal frames at second 30: quiet for 6 s, sample of
// second 20 replaced. Second 31: agreement.
TEST_F(BackgroundLifeTest, LastingChangeIsLearnedInPlace) {
    LiveUntil(20, 100);
    LiveUntil(24, 200);
    EXPECT_EQ(detector._lastChangeTime[5], 24 * second);
    LiveUntil(30, 200);
    EXPECT_EQ(detector._lastChangeTime[5], 24 * second);
    EXPECT_EQ(detector._sampleTime[5], 30 * second);
    EXPECT_EQ(detector._backgroundTime[5], 20 * second);
    EXPECT_TRUE(IsKnown());
    EXPECT_EQ(Background(), 100);
    LiveUntil(31, 200);
    EXPECT_TRUE(IsKnown());
    EXPECT_EQ(Background(), 200);
}

// Slow mode refreshes at 11, 14, 17, 20. The change of second 21 is not learned: forgotten more than 60 s after second 20,
// then confirmed by the sample that was taken every two seconds.
TEST_F(BackgroundLifeTest, SlowModeForgetsBeforeItLearnsAnew) {
    detector._longBackgroundTimes = true;
    LiveUntil(19, 100);
    EXPECT_EQ(detector._backgroundTime[5], 17 * second);
    LiveUntil(20, 100);
    EXPECT_EQ(detector._backgroundTime[5], 20 * second);
    LiveUntil(80, 200);
    EXPECT_TRUE(IsKnown());
    EXPECT_EQ(Background(), 100);
    EXPECT_EQ(detector._noiseLevel[5], 12.0f);
    LiveUntil(81, 200);
    EXPECT_FALSE(IsKnown());
    EXPECT_EQ(detector._noiseLevel[5], 21.0f);
    LiveUntil(82, 200);
    EXPECT_TRUE(IsKnown());
    EXPECT_EQ(Background(), 200);
    EXPECT_EQ(detector._noiseLevel[5], 12.0f);
}

// Flicker keeps the block restless for ever: nothing refreshes the background of second 20.
TEST_F(BackgroundLifeTest, RestlessSceneLosesItsBackgroundAfterAMinute) {
    LiveUntil(20, 100);
    ASSERT_EQ(detector._backgroundTime[5], 20 * second);
    for (int i = 21; i <= 81; ++i) {
        LiveUntil(i, static_cast<std::uint8_t>(i * 37 % 200));
        ASSERT_EQ(IsKnown(), i <= 80) << i;
    }
    EXPECT_EQ(detector._noiseLevel[5], 21.0f);
}

TEST_F(BackgroundLifeTest, StartingAfreshForgetsTheBackground) {
    LiveUntil(20, 100);
    ASSERT_TRUE(IsKnown());
    clock = 0;
    LiveUntil(10, 100);
    EXPECT_FALSE(IsKnown());
    LiveUntil(11, 100);
    EXPECT_TRUE(IsKnown());
}

}  // namespace
