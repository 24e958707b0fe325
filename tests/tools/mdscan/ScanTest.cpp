// Does the built program find what moves, whatever the video is packed in, and nothing else?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <png.h>

#include "ScanFixture.h"
#include "video/base/Box.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {
namespace {

using nlohmann::json;

class ScanTest : public ScanFixture {};

TEST_F(ScanTest, FindsTheSquareAndNothingElse) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    ExpectTheSquare(run.lines[0], scene);
    EXPECT_EQ(run.lines[0]["type"], "event");
    EXPECT_EQ(run.lines[0]["event"], 1);
    EXPECT_EQ(run.ErrorLines(), 1);
    EXPECT_NE(run.err.find("200 pictures (20.0 s), 100 analysed on 107x80 blocks of 3 pixels; 1 event;"), std::string::npos)
        << run.err;
}

TEST_F(ScanTest, AStillSceneHasNoEvents) {
    const Outcome run = Mdscan({RawClip({.from = 0, .until = 0})});
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_TRUE(run.lines.empty());
    EXPECT_EQ(run.ErrorLines(), 1);
}

TEST_F(ScanTest, APipeIsAnInput) {
    const Video::SquareScene scene;
    const Outcome run = MdscanFed({"-"}, RawClip(scene));
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(ScanTest, AnOutputFileHoldsTheLines) {
    const Video::SquareScene scene;
    const std::string clip = RawClip(scene);
    const Outcome run = Mdscan({"-o", In("events.jsonl"), clip});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_TRUE(run.lines.empty());
    std::istringstream lines(Read("events.jsonl"));
    std::string first, event;
    ASSERT_TRUE(std::getline(lines, first) && std::getline(lines, event));
    EXPECT_EQ(json::parse(first)["type"], "scan");
    EXPECT_EQ(json::parse(first)["schema"], 2);
    ExpectTheSquare(json::parse(event), scene);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"clip.y4m", "events.jsonl"}));
    EXPECT_EQ(Mdscan({"-o", clip, clip}).code, 2) << "an output never replaces the input";
}

TEST_F(ScanTest, AnEventHasAThumbnailOfItsPeak) {
    const Video::SquareScene scene{.width = 640, .height = 480};
    const Outcome run = Mdscan({"--thumbnails", In("small/pictures"), RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_EQ(run.lines[0]["thumbnail"], In("small/pictures/clip-1.jpg"));
    Video::Decoder decoder(Video::OpenSource(In("small/pictures/clip-1.jpg")));
    ASSERT_TRUE(decoder.Next());
    const AVFrame& frame = decoder.Frame();
    ASSERT_EQ(frame.width, 480);
    ASSERT_EQ(frame.height, 360);
    const std::optional<Video::Box> square = scene.SquareAt(run.lines[0]["peak"]);
    ASSERT_TRUE(square);
    const int y = (square->y + square->height / 2) * 3 / 4, x = std::clamp(square->x + square->width / 2, 8, 630) * 3 / 4;
    EXPECT_GT(frame.data[0][std::ptrdiff_t{y} * frame.linesize[0] + x], 170) << "the square at its place";
    EXPECT_FALSE(decoder.Next());
}

TEST_F(ScanTest, RollsAndTracksAreTold) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--pre-roll", "2", "--post-roll", "3", "--track", RawClip(scene)});
    ASSERT_EQ(run.lines.size(), 1u);
    const json& event = run.lines[0];
    EXPECT_NEAR(event["start"], scene.from - 2, 0.7);
    EXPECT_NEAR(event["end"], scene.until + 3, 0.7);
    ASSERT_EQ(event["track"].size(), event["frames"]);
    int last = -1;
    for (const json& point : event["track"]) {
        if (point["time"] > scene.from + 0.6 && point["time"] < scene.until - 0.6) {
            EXPECT_GE(point["x"], last) << "the square moves to the right";
            last = point["x"];
        }
    }
    EXPECT_GT(last, 160);
}

TEST_F(ScanTest, QuietSaysOnlyWhatWentWrong) {
    EXPECT_EQ(Mdscan({"--quiet", "--progress", "json", RawClip({.seconds = 1})}).err, "");
    EXPECT_EQ(Mdscan({"--quiet", In("clip.y4m"), In("clip.y4m"), In("missing.mp4")}).ErrorLines(), 1);
}

TEST_F(ScanTest, ProgressForMachinesIsJson) {
    const Outcome run = Mdscan({"--progress", "json", RawClip({})});
    std::istringstream lines(run.err);
    std::string first;
    ASSERT_TRUE(std::getline(lines, first));
    const json progress = json::parse(first);
    EXPECT_EQ(progress["type"], "progress");
    EXPECT_GE(progress["done"], 0);
    EXPECT_LE(progress["done"], 1);
}

TEST_F(ScanTest, FramesAreListedOnRequest) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--frames", "--condition", "none", RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    std::vector<json> frames;
    std::copy_if(run.lines.begin(), run.lines.end(), std::back_inserter(frames),
                 [](const json& line) { return line["type"] == "frame"; });
    ASSERT_EQ(frames.size(), 100u);
    EXPECT_EQ(run.lines.size(), 101u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const double time = frames[i]["time"];
        ASSERT_EQ(frames[i]["frame"], 2 * i);
        ASSERT_DOUBLE_EQ(time, 0.2 * static_cast<double>(i));
        if (time < scene.from - 0.5 || time > scene.until + 0.7) {
            EXPECT_TRUE(frames[i]["objects"].empty()) << frames[i];
        } else if (time > scene.from + 0.5 && time < scene.until - 0.5) {
            EXPECT_EQ(frames[i]["objects"].size(), 1u) << frames[i];
        }
    }
}

