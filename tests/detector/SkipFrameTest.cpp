// Which frames does the background update leave out?  The cycle of six phases of 66 frames, and what it does to MPEG-4.
#include <algorithm>
#include <cmath>
#include <limits>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::Frame;
using DetectorKit::second;

class SkipFrameTest : public DetectorKit::DetectorTest {
protected:
    SkipFrameTest() {
        AddFullZone();
        Feed(frame, 0);
        detector._fps = 10.0;  // one nominal frame lasts 1000000 ticks
    }

    // Calls SkipFrame `count` times, one second apart: never within a nominal frame interval.
    void LetThrough(int count) {
        for (int i = 0; i < count; ++i) {
            detector._currentTime += second;
            ASSERT_FALSE(detector.SkipFrame());
            ASSERT_EQ(detector._lastFrameTime, detector._currentTime);
        }
    }

    bool SkipsAfter(std::int64_t ticks) {
        detector._lastFrameTime = 5 * second;
        detector._currentTime = 5 * second + ticks;
        return detector.SkipFrame();
    }

    void MarkBackground() {
        std::fill_n(detector._isBackground, 12, std::uint8_t{255});
        std::fill_n(detector._isStable, 12, std::uint8_t{255});
    }

    Frame frame{4, 3};
    const std::vector<std::uint8_t> none = std::vector<std::uint8_t>(12, 0);
    const std::vector<std::uint8_t> all = std::vector<std::uint8_t>(12, 255);
};

TEST_F(SkipFrameTest, PhaseZeroLetsSixtyFiveFramesThroughAndTheNextEntersPhaseOne) {
    LetThrough(65);
    EXPECT_EQ(detector._skipPhase, 0);
    EXPECT_EQ(detector._skipFrameCounter, 65);
    LetThrough(1);
    EXPECT_EQ(detector._skipPhase, 1);
    EXPECT_EQ(detector._skipFrameCounter, 0);
}

TEST_F(SkipFrameTest, PhaseZeroLooksAtNoInterval) {
    for (int i = 0; i < 66; ++i) EXPECT_FALSE(SkipsAfter(0));
    EXPECT_EQ(detector._skipPhase, 1);
    EXPECT_TRUE(SkipsAfter(0));
}

TEST_F(SkipFrameTest, LaterPhasesSkipUpToOneNominalInterval) {
    for (int phase = 1; phase <= 5; ++phase) {
        detector._skipPhase = phase;
        EXPECT_TRUE(SkipsAfter(1000000)) << phase;  // 1.0 >= 1.0
        EXPECT_FALSE(SkipsAfter(1000001)) << phase;
    }
}

TEST_F(SkipFrameTest, SkippedFrameChangesNothing) {
    detector._skipPhase = 3;
    detector._skipFrameCounter = 65;
    ASSERT_TRUE(SkipsAfter(1));
    EXPECT_EQ(detector._skipPhase, 3);
    EXPECT_EQ(detector._skipFrameCounter, 65);
    EXPECT_EQ(detector._lastFrameTime, 5 * second);
}

TEST_F(SkipFrameTest, CycleIsSixPhasesOfSixtySixFrames) {
    for (int phase = 0; phase < 6; ++phase) {
        LetThrough(65);
        EXPECT_EQ(detector._skipPhase, phase);
        LetThrough(1);
        EXPECT_EQ(detector._skipPhase, (phase + 1) % 6);
        EXPECT_EQ(detector._skipFrameCounter, 0);
    }
}

TEST_F(SkipFrameTest, ShadowDetectionLetsEveryFrameThroughInTheSameCycle) {
    detector._detectShadow = true;
    for (int frames = 1; frames <= 6 * 66; ++frames) {
        ASSERT_FALSE(SkipsAfter(0));
        ASSERT_EQ(detector._skipPhase, frames / 66 % 6);
        ASSERT_EQ(detector._skipFrameCounter, frames % 66);
    }
}

TEST_F(SkipFrameTest, MPEG4PhaseChangesForceTheIFrameFlagOffAndTheWrapForcesItOn) {
    detector._isMPEG4 = true;
    for (int phase = 1; phase <= 6; ++phase) {
        MarkBackground();
        detector._isIFrame = phase != 6;
        detector._mpeg4IFrameOverride = true;
        LetThrough(65);
        EXPECT_EQ(detector._isIFrame, phase != 6) << phase;
        EXPECT_TRUE(detector._mpeg4IFrameOverride) << phase;
        LetThrough(1);
        EXPECT_EQ(detector._skipPhase, phase % 6);
        EXPECT_EQ(detector._isIFrame, phase == 6) << phase;
        EXPECT_FALSE(detector._mpeg4IFrameOverride) << phase;
        EXPECT_EQ(Copied(detector._isBackground, 12), phase == 6 ? none : all) << phase;
        EXPECT_EQ(Copied(detector._isStable, 12), phase == 6 ? none : all) << phase;
    }
}

