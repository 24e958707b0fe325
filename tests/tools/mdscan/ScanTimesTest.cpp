// Does the built program tell times as the file, its name and its container have them, and find what lies in a part of it?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {
namespace {

using nlohmann::json;

class ScanTimesTest : public ScanFixture {};

TEST_F(ScanTimesTest, TimesCountFromTheStartOfTheFile) {
    const Video::SquareScene scene;
    const auto anHourLater = [](int picture) { return picture + 36'000; };
    Video::WriteEncoded({scene}, {.codec = "mpeg2video", .container = "mpegts", .time = anHourLater}, In("clip.ts"));
    const Outcome run = Mdscan({In("clip.ts")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(ScanTimesTest, TimeThatStartsAnewGoesOn) {
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = "mpeg2video", .container = "mpegts"}, In("once.ts"));
    const std::string once = Read("once.ts");
    Write("twice.ts", once + once);
    const Outcome run = Mdscan({"--frames", In("twice.ts")});
    double last = -1;
    std::vector<json> events;
    for (const json& line : run.lines) {
        if (line["type"] == "event") {
            events.push_back(line);
            continue;
        }
        ASSERT_GT(line["time"], last);
        last = line["time"];
    }
    ASSERT_EQ(events.size(), 2u) << run.err;
    ExpectTheSquare(events[0], scene);
    ExpectTheSquare(events[1], scene, 20);
}

TEST_F(ScanTimesTest, IrregularTimesAreTheFilesOwn) {
    const Video::SquareScene scene;
    // Ten pictures a second, the first eight seconds stretched to sixteen.
    const auto stretched = [](int picture) { return picture < 80 ? 2 * picture : picture + 80; };
    Video::WriteEncoded({scene}, {.codec = "ffv1", .container = "matroska", .time = stretched}, In("clip.mkv"));
    const Outcome run = Mdscan({In("clip.mkv")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene, 8);
}

TEST_F(ScanTimesTest, TheProgramTellsSecondsTimesOfDayAndNumbers) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8};
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4", .bFrames = 2, .created = "2019-05-04T08:00:00Z"},
                        In("clip.mp4"));
    const auto check = [](const json& event, const std::string& start) {
        const Video::WallTicks zero = Video::ParseWallTime(start).value();
        for (const std::string place : {"start", "end", "peak"}) {
            const double seconds = event[place];
            const std::int64_t number = event[place + "_frame"];
            EXPECT_EQ(event[place + "_time"], Video::WallTimeText(zero + Video::FromSeconds(seconds)));
            EXPECT_NEAR(seconds * 10, static_cast<double>(number), 0.001);
        }
        EXPECT_EQ(event["frame_exact"], true);
    };
    const Outcome several = Mdscan({In(""), "--pre-roll", "1"});
    ASSERT_EQ(several.lines.size(), 2u) << several.err;
    check(several.lines[0], "2019-05-04T08:00:00Z");
    EXPECT_EQ(several.lines[1]["start_time"], "2019-05-04T08:00:00.000Z");
    EXPECT_EQ(several.lines[1]["clock"], "container");
    const Outcome given = Mdscan({In("clip.mp4"), "--start-time", "2021-01-01T01:00:00+01:00"});
    ASSERT_EQ(given.lines.size(), 1u) << given.err;
    check(given.lines[0], "2021-01-01T00:00:00Z");
    EXPECT_EQ(Mdscan({In(""), "--start-time", "2021-01-01T00:00:00Z"}).code, 2) << "not of several";
}

TEST_F(ScanTimesTest, ANameTellsTheTimeOfDayBeforeTheContainerDoes) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 4.8};
    std::filesystem::create_directories(In("cam1/2026/03/01"));
    const std::string clip = In("cam1/2026/03/01/07-59-00Z.mp4");
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4", .created = "2019-05-04T08:00:00Z"}, clip);
    const auto begins = [&](const std::vector<std::string>& more, const std::string& clock, const std::string& time) {
        std::vector<std::string> arguments = {In("cam1")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome run = Mdscan(arguments);
        ASSERT_EQ(run.lines.size(), 2u) << run.err;
        EXPECT_EQ(run.lines[1]["clock"], clock);
        EXPECT_EQ(run.lines[1]["start_time"], time);
        EXPECT_EQ(run.lines[0]["start_time"],
                  Video::WallTimeText(Video::ParseWallTime(time).value() + Video::FromSeconds(run.lines[0]["start"])));
    };
    begins({}, "name", "2026-03-01T07:59:00.000Z");
    begins({"--name-time", "none"}, "container", "2019-05-04T08:00:00.000Z");
    begins({"--name-time", "%Y/%d/%m/%S-%M-%H%z"}, "name", "2026-01-03T00:59:07.000Z");
    const Outcome given = Mdscan({clip, "--start-time", "2021-01-01T01:00:00+01:00"});
    EXPECT_EQ(given.lines.at(0)["start_time"].get<std::string>().substr(0, 16), "2021-01-01T00:00");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(In("cam1/2026/03/01"));
    const Outcome within = Mdscan({"07-59-00Z.mp4"});
    std::filesystem::current_path(before);
    EXPECT_EQ(within.lines.at(0)["start_time"].get<std::string>().substr(0, 16), "2026-03-01T07:59")
        << "folders count that the user did not name";
}