TEST_F(ScanTest, RateZeroAnalysesEveryPicture) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--rate", "0", RawClip(scene)});
    EXPECT_NE(run.err.find(" 200 analysed"), std::string::npos) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(ScanTest, BlockSizeIsObeyed) {
    const Video::SquareScene scene;
    const std::string clip = RawClip(scene);
    const Outcome run = Mdscan({"--block", "7", clip});
    EXPECT_NE(run.err.find(" on 46x35 blocks of 7 pixels"), std::string::npos) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(ScanTest, MoreBlocksThanCanBeLabelledAreRefused) {
    const Outcome run = Mdscan({"--block", "1", RawClip({.width = 640, .height = 480, .seconds = 0.2})});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1);
    EXPECT_NE(run.err.find("too many blocks"), std::string::npos) << run.err;
}

TEST_F(ScanTest, OnlyZonesAreWatched) {
    const std::string clip = RawClip({});
    EXPECT_TRUE(Mdscan({"--zone", "0,0,1,0.3", clip}).lines.empty());
    EXPECT_EQ(Mdscan({"--zone", "0,0,1,0.3", "--zone", "0.4,0.3,0.2,0.4", clip}).lines.size(), 1u);
    const Outcome left = Mdscan({"--zone", "0,0,0.5,1", clip});
    ASSERT_EQ(left.lines.size(), 1u);
    EXPECT_LT(left.lines[0]["end"], 11.8) << "the square has left the zone by then";
}

TEST_F(ScanTest, ObjectsBelowTheMinimumSizeAreDropped) {
    const std::string clip = RawClip({});  // the square is a fifth of the picture's height
    EXPECT_EQ(Mdscan({"--min-size", "0.12", clip}).lines.size(), 1u);
    EXPECT_TRUE(Mdscan({"--min-size", "0.5", clip}).lines.empty());
}

TEST_F(ScanTest, EventsBelowTheMinimumDurationAreDropped) {
    const Outcome run = Mdscan({"--min-duration", "6", RawClip({})});
    EXPECT_TRUE(run.lines.empty());
    EXPECT_NE(run.err.find("0 events (1 too short)"), std::string::npos) << run.err;
}

