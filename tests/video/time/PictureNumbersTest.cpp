// Is every picture's number found by its time, exactly as long as that is possible?
#include "video/time/PictureNumbers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = 400'000;

TEST(PictureNumbers, CountEvenPictures) {
    PictureNumbers numbers(interval);
    for (int i = 0; i < 1000; ++i) {
        numbers.Count(7 + i * interval);
    }
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(numbers.At(7 + i * interval), i);
        ASSERT_TRUE(numbers.IsExact(7 + i * interval));
    }
}

TEST(PictureNumbers, CountFromATime) {
    PictureNumbers numbers(interval);
    numbers.BeginAt(10 * interval - 1);
    for (int i = 4; i < 30; ++i) {
        numbers.Count(i * interval);
    }
    EXPECT_EQ(numbers.At(10 * interval), 0);
    EXPECT_EQ(numbers.At(29 * interval), 19);
    EXPECT_EQ(numbers.At(5 * interval), -5) << "seen, and of another part";
    EXPECT_TRUE(numbers.IsExact(29 * interval));
}

// Whatever the distances: doubled times, jitter, drift, pauses.
TEST(PictureNumbers, CountPicturesAtAnyDistance) {
    std::mt19937 random(20240517);
    for (int round = 0; round < 100; ++round) {
        PictureNumbers numbers(interval);
        std::vector<Ticks> times;
        Ticks time = static_cast<Ticks>(random() % 10) * interval;
        for (int i = 0; i < 300; ++i) {
            times.push_back(time);
            numbers.Count(time);
            switch (random() % (round % 2 == 0 ? 6 : 2)) {
                case 0: time += interval; break;
                case 1: time += interval + 1; break;
                case 2: time += interval / 2 + static_cast<Ticks>(random()) % interval; break;
                case 3: time += 1; break;
                case 4: time += 2 * interval; break;
                default: time += static_cast<Ticks>(random()) % (100 * interval) + 1; break;
            }
        }
        for (std::size_t i = 0; i < times.size(); ++i) {
            ASSERT_EQ(numbers.At(times[i]), static_cast<std::int64_t>(i)) << "round " << round;
        }
    }
}

TEST(PictureNumbers, BetweenPicturesItIsOneOfThem) {
    PictureNumbers numbers(interval);
    for (const Ticks time : {Ticks{0}, interval, 2 * interval, 50 * interval, 51 * interval}) {
        numbers.Count(time);
    }
    EXPECT_EQ(numbers.At(interval / 4), 0);
    EXPECT_EQ(numbers.At(interval - 1), 1);
    EXPECT_EQ(numbers.At(30 * interval), 2) << "the pause has no pictures";
    EXPECT_EQ(numbers.At(50 * interval), 3);
    EXPECT_EQ(numbers.At(-interval), 0);
}

TEST(PictureNumbers, ALostCountGoesOnAtTheNominalRate) {
    PictureNumbers numbers(interval);
    numbers.Count(0);
    numbers.Count(interval);
    numbers.Lose();
    for (const int picture : {5, 6, 7}) {  // two to four have not been decoded
        numbers.Count(picture * interval);
    }
    EXPECT_TRUE(numbers.IsExact(interval));
    EXPECT_FALSE(numbers.IsExact(interval + 1));
    EXPECT_EQ(numbers.At(interval), 1);
    EXPECT_EQ(numbers.At(6 * interval), 6);
}

TEST(PictureNumbers, MemoryIsBounded) {
    PictureNumbers numbers(interval);
    Ticks time = 0;
    for (std::size_t i = 0; i <= PictureNumbers::mostRuns; ++i, time += 2 * interval) {  // every one is a run of its own
        numbers.Count(time);
    }
    const Ticks last = time - 4 * interval;
    EXPECT_EQ(numbers.At(last), static_cast<std::int64_t>(PictureNumbers::mostRuns) - 1);
    EXPECT_TRUE(numbers.IsExact(last));
    EXPECT_FALSE(numbers.IsExact(last + 2 * interval)) << "approximate from here";
    EXPECT_EQ(numbers.At(last + 2 * interval), static_cast<std::int64_t>(PictureNumbers::mostRuns) + 1);
}

TEST(PictureNumbers, ACountLostAtOnceIsTimeOnly) {
    PictureNumbers numbers(interval);
    numbers.Lose();
    numbers.Count(0);
    EXPECT_FALSE(numbers.IsExact(0));
    EXPECT_EQ(numbers.At(0), 0);
    EXPECT_EQ(numbers.At(10 * interval), 10);
    EXPECT_EQ(numbers.At(-10 * interval), 0);
}

}  // namespace
}  // namespace Video