TEST_F(ScanTimesTest, APatternThatTellsNoTimeIsRefused) {
    const Outcome run = Mdscan({In("none.mp4"), "--name-time", "%Y-%m-%d"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1);
    EXPECT_NE(
        run.err.find("--name-time: must be auto, none or a pattern like %Y%m%d_%H%M%S, not %Y-%m-%d: it tells no hour"),
        std::string::npos)
        << run.err;
}

// A minute with a square from 45 s to 49 s. Whatever the container, by seeking or without: the part is told as the whole is.
TEST_F(ScanTimesTest, APartIsToldAsTheWholeIs) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 60, .from = 45, .until = 49};
    for (const char* container : {"mp4", "avi", "matroska", "mpegts"}) {
        const std::string clip = In(std::string("clip.") + container);
        const int bFrames = std::string(container) == "avi" ? 0 : 2;  // which AVI has no times for
        Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = container, .bFrames = bFrames}, clip);
        const Outcome whole = Mdscan({clip}), part = Mdscan({clip, "--from", "40", "--to", "0:55"});
        EXPECT_EQ(part.code, 0) << part.err;
        ASSERT_EQ(whole.lines.size(), 1u) << container;
        ASSERT_EQ(part.lines.size(), 1u) << container;
        EXPECT_EQ(part.scan["from"], "40");
        EXPECT_EQ(part.scan["to"], "0:55");
        for (const char* when : {"start", "end"}) {
            EXPECT_NEAR(part.lines[0][when], whole.lines[0][when], 0.21) << container;
            const std::string frame = std::string(when) + "_frame";
            EXPECT_NEAR(part.lines[0][frame], whole.lines[0][frame], 2.1) << container;
        }
        const bool sought = std::string(container) != "mpegts";  // whose times may begin anew anywhere
        EXPECT_EQ(part.lines[0]["frame_exact"], !sought) << container;
        const int pictures = std::stoi(part.err.substr(part.err.find(": ", part.err.find("clip.")) + 2));
        EXPECT_EQ(pictures < 400, sought) << part.err;
        EXPECT_NE(part.err.find(" 75 analysed"), std::string::npos) << "15 s, five in a second: " << part.err;
    }
}

TEST_F(ScanTimesTest, WhatLiesBeforeOrBehindAPartIsNotTold) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 30, .from = 20, .until = 26};
    const std::string clip = In("clip.mp4");
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4"}, clip);
    Outcome run =
        Mdscan({clip, "--from", "22", "--to", "24", "--overlay", In("o.mp4"), "--thumbnails", In("t"), "--frames"});
    EXPECT_EQ(run.code, 0) << run.err;
    int frames = 0, events = 0;
    for (const json& line : run.lines) {
        frames += line["type"] == "frame" ? 1 : 0;
        events += line["type"] == "event" ? 1 : 0;
        EXPECT_GE(line.contains("time") ? line["time"] : line["start"], 22.0) << line;
        EXPECT_LT(line.contains("time") ? line["time"] : line["end"], 24.0) << line;
    }
    EXPECT_EQ(frames, 10);
    EXPECT_EQ(events, 1);
    Video::Decoder overlay(Video::OpenSource(In("o.mp4")));
    while (overlay.Next()) {
    }
    EXPECT_EQ(overlay.Pictures(), 20);
    EXPECT_LT(overlay.Time(), 2 * Video::oneSecond);
    EXPECT_EQ(Mdscan({clip, "--to", "19"}).code, 3);
    EXPECT_EQ(Mdscan({clip, "--from", "27"}).code, 3);
    EXPECT_EQ(Mdscan({clip, "--fast", "--from", "18"}).lines.size(), 1u);
    run = MdscanFed({"-", "--from", "18"}, RawClip(scene));
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
    EXPECT_EQ(run.lines[0]["frame_exact"], true);

    run = Mdscan({clip, "--from", "100"});
    EXPECT_EQ(run.code, 3);
    EXPECT_NE(run.err.find("nothing analysed: it has nothing from --from 100"), std::string::npos) << run.err;
}

TEST_F(ScanTimesTest, APartMayBeATimeOfDay) {
    const Video::SquareScene scene{.width = 160, .height = 120, .seconds = 30, .from = 20, .until = 24};
    const std::string clip = In("clip.mp4"), mute = In("mute.mp4");
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4", .created = "2019-05-04T23:59:45Z"}, clip);
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4"}, mute);
    EXPECT_EQ(Mdscan({clip, "--from", "T23:00Z", "--to", "T01:00Z"}).lines.size(), 1u) << "across midnight";
    EXPECT_EQ(Mdscan({clip, "--from", "T00:00Z", "--to", "T01:00Z"}).lines.size(), 1u);
    EXPECT_EQ(Mdscan({clip, "--from", "2019-05-05T00:00:00Z"}).lines.size(), 1u);
    Outcome run = Mdscan({clip, "--from", "T23:00Z", "--to", "T00:00Z"});
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_NE(run.err.find(" 75 analysed"), std::string::npos) << run.err;
    EXPECT_EQ(Mdscan({clip, "--to", "2019-05-04T12:00:00Z"}).code, 3);
    run = Mdscan({mute, "--from", "T23:00Z"});
    EXPECT_EQ(run.code, 2);
    EXPECT_NE(run.err.find("--from T23:00Z: nothing tells what time of day it was"), std::string::npos) << run.err;
    EXPECT_EQ(Mdscan({mute, "--from", "T23:00Z", "--start-time", "2019-05-04T23:59:45Z"}).code, 3) << "over at midnight";
    run = Mdscan({clip, mute, "--from", "100"});
    EXPECT_EQ(run.code, 3);
    EXPECT_NE(run.err.find("2 have nothing from --from 100"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace Scan