TEST_F(ScanTest, TheBackgroundIsTheSceneWithoutTheSquare) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--background", In("background.png"), RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, In("background.png").c_str())) << image.message;
    ASSERT_EQ(image.width, 320u);
    ASSERT_EQ(image.height, 240u);
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) << image.message;
    int known = 0, bright = 0;
    for (std::size_t i = 0; i < pixels.size(); i += 3) {
        known += pixels[i] != 255 || pixels[i + 1] != 0 ? 1 : 0;  // not magenta
        bright += pixels[i + 1] > 160 ? 1 : 0;                    // the square's grey
    }
    EXPECT_GE(known * 100, 320 * 240 * 95);
    EXPECT_EQ(bright, 0);
}

TEST_F(ScanTest, TheOverlayIsTheVideoWithBoxes) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--condition", "none", "--overlay", In("boxes.mp4"), RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.y4m"}));
    Video::Decoder decoder(Video::OpenSource(In("boxes.mp4")));
    int before = 0, during = 0, after = 0;  // pictures with something yellow
    int tinted = 0;                         // pictures with an orange square
    while (decoder.Next()) {
        const AVFrame& frame = decoder.Frame();
        ASSERT_EQ(frame.width, 320);
        ASSERT_EQ(frame.height, 240);
        bool yellow = false;
        for (int y = 0; y < frame.height / 2; ++y) {
            const std::uint8_t* cb = frame.data[1] + std::ptrdiff_t{y} * frame.linesize[1];
            yellow = yellow || std::any_of(cb, cb + frame.width / 2, [](std::uint8_t value) { return value < 70; });
        }
        const double time = Video::ToSeconds(decoder.Time());
        const Video::Box square = scene.SquareAt(time).value_or(Video::Box{});
        const int x = std::clamp(square.x + square.width / 2, 0, 319) / 2, y = (square.y + square.height / 2) / 2;
        tinted += frame.data[2][std::ptrdiff_t{y} * frame.linesize[2] + x] > 140 ? 1 : 0;
        int light = 0;  // pixels of the caption
        for (int i = 0; i < 8 * 60; ++i) {
            light += frame.data[0][std::ptrdiff_t{1 + i / 60} * frame.linesize[0] + i % 60] > 170 ? 1 : 0;
        }
        ASSERT_GT(light, 60) << time;
        (time < scene.from ? before : time < scene.until ? during : after) += yellow ? 1 : 0;
    }
    EXPECT_EQ(decoder.Pictures(), 200);
    EXPECT_NEAR(Video::ToSeconds(decoder.Time()), 19.9, 0.001);
    EXPECT_EQ(before, 0);
    EXPECT_GE(during, 34);  // of 40
    EXPECT_GE(tinted, 30);
    EXPECT_LE(tinted, 45);
    EXPECT_LE(after, 10);
}

struct Kind {
    const char* codec;
    const char* container;
    AVPixelFormat format;
};

class EveryKind : public ScanTest, public testing::WithParamInterface<Kind> {};

