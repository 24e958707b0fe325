// Is a record that was read from a line the one that was written?  Whatever it holds: processes and runs hand on no more.
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "SeededRandom.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "video/base/Box.h"
#include "video/base/Clip.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"

namespace Scan {
namespace {

// Records as no scan makes them: names of any bytes, times before the start, years without four digits.
class HostileRecords {
public:
    explicit HostileRecords(std::uint64_t seed) : _random(seed) {}

    Record Any() {
        switch (_random.Below(4)) {
            case 0: return Event();
            case 1: return FrameRecord{Name(), {Number(), Yes()}, Time(), Boxes()};
            case 2: {
                ConditionRecord condition{.file = Name(), .kind = Kind(), .start = Time(), .end = Time()};
                if (Yes()) {
                    condition.wall = {WallTime(), WallTime()};
                }
                return condition;
            }
            default: {
                GapRecord gap{.file = Name(), .start = Time(), .end = Time(), .reason = Name()};
                if (Yes()) {
                    gap.wall = {WallTime(), WallTime()};
                }
                return gap;
            }
        }
    }

private:
    EventRecord Event() {
        EventRecord event{.file = Name(),
                          .number = Int(),
                          .start = Time(),
                          .end = Time(),
                          .peak = Time(),
                          .startFrame = Number(),
                          .endFrame = Number(),
                          .peakFrame = Number(),
                          .frameExact = Yes(),
                          .frames = Int(),
                          .blocks = Int(),
                          .flash = Yes(),
                          .thumbnail = Name(),
                          .boxes = Boxes()};
        if (Yes()) {
            event.wall = {WallTime(), WallTime(), WallTime()};
        }
        if (Yes()) {
            event.zones.emplace();
            for (int i = _random.Below(3); i > 0; --i) {
                event.zones->push_back(Name());
            }
        }
        if (Yes()) {
            event.clip = Video::Clip{Name(), Time()};
        }
        if (Yes()) {
            event.track.emplace();
            for (int i = _random.Below(4); i > 0; --i) {
                event.track->push_back({Time(), Box()});
            }
        }
        return event;
    }

    bool Yes() { return _random.OneIn(2); }
    int Int() { return static_cast<int>(Number()); }

    // Of any size, either sign.
    std::int64_t Number() { return static_cast<std::int64_t>(_random.Next()) >> _random.Below(64); }

    Video::Ticks Time() { return Number(); }
    Video::WallTicks WallTime() { return Number(); }

    Video::ConditionKind Kind() {
        return static_cast<Video::ConditionKind>(_random.Below(static_cast<int>(Video::conditionNames.size())));
    }

    std::string Name() {
        const char* const names[] = {
            "", "a b.mp4", "\"quoted\"\\", "two\nlines\r", "</script>", "{\"type\":\"event\"", "\xc3\xa9t\xc3\xa9"};
        if (Yes()) {
            return _random.Pick(names);
        }
        std::string bytes;
        for (int i = _random.Below(12); i > 0; --i) {
            bytes += static_cast<char>(_random.Byte());
        }
        return bytes;
    }

    Video::Box Box() { return {Int(), Int(), Int(), Int()}; }

    std::vector<BoxRecord> Boxes() {
        std::vector<BoxRecord> boxes;
        for (int i = _random.Below(4); i > 0; --i) {
            boxes.push_back({Box(), _random.Below(1000)});
        }
        return boxes;
    }

