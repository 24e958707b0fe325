// Which pictures may be discarded, and are they all counted?
#include "video/media/NonReferenceDiscard.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = 400'000;

// As many even packets as it takes to be trusted; their pictures are shown at once.
void RunEvenly(NonReferenceDiscard& discard, int packets) {
    for (int i = -packets; i < 0; ++i) {
        discard.MayDiscard(i * interval, i * interval, 0);
        discard.DiscardedBefore(i * interval);
    }
}

bool EveryFourth(Ticks time) { return time % (4 * interval) == 0; }

TEST(NonReferenceDiscard, NothingIsBeforeTheStreamHasRunEvenlyForAWhile) {
    NonReferenceDiscard discard([](Ticks) { return false; });
    int packets = 0;
    while (!discard.MayDiscard(packets * interval, packets * interval, 0)) {
        ASSERT_LT(++packets, 100);
    }
    EXPECT_EQ(packets, 26);
}

TEST(NonReferenceDiscard, WhatIsNeededIsNot) {
    NonReferenceDiscard discard(EveryFourth);
    RunEvenly(discard, 30);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(discard.MayDiscard(i * interval, i * interval, 0), i % 4 != 0) << i;
    }
}

TEST(NonReferenceDiscard, TimesOfTheScanAreAskedFor) {
    std::vector<Ticks> asked;
    NonReferenceDiscard discard([&](Ticks time) {
        asked.push_back(time);
        return true;
    });
    RunEvenly(discard, 26);
    asked.clear();
    discard.MayDiscard(7 * interval, 0, 1000);
    EXPECT_EQ(asked, std::vector<Ticks>{7 * interval + 1000});
}

TEST(NonReferenceDiscard, AHoleOrAMissingTimeEndsIt) {
    NonReferenceDiscard discard([](Ticks) { return false; });
    RunEvenly(discard, 30);
    EXPECT_TRUE(discard.MayDiscard(0, 0, 0));
    EXPECT_FALSE(discard.MayDiscard(std::nullopt, interval, 0));
    EXPECT_TRUE(discard.MayDiscard(2 * interval, 2 * interval, 0));
    EXPECT_FALSE(discard.MayDiscard(9 * interval, 9 * interval, 0));
    EXPECT_FALSE(discard.MayDiscard(10 * interval, 10 * interval, 0));
}

TEST(NonReferenceDiscard, MillisecondsAreEvenEnough) {
    NonReferenceDiscard discard([](Ticks) { return false; });  // 29.97 pictures a second, as Matroska counts
    bool last = false;
    for (int i = 0; i < 40; ++i) {
        const Ticks rounded = (i * 333'667 + 5'000) / 10'000 * 10'000;
        last = discard.MayDiscard(rounded, rounded, 0);
    }
    EXPECT_TRUE(last);
}

TEST(NonReferenceDiscard, TheyAreCountedBeforeThePictureShownAfterThem) {
    NonReferenceDiscard discard(EveryFourth);
    RunEvenly(discard, 30);
    for (const int decoded : {0, 4, 2, 1, 3, 8, 6, 5, 7}) {  // 2 and 6 are referred to: the decoder shows them anyway
        discard.MayDiscard(decoded * interval, decoded * interval, 0);
    }
    // In order of decoding the times of decoding are even; here they are not, so the stream is not trusted.
    EXPECT_TRUE(discard.DiscardedAtEnd().empty());

    RunEvenly(discard, 30);
    int at = 0;
    for (const int decoded : {0, 4, 2, 1, 3, 8, 6, 5, 7}) {
        discard.MayDiscard(decoded * interval, at++ * interval, 0);
    }
    EXPECT_TRUE(discard.DiscardedBefore(0).empty());
    EXPECT_EQ(discard.DiscardedBefore(2 * interval), std::vector<Ticks>{interval});
    EXPECT_EQ(discard.DiscardedBefore(4 * interval), std::vector<Ticks>{3 * interval});
    EXPECT_EQ(discard.DiscardedAtEnd(), (std::vector<Ticks>{5 * interval, 6 * interval, 7 * interval}));
    EXPECT_TRUE(discard.DiscardedAtEnd().empty());
}

}  // namespace
}  // namespace Video
