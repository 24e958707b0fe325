// Are times of day found in a recording, across midnight too, and is a range that cannot be refused?
#include "video/time/TimeRange.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {
namespace {

constexpr Ticks hour = 3600 * oneSecond;

RangeEdge Seconds(double seconds) {
    return {.kind = RangeEdge::Kind::Elapsed, .at = FromSeconds(seconds), .text = std::to_string(seconds)};
}

// In UTC, whatever the zone of the machine that tests.
TimeRange Range(const char* from, const char* to) {
    const auto edge = [](const char* text) { return *text ? ParseClockEdge(text) : std::nullopt; };
    return {edge(from), edge(to)};
}

StartTime Started(const char* text) { return {*ParseWallTime(text), ClockSource::Given}; }

// Parts of the recording's first so many hours, in hours.
std::vector<std::pair<double, double>> Parts(const TimeRange& range, const StartTime& clock, double hours) {
    std::vector<std::pair<double, double>> parts;
    for (Ticks time = 0; time < static_cast<Ticks>(hours * hour);) {
        const std::optional<RecordingPart> part = PartBehind(range, clock, time);
        if (!part) {
            break;
        }
        parts.emplace_back(ToSeconds(part->start) / 3600, ToSeconds(part->end) / 3600);
        time = part->end;
    }
    return parts;
}

using Pairs = std::vector<std::pair<double, double>>;

TEST(TimeRange, TimesOfDayAreRead) {
    const std::optional<RangeEdge> plain = ParseClockEdge("T22:30"), fine = ParseClockEdge("T06:00:15.25Z"),
                                   ahead = ParseClockEdge("T00:00:00-01:30");
    ASSERT_TRUE(plain && fine && ahead);
    EXPECT_EQ(plain->at, 22 * hour + hour / 2);
    EXPECT_FALSE(plain->offset);
    EXPECT_EQ(fine->at, 6 * hour + 15 * oneSecond + oneSecond / 4);
    EXPECT_EQ(fine->offset, 0);
    EXPECT_EQ(ahead->offset, -hour - hour / 2);
    EXPECT_EQ(ParseClockEdge("T24:00")->at, 24 * hour);
    EXPECT_EQ(ParseClockEdge("2026-03-01T22:30:00Z")->kind, RangeEdge::Kind::Moment);
    for (const char* wrong :
         {"", "T", "T2", "T22", "T22:", "T22:60", "T25:00", "T24:01", "T22:30:", "T22:30:60", "T22:30:15.", "T22:30x",
          "T22:30+1", "T22:30+01", "T22:30+24:00", "T22:30Zz", "22:30", "T-1:30", "T1e400"}) {
        EXPECT_FALSE(ParseClockEdge(wrong)) << wrong;
    }
}

TEST(TimeRange, SecondsAreThoseOfTheRecording) {
    const TimeRange both{Seconds(10), Seconds(20)}, later{Seconds(10), {}}, earlier{{}, Seconds(20)};
    EXPECT_EQ(PartBehind(both, {}, 0)->start, 10 * oneSecond);
    EXPECT_EQ(PartBehind(both, {}, 0)->end, 20 * oneSecond);
    EXPECT_TRUE(PartBehind(both, {}, 20 * oneSecond - 1));
    EXPECT_FALSE(PartBehind(both, {}, 20 * oneSecond));
    EXPECT_TRUE(PartBehind(later, {}, 1'000'000 * oneSecond));
    EXPECT_EQ(PartBehind(earlier, {}, 0)->start, 0);
    EXPECT_FALSE(both.WantsClock());
    EXPECT_TRUE(TimeRange{}.IsAll());
}

TEST(TimeRange, EveryNightIsAPart) {
    const TimeRange night = Range("T22:00Z", "T06:00Z");
    EXPECT_EQ(Parts(night, Started("2026-03-01T12:00:00Z"), 48), (Pairs{{10, 18}, {34, 42}, {58, 66}}));
    EXPECT_EQ(Parts(night, Started("2026-03-01T23:00:00Z"), 8), (Pairs{{-1, 7}, {23, 31}}));
    EXPECT_EQ(Parts(night, Started("2026-03-01T05:00:00Z"), 2), (Pairs{{-7, 1}, {17, 25}}));
    EXPECT_EQ(Parts(night, Started("1969-12-30T21:00:00Z"), 1), (Pairs{{1, 9}}))
        << "days before 1970 begin at midnight, too";
    const TimeRange day = Range("T06:00Z", "T22:00Z");
    EXPECT_EQ(Parts(day, Started("2026-03-01T12:00:00Z"), 24), (Pairs{{-6, 10}, {18, 34}}));
    EXPECT_EQ(Parts(Range("T22:00Z", ""), Started("2026-03-01T12:00:00Z"), 24), (Pairs{{10, 12}, {34, 36}}));
    EXPECT_EQ(Parts(Range("", "T06:00Z"), Started("2026-03-01T12:00:00Z"), 24), (Pairs{{12, 18}, {36, 42}}));
    EXPECT_EQ(Parts(Range("T06:00+02:00", "T22:00+02:00"), Started("2026-03-01T12:00:00Z"), 5), (Pairs{{-8, 8}}));
}

TEST(TimeRange, ATimeWithoutAZoneIsTheRecordings) {
    StartTime clock = Started("2026-03-01T12:00:00Z");
    clock.offset = 3 * hour;
    EXPECT_EQ(Parts(Range("T16:00", "T17:00"), clock, 3), (Pairs{{1, 2}, {25, 26}}));
    clock.offset.reset();
    const double local = ToSeconds(LocalOffset(clock.at)) / 3600;
    const auto parts = Parts(Range("T12:00", "T13:00"), clock, 24);
    ASSERT_FALSE(parts.empty());
    EXPECT_TRUE(parts[0].first == -local || parts[0].first == 24 - local);
}

TEST(TimeRange, OneDayIsOnePart) {
    const TimeRange once = Range("2026-03-01T22:00:00Z", "2026-03-02T06:00:00Z");
    EXPECT_EQ(Parts(once, Started("2026-03-01T12:00:00Z"), 100), (Pairs{{10, 18}}));
    EXPECT_TRUE(Parts(once, Started("2026-03-02T12:00:00Z"), 100).empty());
    EXPECT_TRUE(once.WantsClock());
    EXPECT_EQ(once.Text(), "--from 2026-03-01T22:00:00Z --to 2026-03-02T06:00:00Z");
    EXPECT_EQ(Range("", "T06:00").Text(), "--to T06:00");
}

TEST(TimeRange, WhatCannotBeIsSaid) {
    EXPECT_EQ(Trouble({}), "");
    EXPECT_EQ(Trouble(Range("T22:00", "T06:00")), "");
    EXPECT_NE(Trouble(Range("T22:00", "T22:00")), "");
    EXPECT_NE(Trouble(Range("T22:00Z", "T06:00")), "");
    EXPECT_NE(Trouble({Seconds(20), Seconds(20)}), "");
    EXPECT_NE(Trouble({Seconds(20), ParseClockEdge("T06:00")}), "");
    EXPECT_NE(Trouble(Range("2026-03-02T22:00:00Z", "2026-03-01T22:00:00Z")), "");
}

}  // namespace
}  // namespace Video
