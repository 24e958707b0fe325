// Which pictures may go undecoded, and are they all counted?
#include "video/media/LeftOut.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = 400'000;

// As many even packets as it takes to be trusted; their pictures are shown at once.
void RunEvenly(LeftOut& leftOut, int packets) {
    for (int i = -packets; i < 0; ++i) {
        leftOut.May(i * interval, i * interval, 0);
        leftOut.Before(i * interval);
    }
}

bool EveryFourth(Ticks time) { return time % (4 * interval) == 0; }

TEST(LeftOut, NothingIsBeforeTheStreamHasRunEvenlyForAWhile) {
    LeftOut leftOut([](Ticks) { return false; });
    int packets = 0;
    while (!leftOut.May(packets * interval, packets * interval, 0)) {
        ASSERT_LT(++packets, 100);
    }
    EXPECT_EQ(packets, 26);
}

TEST(LeftOut, WhatIsNeededIsNot) {
    LeftOut leftOut(EveryFourth);
    RunEvenly(leftOut, 30);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(leftOut.May(i * interval, i * interval, 0), i % 4 != 0) << i;
    }
}

TEST(LeftOut, TimesOfTheScanAreAskedFor) {
    std::vector<Ticks> asked;
    LeftOut leftOut([&](Ticks time) {
        asked.push_back(time);
        return true;
    });
    RunEvenly(leftOut, 26);
    asked.clear();
    leftOut.May(7 * interval, 0, 1000);
    EXPECT_EQ(asked, std::vector<Ticks>{7 * interval + 1000});
}

TEST(LeftOut, AHoleOrAMissingTimeEndsIt) {
    LeftOut leftOut([](Ticks) { return false; });
    RunEvenly(leftOut, 30);
    EXPECT_TRUE(leftOut.May(0, 0, 0));
    EXPECT_FALSE(leftOut.May(std::nullopt, interval, 0));
    EXPECT_TRUE(leftOut.May(2 * interval, 2 * interval, 0));
    EXPECT_FALSE(leftOut.May(9 * interval, 9 * interval, 0));
    EXPECT_FALSE(leftOut.May(10 * interval, 10 * interval, 0));
}

TEST(LeftOut, MillisecondsAreEvenEnough) {
    LeftOut leftOut([](Ticks) { return false; });  // 29.97 pictures a second, as Matroska counts
    bool last = false;
    for (int i = 0; i < 40; ++i) {
        const Ticks rounded = (i * 333'667 + 5'000) / 10'000 * 10'000;
        last = leftOut.May(rounded, rounded, 0);
    }
    EXPECT_TRUE(last);
}

TEST(LeftOut, TheyAreCountedBeforeThePictureShownAfterThem) {
    LeftOut leftOut(EveryFourth);
    RunEvenly(leftOut, 30);
    for (const int decoded : {0, 4, 2, 1, 3, 8, 6, 5, 7}) {  // 2 and 6 are referred to: the decoder shows them anyway
        leftOut.May(decoded * interval, decoded * interval, 0);
    }
    // In order of decoding the times of decoding are even; here they are not, so the stream is not trusted.
    EXPECT_TRUE(leftOut.Rest().empty());

    RunEvenly(leftOut, 30);
    int at = 0;
    for (const int decoded : {0, 4, 2, 1, 3, 8, 6, 5, 7}) {
        leftOut.May(decoded * interval, at++ * interval, 0);
    }
    EXPECT_TRUE(leftOut.Before(0).empty());
    EXPECT_EQ(leftOut.Before(2 * interval), std::vector<Ticks>{interval});
    EXPECT_EQ(leftOut.Before(4 * interval), std::vector<Ticks>{3 * interval});
    EXPECT_EQ(leftOut.Rest(), (std::vector<Ticks>{5 * interval, 6 * interval, 7 * interval}));
    EXPECT_TRUE(leftOut.Rest().empty());
}

}  // namespace
}  // namespace Video
