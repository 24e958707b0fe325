// Do frames become the right events?
#include "Events.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

namespace Scan {
namespace {

constexpr EventRules rules{.mergeGap = 2 * oneSecond, .minDuration = 0, .longestGap = 10 * oneSecond};

Findings Moving(Ticks time, int blocks = 1) {
    return {time, {{Box{blocks, 0, 8, 8}, blocks}}};
}

Findings Still(Ticks time) {
    return {time, {}};
}

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

TEST(Events, PeakIsTheFirstFrameWithTheMostMovingBlocks) {
    const auto events = EventsOf(rules, {Moving(10, 3), Moving(20, 7), Moving(30, 7), Moving(40, 5)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 20);
    EXPECT_EQ(events[0].peakBlocks, 7);
    ASSERT_EQ(events[0].objects.size(), 1u);
    EXPECT_EQ(events[0].objects[0].box.x, 7);
}

TEST(Events, BlocksOfAllObjectsCountTowardsThePeak) {
    Findings pair{20, {{Box{1, 1, 1, 1}, 4}, {Box{2, 2, 2, 2}, 4}}};
    const auto events = EventsOf(rules, {Moving(10, 7), pair, Moving(30, 7)});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].peak, 20);
    EXPECT_EQ(events[0].peakBlocks, 8);
    EXPECT_EQ(events[0].objects.size(), 2u);
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
}  // namespace Scan