    Kit::SeededRandom _random;
};

TEST(RecordJson, ARecordComesBackAsItWasTold) {
    HostileRecords records(1);
    for (int i = 0; i < 20'000; ++i) {
        const Record sent = records.Any();
        const std::string line = LineOf(sent);
        ASSERT_EQ(line.find('\n'), std::string::npos) << "a message is one line: " << line;
        const Record got = RecordOfLine(line);
        ASSERT_EQ(got.index(), sent.index()) << line;
        ASSERT_EQ(LineOf(got), line) << "record " << i;
    }
}

TEST(RecordJson, TimesInMillisecondsAndTextsComeBackToTheTick) {
    const EventRecord sent{.file = "a/b.mp4",
                           .number = 3,
                           .start = 12'340'000,
                           .end = 98'760'000,
                           .peak = 50'000'000,
                           .wall = EventRecord::WallTimes{17'723'448'000'010'000, 17'723'448'000'020'000, -30'000},
                           .startFrame = 5'000'000'000,
                           .endFrame = 5'000'000'001,
                           .peakFrame = 5'000'000'002,
                           .frameExact = false,
                           .frames = 17,
                           .blocks = 99,
                           .zones = {{"gate", "road"}},
                           .thumbnail = "t.jpg",
                           .clip = Video::Clip{"c.mp4", -8'000'000},
                           .boxes = {{{1, 2, 3, 4}, 5}},
                           .track = {{{15'000'000, {6, 7, 8, 9}}}}};
    const auto got = std::get<EventRecord>(RecordOfLine(LineOf(sent)));
    EXPECT_EQ(got.file, sent.file);
    EXPECT_EQ(got.number, 3);
    EXPECT_EQ(got.start, sent.start);
    EXPECT_EQ(got.end, sent.end);
    EXPECT_EQ(got.peak, sent.peak);
    ASSERT_TRUE(got.wall);
    EXPECT_EQ(got.wall->start, sent.wall->start);
    EXPECT_EQ(got.wall->end, sent.wall->end);
    EXPECT_EQ(got.wall->peak, sent.wall->peak);
    EXPECT_EQ(got.startFrame, sent.startFrame);
    EXPECT_EQ(got.endFrame, sent.endFrame);
    EXPECT_EQ(got.peakFrame, sent.peakFrame);
    EXPECT_FALSE(got.frameExact);
    EXPECT_EQ(got.frames, 17);
    EXPECT_EQ(got.blocks, 99);
    EXPECT_EQ(got.zones, sent.zones);
    EXPECT_EQ(got.thumbnail, "t.jpg");
    ASSERT_TRUE(got.clip);
    EXPECT_EQ(got.clip->path, "c.mp4");
    EXPECT_EQ(got.clip->start, -8'000'000);
    ASSERT_EQ(got.boxes.size(), 1u);
    EXPECT_EQ(got.boxes[0].box.height, 4);
    EXPECT_EQ(got.boxes[0].blocks, 5);
    ASSERT_TRUE(got.track);
    ASSERT_EQ(got.track->size(), 1u);
    EXPECT_EQ(got.track->front().time, 15'000'000);
    EXPECT_EQ(got.track->front().box.x, 6);
}

TEST(RecordJson, AConditionComesBackToTheTick) {
    const ConditionRecord sent{.file = "a/b.mp4",
                               .kind = Video::ConditionKind::TooDark,
                               .start = 12'340'000,
                               .end = 98'760'000,
                               .wall = ConditionRecord::WallTimes{17'723'448'000'010'000, -30'000}};
    const auto got = std::get<ConditionRecord>(RecordOfLine(LineOf(sent)));
    EXPECT_EQ(got.file, sent.file);
    EXPECT_EQ(got.kind, sent.kind);
    EXPECT_EQ(got.start, sent.start);
    EXPECT_EQ(got.end, sent.end);
    ASSERT_TRUE(got.wall);
    EXPECT_EQ(got.wall->start, sent.wall->start);
    EXPECT_EQ(got.wall->end, sent.wall->end);
    EXPECT_FALSE(std::get<ConditionRecord>(RecordOfLine(LineOf(ConditionRecord{}))).wall);
}

TEST(RecordJson, TheOutermostTimesComeBack) {
    using Limits = std::numeric_limits<Video::Ticks>;
    for (const Video::Ticks time : {Limits::max(), Limits::max() - 7'000, Limits::max() - 20'000, Limits::min(),
                                    Limits::min() + 7'000, Limits::min() + 20'000}) {
        const EventRecord sent{.start = time, .end = time, .peak = time, .wall = EventRecord::WallTimes{time, time, time}};
        const auto got = std::get<EventRecord>(RecordOfLine(LineOf(sent)));
        EXPECT_EQ(LineOf(got), LineOf(sent));
        EXPECT_NEAR(static_cast<double>(got.start), static_cast<double>(time), 10'000) << time;
        EXPECT_NEAR(static_cast<double>(got.wall->start), static_cast<double>(time), 10'000) << time;
    }
    const std::string line = LineOf(GapRecord{.start = Limits::max()});
    const std::string outermost = "922337203685.478";
    ASSERT_NE(line.find(outermost), std::string::npos) << line;
    EXPECT_THROW(RecordOfLine(std::string(line).replace(line.find(outermost), outermost.size(), "922337203685.479")),
                 std::exception);
}

TEST(RecordJson, WhatIsNotToldDiffersFromNothing) {
    const auto none = std::get<EventRecord>(RecordOfLine(LineOf(EventRecord{})));
    EXPECT_FALSE(none.zones);
    EXPECT_FALSE(none.track);
    const EventRecord empty{.zones = std::vector<std::string>{}, .track = std::vector<Video::TrackPoint>{}};
    const auto told = std::get<EventRecord>(RecordOfLine(LineOf(empty)));
    EXPECT_TRUE(told.zones);
    EXPECT_TRUE(told.track);
}

TEST(RecordJson, WhatIsNoRecordIsRefused) {
    const std::string gap = LineOf(GapRecord{.wall = GapRecord::WallTimes{0, 0}, .reason = "why"});
    EXPECT_NO_THROW(RecordOfLine(gap));
    const auto with = [&](const std::string& old, const std::string& other) {
        std::string line = gap;
        return line.replace(line.find(old), old.size(), other);
    };
    for (const std::string& line :
         {std::string(), std::string("{}"), std::string("[]"), std::string("no JSON"), std::string(R"({"type":"event"})"),
          with("gap", "zone"), with("\"start\":0.0", "\"start\":1e300"), with("\"start\":0.0", "\"start\":\"0\""),
          with("1970-01-01T", "1970-02-30T"), with("1970-01-01T", "99999999-01-01T"), with("1970-01-01T", "yesterday"),
          std::string(R"({"type":"condition","condition":"boredom","start":0.0,"end":1.0})"),
          std::string(R"({"type":"condition","start":0.0,"end":1.0})")}) {
        EXPECT_THROW(RecordOfLine(line), std::exception) << line;
    }
}

}  // namespace
}  // namespace Scan
