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
    EXPECT_EQ(Mdscan({"--quiet", RawClip({.seconds = 1})}).err, "");
    const std::string progress = Mdscan({"--quiet", "--progress", "json", In("clip.y4m")}).err;
    EXPECT_NE(progress, "");
    std::istringstream asked(progress);
    for (std::string line; std::getline(asked, line);) {
        EXPECT_EQ(json::parse(line)["type"], "progress") << line;
    }
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

struct Encoding {
    const char* codec;
    const char* container;
    AVPixelFormat format;
};

class EveryKind : public ScanTest, public testing::WithParamInterface<Encoding> {};

TEST_P(EveryKind, HoldsTheSquare) {
    const Encoding& encoding = GetParam();
    if (!Video::HasEncoder(encoding.codec)) {
        GTEST_SKIP() << "this FFmpeg cannot encode " << encoding.codec;
    }
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = encoding.codec, .container = encoding.container, .format = encoding.format},
                        In("clip"));
    const Outcome run = Mdscan({In("clip")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
}

std::string NameOfEncoding(const testing::TestParamInfo<Encoding>& info) {
    return std::string(info.param.codec) + "_" + info.param.container + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(
    ScanTest, EveryKind,
    testing::Values(Encoding{"mpeg4", "avi", AV_PIX_FMT_YUV420P}, Encoding{"mpeg4", "mp4", AV_PIX_FMT_YUV420P},
                    Encoding{"mpeg2video", "mpegts", AV_PIX_FMT_YUV420P}, Encoding{"mjpeg", "avi", AV_PIX_FMT_YUVJ420P},
                    Encoding{"mjpeg", "matroska", AV_PIX_FMT_YUVJ422P}, Encoding{"ffv1", "matroska", AV_PIX_FMT_YUV444P},
                    Encoding{"ffv1", "matroska", AV_PIX_FMT_GRAY8}, Encoding{"ffv1", "matroska", AV_PIX_FMT_YUV420P10LE},
                    Encoding{"ffv1", "matroska", AV_PIX_FMT_BGR0}, Encoding{"rawvideo", "nut", AV_PIX_FMT_NV12},
                    Encoding{"libx264", "mp4", AV_PIX_FMT_YUV420P}),
    NameOfEncoding);

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

}  // namespace
}  // namespace Scan
