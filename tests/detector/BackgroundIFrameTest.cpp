// What do the I-frames of a partly decoded H.264 stream teach about the background?
#include <algorithm>

#include "BackgroundFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::flat;
using DetectorKit::Frame;
using DetectorKit::History;
using DetectorKit::second;

class BackgroundTest : public DetectorKit::BackgroundFixture {
protected:
    static constexpr std::int64_t now = 1000 * second;

    void UseIFrames(std::initializer_list<History> histories) {
        UseHistories(histories);
        detector._h264PartlyIsOptimized = detector._h264PartlyIsIFrame = true;
        std::fill_n(detector._lastChangeTime, detector.blockCount, now - 16 * second);
        std::fill_n(detector._backgroundTime, detector.blockCount, now - second);
        std::fill_n(detector._sampleTime, detector.blockCount, now - second);
    }
};

class BackgroundDeathTest : public BackgroundTest {};

TEST_F(BackgroundTest, PFrameTeachesNothing) {
    UseIFrames({flat});
    detector._h264PartlyIsIFrame = false;
    detector._backgroundTime[0] = now - 61 * second;
    detector._isBackground[0] = 255;
    detector._isStable[0] = detector._isMotionPixel[0] = detector._backgroundY[0] = 9;
    detector._noiseLevel[0] = 33.0f;
    EXPECT_FALSE(UpdateAt(now));
    EXPECT_FALSE(detector.UpdateBackgroundOptimyzedForH264Partly());
    EXPECT_EQ(detector._isBackground[0], 255);
    EXPECT_EQ(detector._isStable[0], 9);
    EXPECT_EQ(detector._isMotionPixel[0], 9);
    EXPECT_EQ(detector._backgroundY[0], 9);
    EXPECT_EQ(detector._noiseLevel[0], 33.0f);
    EXPECT_EQ(detector._sampleTime[0], now - second);
    EXPECT_EQ(detector._lastChangeTime[0], now - 16 * second);
}

// Five newest values: 504 / 5 = 100.8. Rounding would give 101.
TEST_F(BackgroundTest, IFrameBackgroundIsTruncated) {
    UseIFrames({{101, 101, 101, 101, 100, 9, 9, 9, 9, 9, 9}});
    EXPECT_TRUE(UpdateAt(now));
    EXPECT_EQ(detector._isBackground[0], 255);
    EXPECT_EQ(detector._backgroundY[0], 100);
    EXPECT_EQ(detector._backgroundTime[0], now);
    EXPECT_EQ(detector._sampleTime[0], now);
}

TEST_F(BackgroundTest, IFrameLeavesEverythingElse) {
    UseIFrames({flat});
    detector._isStable[0] = detector._isMotionPixel[0] = detector._backgroundCb[0] = detector._backgroundCr[0] = 9;
    detector._sampleValue[0] = 9.0f;
    EXPECT_TRUE(UpdateAt(now));
    EXPECT_EQ(detector._isStable[0], 9);
    EXPECT_EQ(detector._isMotionPixel[0], 9);
    EXPECT_EQ(detector._backgroundCb[0], 9);
    EXPECT_EQ(detector._backgroundCr[0], 9);
    EXPECT_EQ(detector._sampleValue[0], 9.0f);
    EXPECT_EQ(detector._noiseLevel[0], 21.0f);
    EXPECT_EQ(detector._lastChangeTime[0], now - 16 * second);
}

// 8, 8, 0, 0, 4: 144 - 20 * 4 = 64. 8, 8, 0, 0, 5: 153 - 21 * 4.2 = 64.8.
TEST_F(BackgroundTest, DispersionOfIFramesMayBeSixtyFour) {
    UseIFrames({{8, 8, 0, 0, 4, 0, 0, 0, 0, 0, 0}, {8, 8, 0, 0, 5, 0, 0, 0, 0, 0, 0}});
    EXPECT_TRUE(UpdateAt(now));
    EXPECT_EQ(Copied(detector._isBackground, 2), (std::vector<std::uint8_t>{255, 0}));
    EXPECT_EQ(Copied(detector._sampleTime, 2), (std::vector<std::int64_t>{now, now - second}));
    EXPECT_EQ(detector._backgroundY[0], 4);
}

