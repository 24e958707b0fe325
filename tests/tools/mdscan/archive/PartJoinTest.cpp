// Do parts of a video become what one scan of it tells, whatever lies at their borders?
#include "archive/PartJoin.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Scan {
namespace {

using Video::oneSecond;
using Video::Ticks;

constexpr Ticks period = oneSecond / 5;

// Two parts of a hundred seconds each, five pictures a second, all of them analysed.
class PartJoinTest : public testing::Test {
protected:
    ScanSettings scan = {};

    void SetUp() override { scan.minDuration = 1; }

    // An event that may go on. Seconds of the video; the peak's largest object has so many blocks.
    static EventRecord Piece(double start, double end, bool goesOn, int blocks = 10) {
        EventRecord event = Whole(start, end, blocks);
        event.seam = {{event.start, event.end}, goesOn, true, false};
        return event;
    }
    static EventRecord Whole(double start, double end, int blocks = 10) {
        const Ticks first = Video::FromSeconds(start), last = Video::FromSeconds(end);
        const std::int64_t before = start < 100 ? 0 : 500;
        return {.number = 1,
                .start = first,
                .end = last,
                .peak = first,
                .startFrame = first / period - before,
                .endFrame = last / period - before,
                .peakFrame = first / period - before,
                .frames = static_cast<int>((last - first) / period) + 1,
                .blocks = blocks,
                .boxes = {{{blocks, 0, 8, 8}, blocks}}};
    }

    RecalledInput Joined(std::vector<Record> first, std::vector<Record> second) {
        PartJoin join(scan);
        join.Add({.to = 100 * oneSecond}, Found(0, std::move(first)));
        join.Add({.learn = 84 * oneSecond, .from = 100 * oneSecond}, Found(100 * oneSecond, std::move(second)));
        return join.Finish();
    }

    static RecalledInput Found(Ticks from, std::vector<Record> records) {
        RecalledInput found{{}, std::move(records), {}};
        found.result.tally.pictures = found.result.tally.analysed = 500;
        found.result.tally.length = 100 * oneSecond;
        found.result.edges = {from, from + 100 * oneSecond - period, 2 * oneSecond};
        return found;
    }

    static std::vector<EventRecord> Events(const RecalledInput& input) {
        std::vector<EventRecord> events;
        for (const Record& record : input.records) {
            if (const auto* event = std::get_if<EventRecord>(&record)) {
                events.push_back(*event);
            }
        }
        EXPECT_EQ(input.result.tally.events, static_cast<int>(events.size()));
        return events;
    }
};

TEST_F(PartJoinTest, PicturesAndTimesCountFromTheVideo) {
    const RecalledInput input =
        Joined({Whole(10, 12)}, {FrameRecord{{}, {7, true}, 1014 * oneSecond / 10, {}}, Whole(150, 152)});
    EXPECT_EQ(input.result.tally.pictures, 1000);
    EXPECT_EQ(input.result.tally.analysed, 1000);
    EXPECT_EQ(input.result.tally.length, 200 * oneSecond);
    const std::vector<EventRecord> events = Events(input);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].number, 2);
    EXPECT_EQ(events[1].startFrame, 750);
    EXPECT_EQ(events[1].endFrame, 760);
    EXPECT_EQ(std::get<FrameRecord>(input.records[1]).picture.number, 507);
}

TEST_F(PartJoinTest, WhatGoesOnIsOneWithItsHigherPeak) {
    const std::vector<EventRecord> events = Events(Joined({Piece(90, 99.8, true)}, {Piece(101, 120, false, 12)}));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].start, 90 * oneSecond);
    EXPECT_EQ(events[0].end, 120 * oneSecond);
    EXPECT_EQ(events[0].startFrame, 450);
    EXPECT_EQ(events[0].endFrame, 600);
    EXPECT_EQ(events[0].peakFrame, 505);
    EXPECT_EQ(events[0].blocks, 12);
    EXPECT_EQ(events[0].frames, 50 + 96);
    EXPECT_FALSE(events[0].seam) << "nobody's business";
    EXPECT_EQ(Events(Joined({Piece(90, 99.8, true)}, {Piece(101, 120, false)}))[0].peakFrame, 450) << "the first of equals";
}

// By the gap, from frame to frame; without one in between, whatever the gap.
TEST_F(PartJoinTest, TheGapDecides) {
    EXPECT_EQ(Events(Joined({Piece(90, 99, true)}, {Piece(101, 103, false)})).size(), 1u);
    EXPECT_EQ(Events(Joined({Piece(90, 99, true)}, {Piece(101.2, 103, false)})).size(), 2u);
    EXPECT_EQ(Events(Joined({Piece(90, 95, false)}, {Piece(101, 103, false)})).size(), 2u);
    scan.mergeGap = 0;
    EXPECT_EQ(Events(Joined({Piece(90, 99.8, true)}, {Piece(100, 103, false)})).size(), 1u);
    EXPECT_EQ(Events(Joined({Piece(90, 99.8, true)}, {Piece(100.2, 103, false)})).size(), 2u);
    EXPECT_EQ(Events(Joined({Piece(90, 99.6, true)}, {Piece(100, 103, false)})).size(), 2u);
}

TEST_F(PartJoinTest, ShortPiecesCountOnlyTogether) {
    const RecalledInput apart = Joined({Piece(99.2, 99.4, true)}, {Piece(101.8, 102, false)});
    EXPECT_TRUE(Events(apart).empty());
    EXPECT_EQ(apart.result.tally.dropped, 2);
    const RecalledInput together = Joined({Piece(99.4, 99.8, true)}, {Piece(100, 100.4, false)});
    ASSERT_EQ(Events(together).size(), 1u);
    EXPECT_EQ(Events(together)[0].frames, 6);
    EXPECT_EQ(together.result.tally.dropped, 0);
}

