// Are the printed lines what a reader of JSON expects?
#include "results/JsonLines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "results/JobResult.h"
#include "results/Records.h"
#include "video/base/Box.h"
#include "video/base/Clip.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/base/Tally.h"
#include "video/time/PictureNumbers.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"
#include "video/watch/Events.h"

namespace Scan {
namespace {

Video::Event AnEvent(std::size_t objects) {
    Video::Event event{
        .start = 12'345'678, .end = 98'765'432, .peak = 50'000'000, .frames = 17, .peakBlocks = 99, .objects = {}};
    for (std::size_t i = 0; i < objects; ++i) {
        event.objects.push_back({Video::Box{static_cast<int>(i), 2, 30, 40}, 5});
    }
    return event;
}

TEST(JsonLines, AnEventLineHoldsAllFieldsInOrder) {
    EXPECT_EQ(
        LineOf(RecordOf("", 3, AnEvent(1), {.start = {10, true}, .end = {79, true}, .peak = {40, true}})),
        R"({"type":"event","event":3,"start":1.235,"end":9.877,"peak":5.0,"start_frame":10,"end_frame":79,"peak_frame":40,)"
        R"("frame_exact":true,"frames":17,"blocks":99,)"
        R"("boxes":[{"x":0,"y":2,"w":30,"h":40,"blocks":5}]})");
}

TEST(JsonLines, AnEventLineTellsAFlash) {
    Video::Event event = AnEvent(1);
    event.flash = true;
    EXPECT_EQ(
        LineOf(RecordOf("", 3, event, {.start = {10, true}, .end = {79, true}, .peak = {40, true}})),
        R"({"type":"event","event":3,"start":1.235,"end":9.877,"peak":5.0,"start_frame":10,"end_frame":79,"peak_frame":40,)"
        R"("frame_exact":true,"frames":17,"blocks":99,"flash":true,)"
        R"("boxes":[{"x":0,"y":2,"w":30,"h":40,"blocks":5}]})");
}

TEST(JsonLines, AnEventLineHoldsTheFirstBoxesOnly) {
    const auto line = nlohmann::json::parse(LineOf(RecordOf("", 1, AnEvent(mostBoxesPerEvent + 3))));
    ASSERT_EQ(line["boxes"].size(), mostBoxesPerEvent);
    EXPECT_EQ(line["boxes"][0]["x"], 0);
}

TEST(JsonLines, AFrameLineHoldsEveryObject) {
    const Video::Findings frame{20'000'000, {{Video::Box{1, 2, 3, 4}, 5}, {Video::Box{6, 7, 8, 9}, 10}}};
    EXPECT_EQ(LineOf(RecordOf("", {51, false}, frame)),
              R"({"type":"frame","frame":51,"frame_exact":false,"time":2.0,"blocks":15,)"
              R"("objects":[{"x":1,"y":2,"w":3,"h":4,"blocks":5},{"x":6,"y":7,"w":8,"h":9,"blocks":10}]})");
    EXPECT_EQ(LineOf(RecordOf("", Video::PictureNumber{}, Video::Findings{0, {}})),
              R"({"type":"frame","frame":0,"frame_exact":true,"time":0.0,"blocks":0,"objects":[]})");
}

TEST(JsonLines, AnEventLineHoldsWhatIsAskedFor) {
    Video::Event event = AnEvent(1);
    event.zones = 0b101;
    event.track = {{15'000'000, {1, 2, 3, 4}}};
    EXPECT_EQ(
        LineOf(RecordOf("", 3, event,
                        {.zones = {"gate", "door", "road"},
                         .thumbnail = "t/a-3.jpg",
                         .clip = Video::Clip{"c/a-3.mp4", -8'000'000},
                         .track = true})),
        R"({"type":"event","event":3,"start":1.235,"end":9.877,"peak":5.0,"start_frame":0,"end_frame":0,"peak_frame":0,)"
        R"("frame_exact":true,"frames":17,"blocks":99,"zones":["gate","road"],)"
        R"("thumbnail":"t/a-3.jpg","clip":"c/a-3.mp4","clip_start":-0.8,"boxes":[{"x":0,"y":2,"w":30,"h":40,"blocks":5}],)"
        R"("track":[{"time":1.5,"x":1,"y":2,"w":3,"h":4}]})");
}

TEST(JsonLines, LinesNameTheirFileWhereThereAreSeveral) {
    EXPECT_EQ(LineOf(RecordOf("a/b.mp4", 3, AnEvent(1))).rfind(R"({"type":"event","file":"a/b.mp4","event":3,)", 0), 0u);
    EXPECT_EQ(LineOf(RecordOf("a/b.mp4", Video::PictureNumber{}, Video::Findings{0, {}}))
                  .rfind(R"({"type":"frame","file":"a/b.mp4","frame":0,)", 0),
              0u);
    EXPECT_NO_THROW(LineOf(RecordOf("no \xff text", 1, AnEvent(1))));
}

TEST(JsonLines, AnEventLineTellsTheTimeOfDayWhereItIsKnown) {
    const Video::WallTicks noon = Video::ParseWallTime("2026-03-01T12:00:00Z").value();
    const auto line = nlohmann::json::parse(LineOf(
        RecordOf("", 1, AnEvent(1), {.end = {79, false}, .clock = Video::StartTime{noon, Video::ClockSource::Given}})));
    EXPECT_EQ(line["start_time"], "2026-03-01T12:00:01.235Z");
    EXPECT_EQ(line["end_time"], "2026-03-01T12:00:09.877Z");
    EXPECT_EQ(line["peak_time"], "2026-03-01T12:00:05.000Z");
    EXPECT_EQ(line["frame_exact"], false) << "one of the three is not";
    EXPECT_FALSE(nlohmann::json::parse(LineOf(RecordOf("", 1, AnEvent(1)))).contains("start_time"));
}

TEST(JsonLines, AGapLineTellsWhyThereIsNothing) {
    const Video::Gap gap{12'345'678, 212'345'678, "the connection ended"};
    EXPECT_EQ(LineOf(RecordOf("", gap, std::nullopt)),
              R"({"type":"gap","start":1.235,"end":21.235,"reason":"the connection ended"})");
    EXPECT_EQ(LineOf(RecordOf("rtsp://a", gap, Video::StartTime{0, Video::ClockSource::Arrival})),
              R"({"type":"gap","file":"rtsp://a","start":1.235,"end":21.235,"start_time":"1970-01-01T00:00:01.235Z",)"
              R"("end_time":"1970-01-01T00:00:21.235Z","reason":"the connection ended"})");
}

TEST(JsonLines, AConditionLineTellsFromWhenToWhen) {
    const Video::Condition condition{Video::ConditionKind::Shaking, 12'345'678, 212'345'678};
    EXPECT_EQ(LineOf(RecordOf("", condition, std::nullopt)),
              R"({"type":"condition","condition":"shaking","start":1.235,"end":21.235})");
    EXPECT_EQ(LineOf(RecordOf("a.mp4", condition, Video::StartTime{0, Video::ClockSource::Given})),
              R"({"type":"condition","file":"a.mp4","condition":"shaking","start":1.235,"end":21.235,)"
              R"("start_time":"1970-01-01T00:00:01.235Z","end_time":"1970-01-01T00:00:21.235Z"})");
}

TEST(JsonLines, AFileLineTellsWhenItBegan) {
    const JobResult result{
        .clock = Video::StartTime{Video::ParseWallTime("2026-03-01T12:00:00Z").value(), Video::ClockSource::Container}};
    EXPECT_EQ(FileLine("b/a.mp4", "b", result),
              R"({"type":"file","file":"b/a.mp4","camera":"b",)"
              R"("status":"complete","start_time":"2026-03-01T12:00:00.000Z","clock":"container",)"
              R"("pictures":0,"seconds":0.0,"analysed":0,"events":0})");
}

TEST(JsonLines, AFileLineTellsHowItsPicturesAreTurned) {
    EXPECT_EQ(FileLine("b/a.mp4", "b", {.tally = {.rotation = 270, .mirrored = true}}),
              R"({"type":"file","file":"b/a.mp4","camera":"b","status":"complete","pictures":0,"seconds":0.0,)"
              R"("rotation":270,"mirrored":true,"analysed":0,"events":0})");
}

TEST(JsonLines, AFileLineTellsHowTheScanEnded) {
    const Video::Tally tally{.pictures = 12, .analysed = 6, .length = 12'000'000, .elapsed = 1, .events = 2};
    EXPECT_EQ(FileLine("b/a.mp4", "b", {.tally = tally}),
              R"({"type":"file","file":"b/a.mp4","camera":"b",)"
              R"("status":"complete","pictures":12,"seconds":1.2,"analysed":6,"events":2})");
    EXPECT_EQ(FileLine("b/a.mp4", "b", {.health = Health::Damaged, .trouble = "why", .tally = tally}),
              R"({"type":"file","file":"b/a.mp4","camera":"b",)"
              R"("status":"damaged","reason":"why","pictures":12,"seconds":1.2,"analysed":6,)"
              R"("events":2})");
}

TEST(JsonLines, NamesThatTurnALineAreTheSameValue) {
    const std::string name = "a\u202eb\u0085\x7f.mp4";
    const std::string line = FileLine(name, "", {});
    EXPECT_NE(line.find("\"a\\u202eb\\u0085\\u007f.mp4\""), std::string::npos) << line;
    EXPECT_EQ(nlohmann::json::parse(line)["file"], name);
    const std::string record = LineOf(GapRecord{.file = name, .reason = "why"});
    EXPECT_EQ(LineOf(RecordOfLine(record)), record);
}

}  // namespace
}  // namespace Scan