TEST_P(EveryKind, HoldsTheSquare) {
    const Kind& kind = GetParam();
    if (!Video::HasEncoder(kind.codec)) {
        GTEST_SKIP() << "this FFmpeg cannot encode " << kind.codec;
    }
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = kind.codec, .container = kind.container, .format = kind.format}, In("clip"));
    const Outcome run = Mdscan({In("clip")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
}

std::string NameOf(const testing::TestParamInfo<Kind>& kind) {
    return std::string(kind.param.codec) + "_" + kind.param.container + "_" + std::to_string(kind.index);
}

INSTANTIATE_TEST_SUITE_P(
    ScanTest, EveryKind,
    testing::Values(Kind{"mpeg4", "avi", AV_PIX_FMT_YUV420P}, Kind{"mpeg4", "mp4", AV_PIX_FMT_YUV420P},
                    Kind{"mpeg2video", "mpegts", AV_PIX_FMT_YUV420P}, Kind{"mjpeg", "avi", AV_PIX_FMT_YUVJ420P},
                    Kind{"mjpeg", "matroska", AV_PIX_FMT_YUVJ422P}, Kind{"ffv1", "matroska", AV_PIX_FMT_YUV444P},
                    Kind{"ffv1", "matroska", AV_PIX_FMT_GRAY8}, Kind{"ffv1", "matroska", AV_PIX_FMT_YUV420P10LE},
                    Kind{"ffv1", "matroska", AV_PIX_FMT_BGR0}, Kind{"rawvideo", "nut", AV_PIX_FMT_NV12},
                    Kind{"libx264", "mp4", AV_PIX_FMT_YUV420P}),
    NameOf);

TEST_F(ScanTest, AChangeOfSizeStartsAfresh) {
    const Video::SquareScene small, large{.width = 640, .height = 480};
    Video::WriteEncoded({small, large}, {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P},
                        In("clip.avi"));
    const Outcome run = Mdscan({"--overlay", In("boxes.mp4"), In("clip.avi")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    ExpectTheSquare(run.lines[0], small);
    ExpectTheSquare(run.lines[1], large, 20);
    Video::Decoder decoder(Video::OpenSource(In("boxes.mp4")));
    while (decoder.Next()) {
        ASSERT_EQ(decoder.Frame().width, 320);
    }
    EXPECT_EQ(decoder.Pictures(), 400);
}

TEST_F(ScanTest, AChangeOfSizeEndsTheRunningEvent) {
    const Video::SquareScene small{.seconds = 12},
        large{.width = 640, .height = 480};  // the first is cut while the square moves
    Video::WriteEncoded({small, large}, {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P},
                        In("clip.avi"));
    const Outcome run = Mdscan({"--merge-gap", "60", In("clip.avi")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    EXPECT_LT(run.lines[0]["end"], 12.0);
}

TEST_F(ScanTest, AChangeOfPixelFormatStartsAfresh) {
    const Video::SquareScene cut{.seconds = 12}, whole;
    Video::WriteEncoded(
        {cut, whole},
        {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P, .laterFormat = AV_PIX_FMT_YUVJ444P},
        In("clip.avi"));
    const Outcome run = Mdscan({"--merge-gap", "60", In("clip.avi")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    EXPECT_LT(run.lines[0]["end"], 12.0);
    ExpectTheSquare(run.lines[1], whole, 12);
}

TEST_F(ScanTest, TimesCountFromTheStartOfTheFile) {
    const Video::SquareScene scene;
    const auto anHourLater = [](int picture) { return picture + 36'000; };
    Video::WriteEncoded({scene}, {.codec = "mpeg2video", .container = "mpegts", .time = anHourLater}, In("clip.ts"));
    const Outcome run = Mdscan({In("clip.ts")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(ScanTest, TimeThatStartsAnewGoesOn) {
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

TEST_F(ScanTest, IrregularTimesAreTheFilesOwn) {
    const Video::SquareScene scene;
    // Ten pictures a second, the first eight seconds stretched to sixteen.
    const auto stretched = [](int picture) { return picture < 80 ? 2 * picture : picture + 80; };
    Video::WriteEncoded({scene}, {.codec = "ffv1", .container = "matroska", .time = stretched}, In("clip.mkv"));
    const Outcome run = Mdscan({In("clip.mkv")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene, 8);
}

TEST_F(ScanTest, TheProgramTellsSecondsTimesOfDayAndNumbers) {
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

TEST_F(ScanTest, ANameTellsTheTimeOfDayBeforeTheContainerDoes) {
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

TEST_F(ScanTest, APatternThatTellsNoTimeIsRefused) {
    const Outcome run = Mdscan({In("none.mp4"), "--name-time", "%Y-%m-%d"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1);
    EXPECT_NE(
        run.err.find("--name-time: must be auto, none or a pattern like %Y%m%d_%H%M%S, not %Y-%m-%d: it tells no hour"),
        std::string::npos)
        << run.err;
}

// A minute with a square from 45 s to 49 s. Whatever the container, by seeking or without: the part is told as the whole is.
TEST_F(ScanTest, APartIsToldAsTheWholeIs) {
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

TEST_F(ScanTest, WhatLiesBeforeOrBehindAPartIsNotTold) {
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

TEST_F(ScanTest, APartMayBeATimeOfDay) {
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