// Records of the pictures during an event, and of a condition that ends before it, stand before its own.
TEST_F(PartJoinTest, WhatIsToldMeanwhileDoesNotCutIt) {
    const auto frame = [](double time) { return FrameRecord{{}, {7, true}, Video::FromSeconds(time), {}}; };
    const ConditionRecord light{
        .kind = Video::ConditionKind::Light, .start = Video::FromSeconds(104), .end = Video::FromSeconds(108)};
    const std::vector<EventRecord> events =
        Events(Joined({Piece(90, 99.8, true)}, {frame(103), light, Piece(100, 120, false), Whole(150, 152)}));
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].start, 90 * oneSecond);
    EXPECT_EQ(events[0].end, 120 * oneSecond);
    const RecalledInput over = Joined({Piece(90, 99.8, true)}, {frame(103), Whole(150, 152)});
    ASSERT_EQ(Events(over).size(), 2u);
    EXPECT_TRUE(std::holds_alternative<EventRecord>(over.records[1])) << "told as soon as it was over";
}

TEST_F(PartJoinTest, AnEventMayReachThroughSeveralParts) {
    PartJoin join(scan);
    const auto part = [&](int number, const EventRecord& event) {
        const Ticks from = number * 100 * oneSecond;
        JobPart its{.learn = from, .from = from, .to = from + 100 * oneSecond};
        join.Add(its, Found(from, {event}));
    };
    part(0, Piece(90, 99.8, true));
    part(1, Piece(100, 199.8, true));
    part(2, Piece(200, 299.8, true));
    part(3, Piece(300, 310, false));
    const std::vector<EventRecord> events = Events(join.Finish());
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].start, 90 * oneSecond);
    EXPECT_EQ(events[0].end, 310 * oneSecond);
}

TEST_F(PartJoinTest, ZonesAreThoseOfBothInTheirOrder) {
    scan.zones = {{.name = "gate"}, {.name = "door"}, {.name = "yard"}};
    EventRecord first = Piece(90, 99.8, true), second = Piece(100, 110, false);
    first.zones = {"yard"};
    second.zones = {"gate", "yard"};
    EXPECT_EQ(Events(Joined({first}, {second}))[0].zones, (std::vector<std::string>{"gate", "yard"}));
}

// Told when they are over, as one scan does.
TEST_F(PartJoinTest, ConditionsGoOn) {
    const auto condition = [](Video::ConditionKind kind, double start, double end) {
        return ConditionRecord{.kind = kind, .start = Video::FromSeconds(start), .end = Video::FromSeconds(end)};
    };
    const auto dark = Video::ConditionKind::TooDark, rain = Video::ConditionKind::Rain;
    const RecalledInput input = Joined({condition(rain, 50, 60), condition(rain, 80, 99.8), condition(dark, 90, 99.8)},
                                       {Whole(110, 120), condition(dark, 100, 130)});
    std::vector<std::pair<Ticks, Ticks>> spans;
    for (const Record& record : input.records) {
        if (const auto* told = std::get_if<ConditionRecord>(&record)) {
            spans.emplace_back(told->start / oneSecond, told->end / oneSecond);
        }
    }
    EXPECT_EQ(spans, (std::vector<std::pair<Ticks, Ticks>>{{50, 60}, {90, 130}, {80, 99}}));
}

TEST_F(PartJoinTest, ThePictureIsThatOfThePeakAndGroundsAddUp) {
    PartJoin join(scan);
    RecalledInput first = Found(0, {Piece(90, 99.8, true)}), second = Found(100 * oneSecond, {Piece(100, 110, false, 12)});
    first.pictures = {EventPicture{1, "low", {{90 * oneSecond, {}}}}, GroundPicture{{{8, 8, 8, 1, 1}, {3}, 500}}};
    second.pictures = {EventPicture{1, "high", {{100 * oneSecond, {}}}}, GroundPicture{{{8, 8, 8, 1, 1}, {4}, 500}}};
    join.Add({.to = 100 * oneSecond}, std::move(first));
    join.Add({.from = 100 * oneSecond}, std::move(second));
    const RecalledInput input = join.Finish();
    ASSERT_EQ(input.pictures.size(), 2u);
    EXPECT_EQ(std::get<EventPicture>(input.pictures[0]).jpeg, "high");
    EXPECT_EQ(std::get<EventPicture>(input.pictures[0]).track.size(), 2u);
    EXPECT_EQ(std::get<GroundPicture>(input.pictures[1]).heat.counts[0], 7u);
    EXPECT_EQ(std::get<GroundPicture>(input.pictures[1]).heat.frames, 1000u);
}

TEST_F(PartJoinTest, DamageOfOnePartIsTheVideos) {
    PartJoin join(scan);
    RecalledInput first = Found(0, {}), second = Found(100 * oneSecond, {Whole(150, 152)});
    first.result.health = Health::Damaged;
    first.result.trouble = "damaged near 9 s";
    join.Add({.to = 100 * oneSecond}, std::move(first));
    join.Add({.from = 100 * oneSecond}, std::move(second));
    const RecalledInput input = join.Finish();
    EXPECT_EQ(input.result.health, Health::Damaged);
    EXPECT_EQ(input.result.trouble, "damaged near 9 s");
    EXPECT_FALSE(Events(input)[0].frameExact) << "pictures before may be missing";
}

}  // namespace
}  // namespace Scan
