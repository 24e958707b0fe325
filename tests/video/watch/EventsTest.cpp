// Do frames become the right events?
#include "video/watch/Events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "video/base/Box.h"
#include "video/base/Findings.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr EventRules rules{.mergeGap = 2 * oneSecond, .minDuration = 0, .longestGap = 10 * oneSecond};

Findings Moving(Ticks time, int blocks = 1) { return {time, {{Box{blocks, 0, 8, 8}, blocks}}}; }

Findings Still(Ticks time) { return {time, {}}; }

// Feeds the frames, closes, and returns all events.
std::vector<Event> EventsOf(const EventRules& chosen, const std::vector<Findings>& frames) {
    EventLog log(chosen);
    std::vector<Event> events;
    const auto keep = [&](const std::optional<Event>& event) {
        if (event) {
            events.push_back(*event);
        }
    };
    for (const Findings& frame : frames) {
        keep(log.Add(frame));
    }
    keep(log.Close());
    EXPECT_EQ(log.Count(), static_cast<int>(events.size()));
    EXPECT_FALSE(log.Close().has_value()) << "closing twice must not repeat an event";
    return events;
}

TEST(Events, NothingMovesNothingIsReported) {
    EXPECT_TRUE(EventsOf(rules, {Still(0), Still(oneSecond), Still(9 * oneSecond)}).empty());
}

TEST(Events, StartAndEndAreTheFirstAndLastFrameThatMoved) {
    const auto events = EventsOf(rules, {Still(0), Moving(10), Moving(20), Moving(30), Still(40)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].start, 10);
    EXPECT_EQ(events[0].end, 30);
    EXPECT_EQ(events[0].frames, 3);
}

TEST(Events, WhatBeganLaterThanADisturbanceIsForgotten) {
    EventLog log(rules);
    EXPECT_FALSE(log.Add(Moving(20)));
    EXPECT_FALSE(log.Add(Moving(30)));
    log.Discard(20);
    EXPECT_FALSE(log.Running());
    EXPECT_EQ(log.Dropped(), 0) << "it was not too short";
    EXPECT_EQ(log.Count(), 0);
    EXPECT_FALSE(log.Add(Moving(40)));
    const std::optional<Event> later = log.Close();
    ASSERT_TRUE(later);
    EXPECT_EQ(later->start, 40);
}

TEST(Events, WhatBeganEarlierThanADisturbanceStays) {
    EventLog log(rules);
    EXPECT_FALSE(log.Add(Moving(20)));
    EXPECT_FALSE(log.Add(Moving(30)));
    log.Discard(21);
    const std::optional<Event> event = log.Close();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->start, 20);
    EXPECT_EQ(event->end, 30);
    EXPECT_EQ(log.Dropped(), 0);
}