TEST_F(BackgroundTest, IFrameBackgroundNeedsMoreThanFifteenQuietSeconds) {
    for (const bool isSlow : {false, true}) {
        const std::int64_t quiet = isSlow ? 30 * second : 15 * second;
        UseIFrames({flat, flat});
        detector._longBackgroundTimes = isSlow;
        detector._lastChangeTime[0] = now - quiet;
        detector._lastChangeTime[1] = now - quiet - 1;
        EXPECT_TRUE(UpdateAt(now));
        EXPECT_EQ(Copied(detector._isBackground, 2), (std::vector<std::uint8_t>{0, 255})) << isSlow;
        EXPECT_EQ(Copied(detector._sampleTime, 2), (std::vector<std::int64_t>{now, now}));  // without waiting
    }
}

TEST_F(BackgroundTest, IFrameTimeoutClearsTheFlagOnly) {
    const History restless{200, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    UseIFrames({restless, restless, flat});
    std::fill_n(detector._isBackground, 3, std::uint8_t{255});
    std::fill_n(detector._noiseLevel, 3, 33.0f);
    detector._backgroundTime[0] = now - 60 * second;
    detector._backgroundTime[1] = detector._backgroundTime[2] = now - 60 * second - 1;
    EXPECT_TRUE(UpdateAt(now));
    EXPECT_EQ(Copied(detector._isBackground, 3), (std::vector<std::uint8_t>{255, 0, 255}));  // the last was set just now
    EXPECT_EQ(Copied(detector._noiseLevel, 3), std::vector<float>(3, 33.0f));
}

TEST_F(BackgroundTest, SkipRuleComesBeforeTheIFrameRule) {
    UseIFrames({flat});
    detector._skipPhase = 1;
    detector._lastFrameTime = now;
    EXPECT_FALSE(UpdateAt(now));
    EXPECT_EQ(detector._isBackground[0], 0);
}

TEST_F(BackgroundTest, RingComesBeforeTheIFrameRule) {
    Frame frame(4, 3);
    frame.info.isH264Partly = frame.info.isH264PartlyIFrame = 1;
    AddFullZone();
    Feed(frame, 0, 100 * second, 10);
    EXPECT_FALSE(detector.UpdateBackground(nullptr, 0));
    EXPECT_EQ(detector._isBackground[0], 0);
    Feed(frame, 1000 * second);
    EXPECT_EQ(detector._isBackground[0], 255);
}

// No change test runs in this mode: quiet counts from the first frame. P-frames in between add nothing.
TEST_F(BackgroundTest, IFramesConfirmAStillStream) {
    for (const bool isSlow : {false, true}) {
        detector._longBackgroundTimes = isSlow;
        Frame iFrame(4, 3), pFrame(4, 3, 105);
        iFrame.info.isH264Partly = iFrame.info.isH264PartlyIFrame = pFrame.info.isH264Partly = 1;
        if (!isSlow) AddFullZone();
        const int first = isSlow ? 31 : 16;  // a second each
        for (int i = 0; i <= first; ++i) {
            ASSERT_TRUE(i == 0 || detector._isBackground[0] == 0) << i;
            Feed(iFrame, i * second);
            if (i < first) Feed(pFrame, i * second + second / 2);
        }
        EXPECT_EQ(detector._isBackground[0], 255);
        EXPECT_EQ(detector._backgroundY[0], 100);
        EXPECT_EQ(detector._backgroundCb[0], 0);  // this mode learns no chroma
    }
}

TEST_F(BackgroundDeathTest, IFrameRuleOutsideItsModeIsFatal) {
    UseHistories({flat});
    EXPECT_ASSERTION(detector.UpdateBackgroundOptimyzedForH264Partly(), "_h264PartlyIsOptimized");
}

}  // namespace
