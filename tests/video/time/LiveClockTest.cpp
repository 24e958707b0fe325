// Do times of a live source only move forward, by its own stamps within a connection and by arrival between them?
#include "video/time/LiveClock.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <random>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = oneSecond / 25;

TEST(LiveClock, DistancesAreThoseOfTheStamps) {
    LiveClock clock(interval);
    clock.Connect(0);
    EXPECT_EQ(clock.Next(Ticks{777}, 5), 0);
    EXPECT_EQ(clock.Next(777 + interval, 3 * interval), interval) << "however late they come";
    EXPECT_EQ(clock.Next(777 + 5 * interval, 4 * interval), 5 * interval) << "or early";
}

TEST(LiveClock, AConnectionBeginsWhenItsFirstPictureComes) {
    LiveClock clock(interval);
    clock.Connect(0);
    clock.Next(90 * oneSecond, 0);
    clock.Connect(20 * oneSecond);
    EXPECT_EQ(clock.Next(Ticks{0}, 21 * oneSecond), 20 * oneSecond) << "stamps have started anew";
    EXPECT_EQ(clock.Next(interval, 21 * oneSecond), 20 * oneSecond + interval);
    clock.Connect(oneSecond);
    EXPECT_EQ(clock.Next(Ticks{0}, 30 * oneSecond), 20 * oneSecond + 2 * interval) << "never back";
}

TEST(LiveClock, MissingStampsAdvanceByTheNominalInterval) {
    LiveClock clock(interval);
    clock.Connect(0);
    EXPECT_EQ(clock.Next(std::nullopt, 0), 0);
    EXPECT_EQ(clock.Next(std::nullopt, 10), interval);
    EXPECT_EQ(clock.Next(Ticks{5}, 3 * interval), 3 * interval) << "the first stamp is met by its arrival";
    EXPECT_EQ(clock.Next(5 + interval, 3 * interval), 4 * interval);
    EXPECT_EQ(clock.Next(std::numeric_limits<Ticks>::max(), 3 * interval), 5 * interval) << "absurd ones are none";
}

TEST(LiveClock, StampsThatStepBackFollowTheArrival) {
    LiveClock clock(interval);
    clock.Connect(0);
    clock.Next(100 * oneSecond, 0);
    EXPECT_EQ(clock.Next(100 * oneSecond - 5, interval), 1) << "jitter";
    EXPECT_EQ(clock.Next(Ticks{0}, 8 * oneSecond), 8 * oneSecond);
    EXPECT_EQ(clock.Next(interval, 8 * oneSecond), 8 * oneSecond + interval);
}

TEST(LiveClock, StampsTooFarFromTheArrivalFollowIt) {
    LiveClock clock(interval);
    clock.Connect(0);
    clock.Next(Ticks{0}, 0);
    EXPECT_EQ(clock.Next(30 * oneSecond, oneSecond), 30 * oneSecond) << "a source may send at once what it holds";
    EXPECT_EQ(clock.Next(3600 * oneSecond, 2 * oneSecond), 30 * oneSecond + interval) << "not an hour";
    EXPECT_EQ(clock.Next(3600 * oneSecond + interval, 50 * oneSecond), 50 * oneSecond) << "left behind by 20 s";
}

TEST(LiveClock, AlwaysMovesForward) {
    std::mt19937_64 random(20240517);
    for (int round = 0; round < 100; ++round) {
        LiveClock clock(interval);
        clock.Connect(0);
        Ticks now = 0, stamp = 0, last = -1;
        for (int i = 0; i < 500; ++i) {
            now += static_cast<Ticks>(random() % 10'000'000);
            stamp += interval;
            std::optional<Ticks> presented = stamp;
            switch (random() % 8) {
                case 0: presented.reset(); break;
                case 1: presented = static_cast<Ticks>(random()); break;
                case 2: presented = stamp = static_cast<Ticks>(random() % 1000) * oneSecond; break;
                case 3: clock.Connect(static_cast<Ticks>(random() % 1000) * oneSecond); break;
                default: break;
            }
            const Ticks time = clock.Next(presented, now);
            ASSERT_GT(time, last) << "round " << round << ", picture " << i;
            last = time;
        }
    }
}

}  // namespace
}  // namespace Video