TEST(Events, PeakIsTheFirstFrameWithTheMostMovingBlocks) {
    const auto events = EventsOf(rules, {Moving(10, 3), Moving(20, 7), Moving(30, 7), Moving(40, 5)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 20);
    EXPECT_EQ(events[0].peakBlocks, 7);
    ASSERT_EQ(events[0].objects.size(), 1u);
    EXPECT_EQ(events[0].objects[0].box.x, 7);
}

TEST(Events, PeakIsWhereOneObjectHasTheMostBlocks) {
    const Findings many{20, {{Box{1, 1, 1, 1}, 4}, {Box{2, 2, 2, 2}, 4}, {Box{3, 3, 3, 3}, 4}}};
    const Findings pair{30, {{Box{4, 4, 4, 4}, 8}, {Box{5, 5, 5, 5}, 1}}};
    const auto events = EventsOf(rules, {Moving(10, 7), many, pair, Moving(40, 7)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 30);
    EXPECT_EQ(events[0].peakBlocks, 9) << "of all objects there";
    EXPECT_EQ(events[0].objects.size(), 2u);
}

// Of a picture of 100 blocks. changed: of the moving ones; the rest moves because it is not as it used to be.
Findings Lit(Ticks time, int blocks, int changed, bool isFlash) {
    return {.time = time,
            .objects = {{Box{blocks, 0, 8, 8}, blocks}},
            .pictureBlocks = 100,
            .changedBlocks = changed,
            .isFlash = isFlash};
}
Findings Seen(Ticks time, int blocks) { return Lit(time, blocks, blocks, false); }
Findings Flash(Ticks time, int blocks) { return Lit(time, blocks, blocks, true); }
Findings Left(Ticks time, int blocks) { return Lit(time, blocks, 0, false); }

TEST(Events, NoPeakWhereMoreThanHalfOfThePictureMoves) {
    const auto events = EventsOf(rules, {Seen(10, 20), Seen(20, 51), Seen(30, 50), Seen(40, 49)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 30);
    EXPECT_EQ(events[0].peakBlocks, 50);
    const auto crowded = EventsOf(rules, {Seen(10, 60), Seen(20, 70), Seen(30, 65)});
    ASSERT_EQ(crowded.size(), 1u);
    EXPECT_EQ(crowded[0].peak, 20) << "there is no other frame";
    const auto late = EventsOf(rules, {Seen(10, 90), Seen(20, 2), Seen(30, 3), Seen(40, 95)});
    ASSERT_EQ(late.size(), 1u);
    EXPECT_EQ(late[0].peak, 30);
    EXPECT_FALSE(late[0].flash) << "things do fill pictures";
}

// A zone of a third of the picture: what a flash lights in there is no half of it.
TEST(Events, NoPeakInAFlashNorInWhatFollows) {
    const auto events =
        EventsOf(rules, {Seen(10, 9), Flash(20, 33), Left(30, 32), Seen(40, 10), Left(flashAftermath + 20, 31)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 40);
    EXPECT_EQ(events[0].objects[0].box.x, 10);
    EXPECT_TRUE(events[0].flash);
    EXPECT_FALSE(events[0].onlyFlash);
    const auto later = EventsOf(rules, {Flash(20, 33), Left(flashAftermath + 21, 31)});
    ASSERT_EQ(later.size(), 1u);
    EXPECT_EQ(later[0].peak, flashAftermath + 21) << "so late, it is no aftermath";
}

TEST(Events, AFlashIsToldWhereItFallsBetweenFramesThatMove) {
    Findings balanced = Still(20);
    balanced.isFlash = true;
    const auto events = EventsOf(rules, {balanced, Seen(21, 3), Still(22), Seen(30, 3)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_FALSE(events[0].flash) << "it was before";
    const auto within = EventsOf(rules, {Seen(10, 3), balanced, Seen(30, 3)});
    ASSERT_EQ(within.size(), 1u);
    EXPECT_TRUE(within[0].flash);
    EXPECT_FALSE(within[0].onlyFlash);
    const auto after = EventsOf(rules, {Seen(10, 3), balanced, Still(30 * oneSecond), Seen(40 * oneSecond, 3)});
    ASSERT_EQ(after.size(), 2u);
    EXPECT_FALSE(after[0].flash);
    EXPECT_FALSE(after[1].flash);
}

TEST(Events, WhatConsistsOfFlashesIsDroppedWhereTheyAreIgnored) {
    EventRules blind = rules;
    blind.ignoreFlashes = true;
    const std::vector<Findings> flash = {Still(0), Flash(10, 90), Left(20, 80), Left(30, 3), Still(40)};
    ASSERT_EQ(EventsOf(rules, flash).size(), 1u);
    EXPECT_TRUE(EventsOf(rules, flash)[0].onlyFlash);
    EXPECT_TRUE(EventsOf(blind, flash).empty());
    EXPECT_EQ(EventsOf(blind, {Flash(10, 90), Left(20, 80), Seen(30, 3)}).size(), 1u) << "something moves";
    EXPECT_EQ(EventsOf(blind, {Seen(5, 3), Flash(10, 90), Left(20, 80)}).size(), 1u);
    EXPECT_EQ(EventsOf(blind, {Left(5, 3), Flash(10, 90), Left(20, 80)}).size(), 1u) << "not without a flash before";
    EXPECT_EQ(EventsOf(blind, {Flash(10, 90), Lit(20, 50, 5, false)}).size(), 1u) << "a tenth of what moves has changed";
    EXPECT_TRUE(EventsOf(blind, {Flash(10, 90), Lit(20, 50, 4, false)}).empty());
    EventLog log(blind);
    for (const Findings& frame : flash) {
        EXPECT_FALSE(log.Add(frame));
        EXPECT_EQ(log.Count(), 0);
    }
    log.Close();
    EXPECT_EQ(log.Flashes(), 1);
    EXPECT_EQ(log.Dropped(), 0) << "it was not too short";
}

TEST(Events, AGapOfExactlyTheMergeGapJoins) {
    EXPECT_EQ(EventsOf(rules, {Moving(0), Still(oneSecond), Still(2 * oneSecond), Moving(2 * oneSecond + 1)}).size(), 2u);
    EXPECT_EQ(EventsOf(rules, {Moving(0), Still(oneSecond), Moving(2 * oneSecond)}).size(), 1u);
    EXPECT_EQ(EventsOf(rules, {Moving(0), Still(2 * oneSecond), Still(2 * oneSecond + 1)}).size(), 1u);
}

TEST(Events, AnEventIsDeliveredAsSoonAsItIsOver) {
    EventLog log(rules);
    EXPECT_FALSE(log.Add(Moving(0)));
    EXPECT_FALSE(log.Add(Still(2 * oneSecond)));
    EXPECT_TRUE(log.Add(Still(2 * oneSecond + 1)));
    EXPECT_FALSE(log.Add(Still(9 * oneSecond)));
}

TEST(Events, WithoutMergeGapNeighbouringFramesStillBelongTogether) {
    const EventRules noGap{.mergeGap = 0, .minDuration = 0, .longestGap = oneSecond};
    EXPECT_EQ(EventsOf(noGap, {Moving(0), Moving(10), Moving(20)}).size(), 1u);
    EXPECT_EQ(EventsOf(noGap, {Moving(0), Still(10), Moving(20)}).size(), 2u);
}

TEST(Events, FramesFurtherApartThanTheLongestGapAreNeverOneEvent) {
    EXPECT_EQ(EventsOf(rules, {Moving(0), Moving(10 * oneSecond)}).size(), 1u);
    EXPECT_EQ(EventsOf(rules, {Moving(0), Moving(10 * oneSecond + 1)}).size(), 2u);
}

TEST(Events, ShortOnesAreDroppedAndCounted) {
    const EventRules second{.mergeGap = oneSecond, .minDuration = oneSecond, .longestGap = 10 * oneSecond};
    EventLog log(second);
    log.Add(Moving(0));
    log.Add(Moving(oneSecond - 1));
    EXPECT_EQ(log.Count(), 0);
    EXPECT_FALSE(log.Add(Still(3 * oneSecond)));
    EXPECT_EQ(log.Dropped(), 1);
    log.Add(Moving(4 * oneSecond));
    log.Add(Moving(5 * oneSecond));
    EXPECT_EQ(log.Count(), 1) << "long enough while it still runs";
    const std::optional<Event> event = log.Close();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->start, 4 * oneSecond);
    EXPECT_EQ(log.Count(), 1);
    EXPECT_EQ(log.Dropped(), 1);
}

TEST(Events, ACutEventIsToldHoweverShortWithItsWholePostRoll) {
    EventLog log({.mergeGap = 2 * oneSecond,
                  .minDuration = 5 * oneSecond,
                  .longestGap = 10 * oneSecond,
                  .preRoll = oneSecond,
                  .postRoll = oneSecond});
    log.Add(Still(0));
    log.Add(Moving(3 * oneSecond));
    log.Add(Moving(4 * oneSecond));
    const std::optional<Event> event = log.Cut();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->start, 2 * oneSecond);
    EXPECT_EQ(event->end, 5 * oneSecond) << "what is seen then, others know";
    EXPECT_EQ(event->motion.start, 3 * oneSecond);
    EXPECT_EQ(event->motion.end, 4 * oneSecond);
    EXPECT_FALSE(log.Cut());
}

TEST(Events, WhatMayBeTheRestOfAnEventIsToldHoweverShort) {
    EventRules part{.mergeGap = oneSecond, .minDuration = 5 * oneSecond, .longestGap = 10 * oneSecond};
    part.joinsBefore = 3 * oneSecond;
    const auto events = EventsOf(part, {Moving(2 * oneSecond), Still(4 * oneSecond), Moving(5 * oneSecond)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].start, 2 * oneSecond);
}

EventRules WithRolls(Ticks pre, Ticks post) {
    EventRules rolled = rules;
    rolled.preRoll = pre;
    rolled.postRoll = post;
    return rolled;
}

TEST(Events, RollsWidenAnEventAsFarAsThereIsSomethingToSee) {
    constexpr Ticks s = oneSecond;
    const auto inside = EventsOf(WithRolls(s, 2 * s), {Still(0), Moving(5 * s), Still(9 * s), Still(12 * s)});
    ASSERT_EQ(inside.size(), 1u);
    EXPECT_EQ(inside[0].start, 4 * s);
    EXPECT_EQ(inside[0].end, 7 * s);
    EXPECT_EQ(inside[0].peak, 5 * s);
    const auto edges = EventsOf(WithRolls(9 * s, 9 * s), {Still(3 * s), Moving(5 * s), Still(6 * s)});
    ASSERT_EQ(edges.size(), 1u);
    EXPECT_EQ(edges[0].start, 3 * s) << "the first frame";
    EXPECT_EQ(edges[0].end, 6 * s) << "the last frame";
    const auto holes = EventsOf(WithRolls(9 * s, 9 * s), {Moving(0), Still(s), Moving(50 * s), Still(51 * s)});
    ASSERT_EQ(holes.size(), 2u);
    EXPECT_EQ(holes[0].end, s) << "not into the hole";
    EXPECT_EQ(holes[1].start, 50 * s) << "not into the hole";
}

TEST(Events, EventsWhoseRollsOverlapAreOne) {
    constexpr Ticks s = oneSecond;
    const std::vector<Findings> frames = {Moving(s), Still(2 * s), Still(5 * s), Moving(7 * s), Still(8 * s), Still(16 * s)};
    EXPECT_EQ(EventsOf(rules, frames).size(), 2u);
    EXPECT_EQ(EventsOf(WithRolls(3 * s, 3 * s), frames).size(), 1u);
    const auto apart = EventsOf(WithRolls(2 * s, 3 * s), frames);
    ASSERT_EQ(apart.size(), 2u);
    EXPECT_LE(apart[0].end, apart[1].start);
}

TEST(Events, ADurationIsMeasuredWithoutRolls) {
    EventRules second = WithRolls(oneSecond, oneSecond);
    second.minDuration = oneSecond;
    EXPECT_TRUE(EventsOf(second, {Still(0), Moving(2 * oneSecond), Still(9 * oneSecond)}).empty());
}

TEST(Events, FramesWithFewMovingBlocksAreStill) {
    EventRules five = rules;
    five.minBlocks = 5;
    const auto events = EventsOf(five, {Moving(10, 4), Moving(20, 5), Moving(30, 9), Moving(40, 4)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].start, 20);
    EXPECT_EQ(events[0].end, 30);
    EXPECT_EQ(events[0].frames, 2);
}

TEST(Events, TheTrackIsTheLargestObjects) {
    const Findings pair{20, {{Box{7, 1, 1, 1}, 4}, {Box{2, 2, 2, 2}, 3}}};
    const auto events = EventsOf(rules, {Moving(10, 3), pair, Still(30), Moving(40, 5)});
    ASSERT_EQ(events.size(), 1u);
    ASSERT_EQ(events[0].track.size(), 3u);
    EXPECT_EQ(events[0].track[1].time, 20);
    EXPECT_EQ(events[0].track[1].box.x, 7);
    EXPECT_EQ(events[0].track[2].box.x, 5);
}

TEST(Events, ALongTrackIsThinnedEvenly) {
    for (const int length : {255, 256, 257, 512, 513, 514, 5000}) {
        std::vector<Findings> frames;
        for (int i = 0; i < length; ++i) {
            frames.push_back(Moving(i));
        }
        const auto events = EventsOf(rules, frames);
        ASSERT_EQ(events.size(), 1u);
        const std::vector<TrackPoint>& track = events[0].track;
        ASSERT_LE(track.size(), longestTrack) << length;
        ASSERT_GE(2 * track.size() + 1, std::min<std::size_t>(longestTrack, static_cast<std::size_t>(length))) << length;
        for (std::size_t i = 0; i < track.size(); ++i) {
            ASSERT_EQ(track[i].time, static_cast<Ticks>(i) * events[0].trackStep) << length;
        }
    }
}

TEST(Events, ThePeakIsKnownWhenItIsThere) {
    EventLog log(rules);
    log.Add(Still(0));
    EXPECT_FALSE(log.PeaksNow());
    log.Add(Moving(1, 3));
    EXPECT_TRUE(log.PeaksNow());
    log.Add(Moving(2, 3));
    EXPECT_FALSE(log.PeaksNow());
    log.Add(Moving(3, 4));
    EXPECT_TRUE(log.PeaksNow());
    EXPECT_TRUE(log.Add(Moving(4 + 20 * oneSecond, 1))) << "one is over, the next begins";
    EXPECT_TRUE(log.PeaksNow());
}

TEST(Events, TheRunningEventReachesAsFarAsItsRolls) {
    EventLog log({.mergeGap = 2 * oneSecond,
                  .minDuration = 0,
                  .longestGap = 10 * oneSecond,
                  .preRoll = 5 * oneSecond,
                  .postRoll = oneSecond});
    log.Add(Still(3 * oneSecond));
    EXPECT_FALSE(log.Running());
    log.Add(Moving(4 * oneSecond));
    log.Add(Moving(6 * oneSecond));
    log.Add(Still(7 * oneSecond));
    ASSERT_TRUE(log.Running());
    EXPECT_EQ(log.Running()->start, 3 * oneSecond) << "there was nothing before";
    EXPECT_EQ(log.Running()->end, 7 * oneSecond);
    log.Close();
    EXPECT_FALSE(log.Running());
}

TEST(Events, ZonesAreThoseOfAllFrames) {
    Findings first = Moving(10), second = Moving(20, 9);
    first.objects[0].zones = 0b01;
    second.objects[0].zones = 0b100;
    const auto events = EventsOf(rules, {first, second});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].zones, 0b101u);
}

TEST(Events, AfterCloseANewEventStarts) {
    EventLog log(rules);
    log.Add(Moving(0, 9));
    ASSERT_TRUE(log.Close());
    log.Add(Moving(1, 2));
    const std::optional<Event> event = log.Close();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->start, 1);
    EXPECT_EQ(event->peakBlocks, 2);
    EXPECT_EQ(event->frames, 1);
}

}  // namespace
}  // namespace Video
