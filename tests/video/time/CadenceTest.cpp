// Are pictures picked at the wanted rate, and evenly?
#include "video/time/Cadence.h"

#include <gtest/gtest.h>

#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

// Numbers of the pictures taken from a stream of `count` at an even distance.
std::vector<int> Taken(double rate, Ticks interval, int count) {
    Cadence cadence(rate, interval);
    std::vector<int> taken;
    for (int i = 0; i < count; ++i) {
        if (cadence.Takes(i * interval)) {
            taken.push_back(i);
        }
    }
    return taken;
}

TEST(Cadence, RateZeroTakesEveryPicture) { EXPECT_EQ(Taken(0, oneSecond / 25, 5), (std::vector<int>{0, 1, 2, 3, 4})); }

TEST(Cadence, TenPicturesASecondAtRateSixGivesEverySecondOne) {
    EXPECT_EQ(Taken(6, oneSecond / 10, 9), (std::vector<int>{0, 2, 4, 6, 8}));
}

TEST(Cadence, TwentyFiveAtRateSixGivesEveryFourthOne) {
    EXPECT_EQ(Taken(6, oneSecond / 25, 13), (std::vector<int>{0, 4, 8, 12}));
    EXPECT_EQ(Cadence(6, oneSecond / 25).Period(), 4 * (oneSecond / 25));
}

TEST(Cadence, WhatItTakesIsWhatItMayTake) {
    for (const Ticks interval : {oneSecond / 25, oneSecond / 10, Ticks{333'667}}) {
        Cadence cadence(6, interval);
        int may = 0, takes = 0;
        for (int i = 0; i < 3000; ++i) {
            const bool expected = cadence.MayTake(i * interval);
            may += expected;
            const bool taken = cadence.Takes(i * interval);
            takes += taken;
            EXPECT_TRUE(expected || !taken) << i;
        }
        EXPECT_EQ(may, takes);
    }
}

TEST(Cadence, ItMayTakePicturesOnTheGridAheadAndBehind) {
    Cadence cadence(6, oneSecond / 25);
    EXPECT_TRUE(cadence.MayTake(oneSecond / 25));  // nothing taken yet
    ASSERT_TRUE(cadence.Takes(oneSecond));
    for (int i = -8; i <= 8; ++i) {
        EXPECT_EQ(cadence.MayTake(oneSecond + i * (oneSecond / 25)), i % 4 == 0) << i;
    }
}

TEST(Cadence, SlowStreamsAreTakenWhole) { EXPECT_EQ(Taken(6, oneSecond, 4), (std::vector<int>{0, 1, 2, 3})); }

TEST(Cadence, RatesOfFractionsAreHeldOverTime) {
    const Ticks interval = 333'667;  // 29.97 pictures a second
    EXPECT_EQ(Taken(6, interval, 3000).size(), 600u);
}

TEST(Cadence, JitterOfAFifthOfAnIntervalMakesNoDifference) {
    const Ticks interval = oneSecond / 10;
    Cadence cadence(5, interval);
    for (int i = 0; i < 300; ++i) {
        const Ticks jitter = (i * 7 % 3 - 1) * interval / 5;
        ASSERT_EQ(cadence.Takes(i * interval + jitter), i % 2 == 0) << i;
    }
}

TEST(Cadence, AfterAGapTheNextPictureIsTaken) {
    const Ticks interval = oneSecond / 10;
    Cadence cadence(5, interval);
    EXPECT_TRUE(cadence.Takes(0));
    EXPECT_TRUE(cadence.Takes(100 * oneSecond + interval));
    EXPECT_FALSE(cadence.Takes(100 * oneSecond + 2 * interval));
    EXPECT_TRUE(cadence.Takes(100 * oneSecond + 3 * interval));
}

TEST(Cadence, DistancesStayEvenWhereTheFileNamesAWrongRate) {
    const Ticks real = oneSecond / 15;
    Cadence cadence(6, oneSecond / 30);  // every fifth of 30, if there were 30
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(cadence.Takes(i * real), i % 3 == 0) << i;
    }
}

TEST(Cadence, VerySlowRatesStayWithinTime) {
    Cadence cadence(1e-300, 100 * oneSecond);
    EXPECT_TRUE(cadence.Takes(0));
    EXPECT_FALSE(cadence.Takes(100 * oneSecond));
}

}  // namespace
}  // namespace Video
