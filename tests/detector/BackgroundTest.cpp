// When is a block quiet, how noisy is it, when did it change, when is its background forgotten?
#include <algorithm>
#include <cmath>

#include "BackgroundFixture.h"

namespace {

using DetectorKit::Copied;
using DetectorKit::flat;
using DetectorKit::Frame;
using DetectorKit::History;
using DetectorKit::second;

using Bytes = std::vector<std::uint8_t>;

// Five frames over and over: all three windows hold the same values.
constexpr History Repeating(std::array<std::uint8_t, 5> values) {
    History history{};
    for (std::size_t age = 0; age < 11; ++age) history[age] = values[age % 5];
    return history;
}

class BackgroundTest : public DetectorKit::BackgroundFixture {};
class BackgroundDeathTest : public BackgroundTest {};

TEST_F(BackgroundTest, NothingIsLearnedBeforeTheEleventhFrame) {
    Frame frame(4, 3);
    AddFullZone();
    Feed(frame, 0, second, 10);
    EXPECT_FALSE(detector.UpdateBackground(nullptr, 0));
    EXPECT_EQ(detector._skipFrameCounter, 0);
    EXPECT_EQ(detector._noiseLevel[0], 21.0f);
    EXPECT_EQ(detector._isStable[0], 0);
    Feed(frame, 10 * second);
    EXPECT_EQ(detector._skipFrameCounter, 1);
    EXPECT_EQ(detector._noiseLevel[0], 12.0f);
    EXPECT_EQ(detector._isStable[0], 255);
    EXPECT_TRUE(detector.UpdateBackground(nullptr, 0));
}

// Sums 505, 500 and 503; then 506, 500 and 503, with dispersions 0.2, 0 and 0.3.
TEST_F(BackgroundTest, WindowSumsMayDifferByFive) {
    UseHistories(
        {{101, 101, 101, 101, 101, 100, 100, 100, 100, 100, 100}, {102, 101, 101, 101, 101, 100, 100, 100, 100, 100, 100}});
    ASSERT_TRUE(UpdateAt(0));
    EXPECT_EQ(Copied(detector._isStable, 2), (Bytes{255, 0}));
}

// First window 2, 0, 0, 0, 0: (4 - 0.8) / 4 = 0.8. Then 2, 0, 2, 0, 1: equal sums, (9 - 5) / 4 = 1.
TEST_F(BackgroundTest, DispersionsMayDifferByFourFifths) {
    UseHistories({{2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {2, 0, 2, 0, 1, 1, 1, 1, 1, 1, 1}});
    ASSERT_TRUE(UpdateAt(0));
    EXPECT_EQ(Copied(detector._isStable, 2), (Bytes{255, 0}));
}

TEST_F(BackgroundTest, StabilityIsJudgedAnewEveryTime) {
    UseHistories({flat, {200, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}});
    detector._isStable[1] = 255;
    ASSERT_TRUE(UpdateAt(0));
    EXPECT_EQ(Copied(detector._isStable, 2), (Bytes{255, 0}));
}

TEST_F(BackgroundTest, NoiseFollowsTheExtremesOfTenFrames) {
    UseHistories({flat,
                  {101, 101, 101, 101, 101, 100, 100, 100, 100, 100, 100},
                  Repeating({112, 100, 100, 100, 100}),
                  {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 250}});  // age 10 is no part of it
    ASSERT_TRUE(UpdateAt(0));
    EXPECT_EQ(Copied(detector._noiseLevel, 4), (std::vector<float>{12.0f, 13.5f, 30.0f, 12.0f}));
}

// Dispersions of both windows: 0; 2.3; 4; 7.5.
TEST_F(BackgroundTest, NoiseFollowsTheDispersionsWhenShadowsAreDetected) {
    UseHistories({flat, Repeating({102, 102, 99, 99, 100}), Repeating({104, 104, 100, 100, 102}),
                  Repeating({100, 105, 100, 105, 100})});
    detector._detectShadow = true;
    ASSERT_TRUE(UpdateAt(0));
    ASSERT_EQ(Copied(detector._isStable, 4), Bytes(4, 255));
    EXPECT_EQ(detector._noiseLevel[0], 10.0f);
    EXPECT_EQ(detector._noiseLevel[1], 10.0f);  // sqrt(2.3) is below 2
    EXPECT_EQ(detector._noiseLevel[2], 10.0f);  // 2 * 3 + 4
    EXPECT_EQ(detector._noiseLevel[3], std::sqrt(7.5f) * 3.0f + 4.0f);
}

TEST_F(BackgroundTest, RestlessBlockKeepsItsNoise) {
    for (const bool detectShadow : {false, true}) {
        UseHistories({{200, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}});
        detector._detectShadow = detectShadow;
        detector._noiseLevel[0] = 33.0f;
        ASSERT_TRUE(UpdateAt(0));
        EXPECT_EQ(detector._noiseLevel[0], 33.0f);
    }
}

// 0.7 * 30 = 21: against age 1, 2 and 4.
TEST_F(BackgroundTest, ChangeOfExactlyTheLimitIsNone) {
    UseHistories({{121, 100, 121, 121, 121, 121, 121, 121, 121, 121, 121},
                  {122, 100, 122, 122, 122, 122, 122, 122, 122, 122, 122},
                  {79, 79, 100, 79, 79, 79, 79, 79, 79, 79, 79},
                  {78, 78, 100, 78, 78, 78, 78, 78, 78, 78, 78},
                  {121, 121, 121, 121, 100, 121, 121, 121, 121, 121, 121},
                  {122, 122, 122, 122, 100, 122, 122, 122, 122, 122, 122}});
    std::fill_n(detector._noiseLevel, 6, 30.0f);
    std::fill_n(detector._isMotionPixel, 6, std::uint8_t{255});
    detector._currentTime = 9;
    detector.FindDifferenceFromPreviousFrames();
    EXPECT_EQ(Copied(detector._isMotionPixel, 6), (Bytes{0, 255, 0, 255, 0, 255}));
    EXPECT_EQ(Copied(detector._lastChangeTime, 6), (std::vector<std::int64_t>{0, 9, 0, 9, 0, 9}));
}

TEST_F(BackgroundTest, ChangeSkipsAgeThree) {
    for (std::size_t age = 0; age < 11; ++age) {
        History history = flat;
        history[age] = 250;
        UseHistories({history});
        detector.FindDifferenceFromPreviousFrames();
        const bool isCompared = age == 0 || age == 1 || age == 2 || age == 4;
        EXPECT_EQ(detector._isMotionPixel[0], isCompared ? 255 : 0) << age;
    }
}

// The same through the detection pass: a flash is a change in the frames 0, 1, 2 and 4 after it.
TEST_F(BackgroundTest, FlashIsAChangeFourTimes) {
    Frame still(4, 3), flash(4, 3, 250);
    FillRing(still);
    Feed(flash, 1);
    Bytes motion{detector._isMotionPixel[0]};
    for (int i = 2; i <= 7; ++i) {
        Feed(still, i);
        motion.push_back(detector._isMotionPixel[0]);
    }
    EXPECT_EQ(motion, (Bytes{255, 255, 255, 0, 255, 0, 0}));
    EXPECT_EQ(detector._lastChangeTime[0], 5);
}

// Before: 0.7 * 5 = 3.5, less than the change of 12. Learned first: 12 * 1.5 + 12 = 30, limit 21.
TEST_F(BackgroundTest, ChangeIsJudgedByTheNoiseJustLearned) {
    UseHistories({Repeating({112, 100, 100, 100, 100})});
    detector._noiseLevel[0] = 5.0f;
    ASSERT_TRUE(UpdateAt(8));
    EXPECT_EQ(detector._noiseLevel[0], 30.0f);
    EXPECT_EQ(detector._isMotionPixel[0], 0);
    EXPECT_EQ(detector._lastChangeTime[0], 0);
}

TEST_F(BackgroundTest, BackgroundIsForgottenAfterMoreThanSixtySeconds) {
    for (const bool alone : {false, true}) {
        UseHistories({{200, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}});  // restless: no refresh
        detector._isBackground[0] = 255;
        detector._noiseLevel[0] = 14.0f;
        detector._backgroundTime[0] = 7;
        for (const std::int64_t late : {0, 1}) {
            detector._currentTime = 7 + 600000000 + late;
            if (alone) detector.FlushNotConfirmedBackground();
            else ASSERT_TRUE(detector.UpdateBackground(nullptr, 0));
            EXPECT_EQ(detector._isBackground[0], late ? 0 : 255);
            EXPECT_EQ(detector._noiseLevel[0], late ? 21.0f : 14.0f);
        }
        EXPECT_EQ(detector._backgroundTime[0], 7);
    }
}

// The timeout stands last: it also undoes the noise level that the stable block has just learned.
TEST_F(BackgroundTest, NoiseOfAnUnconfirmedBlockIsResetAfterSixtySeconds) {
    UseHistories({flat});
    ASSERT_TRUE(UpdateAt(60 * second));  // only takes a sample
    EXPECT_EQ(detector._noiseLevel[0], 12.0f);
    detector._lastChangeTime[0] = 60 * second;  // not quiet: no confirmation
    ASSERT_TRUE(UpdateAt(60 * second + 1));
    EXPECT_EQ(detector._isStable[0], 255);
    EXPECT_EQ(detector._noiseLevel[0], 21.0f);
}

TEST_F(BackgroundTest, SeparateStepsTouchNothingElse) {
    UseHistories({{250, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}});
    detector._isStable[0] = 9;
    detector._currentTime = 61 * second;
    detector.FindDifferenceFromPreviousFrames();
    EXPECT_EQ(detector._isBackground[0], 0);
    EXPECT_EQ(detector._noiseLevel[0], 21.0f);
    detector._isMotionPixel[0] = 9;
    detector._lastChangeTime[0] = 9;
    detector.FlushNotConfirmedBackground();
    EXPECT_EQ(detector._isStable[0], 9);
    EXPECT_EQ(detector._isMotionPixel[0], 9);
    EXPECT_EQ(detector._lastChangeTime[0], 9);
    EXPECT_EQ(detector._sampleTime[0], 0);
}

TEST_F(BackgroundTest, SeparateStepsWithoutBlocksDoNothing) {
    detector.FindDifferenceFromPreviousFrames();
    detector.FlushNotConfirmedBackground();
    EXPECT_EQ(detector.blockCount, 0);
    EXPECT_EQ(detector._isMotionPixel, nullptr);
}

// ---- Masks: non-zero protects the block ----------------------------------------------------------------------------

TEST_F(BackgroundTest, ProtectedBlockLearnsNeitherNoiseNorBackground) {
    UseHistories({flat, flat, flat});
    std::fill_n(detector._sampleTime, 3, 8 * second);
    std::fill_n(detector._sampleValue, 3, 100.0f);
    Bytes mask{0, 1, 255};
    ASSERT_TRUE(UpdateAt(10 * second, mask.data(), 3));
    EXPECT_EQ(Copied(detector._noiseLevel, 3), (std::vector<float>{12.0f, 21.0f, 21.0f}));
    EXPECT_EQ(Copied(detector._isBackground, 3), (Bytes{255, 0, 0}));
    EXPECT_EQ(Copied(detector._sampleTime, 3), (std::vector<std::int64_t>{10 * second, 8 * second, 8 * second}));
    EXPECT_EQ(Copied(detector._backgroundTime, 3), (std::vector<std::int64_t>{10 * second, 0, 0}));
    EXPECT_EQ(Copied(detector._isStable, 3), Bytes(3, 255));  // judged all the same
}

TEST_F(BackgroundTest, ProtectedBlockIsNotRefreshed) {
    UseHistories({flat});
    detector._isBackground[0] = 255;
    detector._backgroundY[0] = 101;
    Bytes mask{1};
    ASSERT_TRUE(UpdateAt(second, mask.data(), 1));
    EXPECT_EQ(detector._backgroundY[0], 101);
    mask[0] = 0;
    ASSERT_TRUE(UpdateAt(second, mask.data(), 1));
    EXPECT_EQ(detector._backgroundY[0], 100);
}

TEST_F(BackgroundTest, ProtectedBlockStillChangesAndTimesOut) {
    UseHistories({{200, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}, flat});
    std::fill_n(detector._isBackground, 2, std::uint8_t{255});
    std::fill_n(detector._noiseLevel, 2, 15.0f);
    Bytes mask{1, 1};
    ASSERT_TRUE(UpdateAt(60 * second + 1, mask.data(), 2));
    EXPECT_EQ(Copied(detector._isMotionPixel, 2), (Bytes{255, 0}));
    EXPECT_EQ(Copied(detector._lastChangeTime, 2), (std::vector<std::int64_t>{60 * second + 1, 0}));
    EXPECT_EQ(Copied(detector._isBackground, 2), (Bytes{0, 0}));
    EXPECT_EQ(Copied(detector._noiseLevel, 2), (std::vector<float>{21.0f, 21.0f}));
}

TEST_F(BackgroundTest, MaskRowsMayBeLongerThanTheGrid) {
    UseGridOf({flat, flat, flat, flat, flat, flat}, 3, 2);
    Bytes mask{1, 0, 1, 7, 7,  //
               0, 1, 0, 7, 7};
    ASSERT_TRUE(UpdateAt(second, mask.data(), 5));
    EXPECT_EQ(Copied(detector._noiseLevel, 6), (std::vector<float>{21.0f, 12.0f, 21.0f, 12.0f, 21.0f, 12.0f}));
}

// A mask changes nothing for the blocks that it leaves free, wherever runs of them begin and end.
TEST_F(BackgroundTest, EveryPatternOfAMaskActsBlockByBlock) {
    for (unsigned pattern = 0; pattern < 64; ++pattern) {
        UseGridOf({flat, flat, flat, flat, flat, flat}, 3, 2);
        Bytes mask(6);
        std::vector<float> expected(6, 12.0f);
        for (std::size_t i = 0; i < 6; ++i) {
            mask[i] = (pattern >> i & 1) != 0;
            if (mask[i]) expected[i] = 21.0f;
        }
        detector._skipFrameCounter = 0;
        ASSERT_TRUE(UpdateAt(second, mask.data(), 3));
        ASSERT_EQ(Copied(detector._noiseLevel, 6), expected) << pattern;
        ASSERT_EQ(Copied(detector._isStable, 6), Bytes(6, 255)) << pattern;
    }
}

TEST_F(BackgroundDeathTest, MaskThatEndsBeforeTheGridIsFatal) {
    UseHistories({flat, flat, flat});
    Bytes mask(3);
    for (const int rowLength : {2, 0, -3})
        EXPECT_ASSERTION(UpdateAt(second, mask.data(), rowLength), "maskOffset < detectionMaskWidthStep * blockCountY");
}

}  // namespace
