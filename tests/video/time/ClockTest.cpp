// Do times only move forward, and stay the file's own wherever they can?
#include "video/time/Clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = oneSecond / 25;

std::vector<Ticks> TimesOf(const std::vector<std::optional<Ticks>>& presented) {
    Clock clock(interval);
    std::vector<Ticks> times;
    for (const std::optional<Ticks>& time : presented) {
        times.push_back(clock.Next(time));
    }
    return times;
}

TEST(Clock, GoodTimesPassUnchanged) {
    Clock clock(interval);
    for (const Ticks time : {Ticks{-5}, Ticks{0}, Ticks{1}, interval, 70 * oneSecond}) {
        EXPECT_EQ(clock.Next(time), time);
    }
    EXPECT_EQ(clock.Repairs(), 0);
    EXPECT_EQ(clock.Restarts(), 0);
}

TEST(Clock, FirstTimeNeedNotBeZero) { EXPECT_EQ(TimesOf({7 * oneSecond}), std::vector<Ticks>{7 * oneSecond}); }

TEST(Clock, MissingTimesAdvanceByTheNominalInterval) {
    EXPECT_EQ(TimesOf({std::nullopt, std::nullopt, 3 * interval, std::nullopt}),
              (std::vector<Ticks>{0, interval, 3 * interval, 4 * interval}));
}

TEST(Clock, AbsurdTimesCountAsMissing) {
    EXPECT_EQ(TimesOf({0, std::numeric_limits<Ticks>::max(), std::numeric_limits<Ticks>::min(), 3 * interval}),
              (std::vector<Ticks>{0, interval, 2 * interval, 3 * interval}));
}

TEST(Clock, DoubledTimesGetOneTickMore) {
    EXPECT_EQ(TimesOf({0, 0, interval, interval, 2 * interval}),
              (std::vector<Ticks>{0, 1, interval, interval + 1, 2 * interval}));
}

TEST(Clock, JitterBelowASecondWaitsUntilTheFileHasCaughtUp) {
    EXPECT_EQ(TimesOf({oneSecond, 1, oneSecond, oneSecond + 2, oneSecond + 3}),
              (std::vector<Ticks>{oneSecond, oneSecond + 1, oneSecond + 2, oneSecond + 3, oneSecond + 4}));
    EXPECT_EQ(TimesOf({oneSecond, 1, 2 * oneSecond}), (std::vector<Ticks>{oneSecond, oneSecond + 1, 2 * oneSecond}));
}

TEST(Clock, ASecondBehindIsANewStartThatKeepsItsDistances) {
    Clock clock(interval);
    clock.Next(100 * oneSecond);
    EXPECT_EQ(clock.Next(0), 100 * oneSecond + interval);
    EXPECT_EQ(clock.Next(3 * interval), 100 * oneSecond + 4 * interval);
    EXPECT_EQ(clock.Next(50 * oneSecond), 150 * oneSecond + interval);
    EXPECT_EQ(clock.Restarts(), 1);
}

TEST(Clock, TheBorderBetweenJitterAndNewStartIsOneSecond) {
    Clock jitter(interval), restart(interval);
    jitter.Next(oneSecond);
    restart.Next(oneSecond);
    EXPECT_EQ(jitter.Next(1), oneSecond + 1);
    EXPECT_EQ(restart.Next(0), oneSecond + interval);
    EXPECT_EQ(jitter.Restarts(), 0);
    EXPECT_EQ(restart.Restarts(), 1);
}

TEST(Clock, AnOverflowingCountGoesOn) {
    constexpr Ticks period = 95443 * oneSecond + 7'176'888;  // 2^33 at 90 kHz
    Clock clock(interval, period);
    EXPECT_EQ(clock.Next(0), 0);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(clock.Next(period - interval), (round + 1) * period - interval);
        EXPECT_EQ(clock.Next(5), (round + 1) * period + 5);
    }
    EXPECT_EQ(clock.Restarts(), 0);
    EXPECT_EQ(clock.Repairs(), 0);
}

TEST(Clock, ANewStartIsNoOverflow) {
    constexpr Ticks period = 95443 * oneSecond;
    Clock clock(interval, period);
    clock.Next(period - 61 * oneSecond);
    EXPECT_EQ(clock.Next(0), period - 61 * oneSecond + interval) << "the count would have stood still for a minute";
    EXPECT_EQ(clock.Restarts(), 1);
}

TEST(Clock, OnePictureOutOfOrderDoesNotShiftTheRest) {
    EXPECT_EQ(TimesOf({100 * oneSecond, 0, 100 * oneSecond + 2 * interval, 100 * oneSecond + 3 * interval, 190 * oneSecond}),
              (std::vector<Ticks>{100 * oneSecond, 100 * oneSecond + interval, 100 * oneSecond + 2 * interval,
                                  100 * oneSecond + 3 * interval, 190 * oneSecond}));
}

TEST(Clock, LongGapsForwardAreTheFilesOwn) {
    EXPECT_EQ(TimesOf({0, 36000 * oneSecond}), (std::vector<Ticks>{0, 36000 * oneSecond}));
}

// Times of every kind, thousands of them: none may stand still or go back.
TEST(Clock, AlwaysMovesForward) {
    std::mt19937_64 random(20240517);
    for (int round = 0; round < 200; ++round) {
        Clock clock(interval);
        Ticks base = 0;
        Ticks last = std::numeric_limits<Ticks>::min();
        for (int i = 0; i < 500; ++i) {
            base += interval;
            std::optional<Ticks> presented;
            switch (random() % 8) {
                case 0: break;
                case 1: presented = static_cast<Ticks>(random()); break;
                case 2: presented = base = static_cast<Ticks>(random() % 1000) * oneSecond; break;
                case 3: presented = base - static_cast<Ticks>(random() % 20'000'000); break;
                default: presented = base;
            }
            const Ticks time = clock.Next(presented);
            ASSERT_GT(time, last) << "round " << round << ", picture " << i;
            last = time;
        }
    }
}

}  // namespace
}  // namespace Video
