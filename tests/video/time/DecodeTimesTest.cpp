// Can every picture be decoded before it is shown, in even steps?
#include "video/time/DecodeTimes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

using Times = std::vector<Ticks>;

// Lets `ahead` packets wait before the first is taken.
Times DecodingTimes(const Times& shown, int delay, std::size_t ahead = 32) {
    DecodeTimes times(delay, 10);
    Times result;
    for (const Ticks time : shown) {
        times.Add(time);
        if (times.Waiting() > ahead) {
            result.push_back(times.Take());
        }
    }
    while (times.Waiting() > 0) {
        result.push_back(times.Take());
    }
    return result;
}

TEST(DecodeTimes, PicturesInOrderAreDecodedWhenTheyAreShown) {
    EXPECT_EQ(DecodingTimes({0, 10, 25, 30}, 0), (Times{0, 10, 25, 30}));
}

TEST(DecodeTimes, PicturesStoredAheadAreDecodedOneIntervalEarlier) {
    EXPECT_EQ(DecodingTimes({0, 30, 10, 20, 60, 40, 50}, 1), (Times{-10, 0, 10, 20, 30, 40, 50}));
}

TEST(DecodeTimes, PyramidsNeedTwoIntervals) {
    EXPECT_EQ(DecodingTimes({0, 40, 20, 10, 30, 80, 60, 50, 70}, 2), (Times{-20, -10, 0, 10, 20, 30, 40, 50, 60}));
}

TEST(DecodeTimes, ADelayThatIsTooShortIsMadeUpFor) {
    EXPECT_EQ(DecodingTimes({0, 40, 20, 10, 30, 50}, 0), (Times{0, 10, 10, 10, 30, 50}));
}

TEST(DecodeTimes, NeverBackwardsAndNeverBehindThePicture) {
    std::uint32_t random = 1;
    const auto next = [&](std::uint32_t below) {
        random = random * 1664525 + 1013904223;
        return static_cast<int>((random >> 16) % below);
    };
    for (int round = 0; round < 200; ++round) {
        Times shown;
        for (Ticks i = 0; i < 60; ++i) {
            shown.push_back(i * 10 + next(3));
        }
        for (std::size_t i = 1; i + 5 < shown.size(); i += static_cast<std::size_t>(1 + next(4))) {
            std::swap(shown[i], shown[i + static_cast<std::size_t>(next(5))]);
        }
        const Times decoded = DecodingTimes(shown, next(6));
        ASSERT_EQ(decoded.size(), shown.size());
        for (std::size_t i = 0; i < shown.size(); ++i) {
            ASSERT_LE(decoded[i], shown[i]) << "packet " << i << " of round " << round;
            ASSERT_TRUE(i == 0 || decoded[i] >= decoded[i - 1]) << "packet " << i << " of round " << round;
        }
    }
}

TEST(DecodeTimes, APictureThatIsFarTooEarlyDoesNotTurnTimeBack) {
    EXPECT_EQ(DecodingTimes({0, 10, 20, 30, 5, 40}, 0, 1), (Times{0, 10, 20, 20, 20, 40}));
}

}  // namespace
}  // namespace Video