TEST_F(SkipFrameTest, OtherInputKeepsFlagsAndBackgroundThroughTheCycle) {
    MarkBackground();
    detector._isIFrame = true;
    detector._mpeg4IFrameOverride = true;
    for (int phase = 1; phase <= 6; ++phase) {
        LetThrough(66);
        EXPECT_TRUE(detector._isIFrame);
        EXPECT_TRUE(detector._mpeg4IFrameOverride);
    }
    EXPECT_EQ(detector._skipPhase, 0);
    EXPECT_EQ(Copied(detector._isBackground, 12), all);
    EXPECT_EQ(Copied(detector._isStable, 12), all);
}

// The forced flag is reported for that frame; the next frame's own flag replaces it.
TEST_F(SkipFrameTest, ForcedIFrameFlagLastsOneFrame) {
    Frame mpeg4(4, 3);
    mpeg4.info.isMPEG4 = 1;
    mpeg4.info.isIFrame = 1;
    detector._currentTime = 1;
    FillRing(mpeg4);  // time runs backwards: MPEG-4 mode is taken; the 11th frame is the first one counted
    ASSERT_EQ(detector._skipFrameCounter, 1);
    detector._skipFrameCounter = 65;
    MDResultInfo result{};
    Feed(mpeg4, second);
    EXPECT_EQ(detector._skipPhase, 1);
    EXPECT_EQ(detector.GetResultInfo(&result), COREMD_DELIVERED);
    EXPECT_EQ(result.isIFrame, 0);
    Feed(mpeg4, 2 * second);
    EXPECT_EQ(detector.GetResultInfo(&result), COREMD_DELIVERED);
    EXPECT_EQ(result.isIFrame, 1);
}

TEST_F(SkipFrameTest, SkippedFrameTeachesNothing) {
    detector._skipPhase = 1;
    FillRing(frame);  // 11 frames at time 0, the 11th not later than the last one let through
    EXPECT_FALSE(detector.UpdateBackground(nullptr, 0));
    EXPECT_EQ(Copied(detector._isStable, 12), none);
    detector._currentTime = second;
    EXPECT_TRUE(detector.UpdateBackground(nullptr, 0));
    EXPECT_EQ(Copied(detector._isStable, 12), all);
}

// The time of the last frame let through outlives a step backwards: until it is passed, a later phase skips everything.
TEST_F(SkipFrameTest, AfterAStepBackwardsLaterPhasesSkipUntilTheOldTimeIsPassed) {
    LetThrough(66);
    ASSERT_EQ(detector._skipPhase, 1);
    ASSERT_EQ(detector._lastFrameTime, 66 * second);
    Feed(frame, 0, second, 67);  // seconds 0 to 66
    EXPECT_EQ(Copied(detector._isStable, 12), none);
    EXPECT_EQ(detector._lastFrameTime, 66 * second);
    Feed(frame, 67 * second);
    EXPECT_EQ(Copied(detector._isStable, 12), all);
    EXPECT_EQ(detector._lastFrameTime, 67 * second);
}

// 1.0 >= elapsed * rate: true for a rate of 0 or below, false where the product is no number or infinite.
TEST_F(SkipFrameTest, StrangeFrameRatesFollowTheFormula) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    detector._skipPhase = 1;
    for (const double rate : {0.0, -0.0, -25.0, -infinity}) {
        detector._fps = rate;
        EXPECT_TRUE(SkipsAfter(1000 * second)) << rate;
    }
    detector._fps = -25.0;
    EXPECT_FALSE(SkipsAfter(-1000 * second));
    detector._fps = infinity;
    EXPECT_FALSE(SkipsAfter(1));
    EXPECT_FALSE(SkipsAfter(0));  // 0 * infinity is no number
    EXPECT_TRUE(SkipsAfter(-1));
    detector._fps = std::nan("");
    EXPECT_FALSE(SkipsAfter(0));
    EXPECT_FALSE(SkipsAfter(second));
}

}  // namespace
