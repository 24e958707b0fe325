// Is a clip of an event the very pictures of the input, from a keyframe on, at their times?  The built program, and players'
// view of what it writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "StoredPictures.h"
#include "video/media/Libav.h"

namespace Scan {
namespace {

using nlohmann::json;

// Two squares, the second one soon after the first.
const std::vector<Video::SquareScene> twoSquares = {{.width = 128, .height = 96, .seconds = 7, .from = 4, .until = 5.5},
                                                    {.width = 128, .height = 96, .seconds = 5, .from = 2.5, .until = 4}};

class ClipScanTest : public ScanFixture {
protected:
    Outcome Cut(const std::string& input, std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--clips", In("clips"), "--min-size", "0", "--block", "4", In(input)});
        return Mdscan(options);
    }

    // The event's clip holds the source's pictures from the last keyframe before `from` seconds to the first picture at or
    // behind its end.
    static void ExpectClip(const json& event, const Video::StoredPictures& source, double from) {
        ASSERT_TRUE(event.contains("clip")) << event;
        const Video::StoredPictures clip = Video::ReadPictures(event["clip"]);
        EXPECT_TRUE(clip.errors.empty()) << clip.errors.front();
        ASSERT_FALSE(clip.pictures.empty());
        const double origin = source.pictures.front().time, start = event["clip_start"];
        std::size_t first = 0;
        for (std::size_t i = 0; i < source.pictures.size() && source.pictures[i].time - origin <= from + 0.001; ++i) {
            first = source.pictures[i].isKey ? i : first;
        }
        EXPECT_NEAR(start, source.pictures[first].time - origin, 0.001);
        EXPECT_EQ(clip.pictures.front().time, 0);
        ASSERT_LE(first + clip.pictures.size(), source.pictures.size());
        for (std::size_t i = 0; i < clip.pictures.size(); ++i) {
            const Video::StoredPicture& expected = source.pictures[first + i];
            ASSERT_NEAR(clip.pictures[i].time + start, expected.time - origin, 0.0015) << "picture " << i;
            ASSERT_EQ(clip.pictures[i].luma, expected.luma) << "picture " << i;
        }
        const double end = event["end"], last = start + clip.pictures.back().time;
        const std::size_t next = first + clip.pictures.size();
        EXPECT_TRUE(next == source.pictures.size() || source.pictures[next].time - origin > end - 0.0015)
            << "shorter than asked";
        EXPECT_LE(last, end + 0.45) << "longer than needed";
    }
};

struct Kind {
    const char* codec;
    const char* container;
    const char* ending;  // of the clip
    int gop;
    int bFrames;
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
};

class EveryKindOfClip : public ClipScanTest, public testing::WithParamInterface<Kind> {};

TEST_P(EveryKindOfClip, IsTheInputFromAKeyframeOn) {
    const Kind& kind = GetParam();
    if (!Video::HasEncoder(kind.codec)) {
        GTEST_SKIP() << "this FFmpeg cannot encode " << kind.codec;
    }
    Video::WriteEncoded(
        twoSquares,
        {.codec = kind.codec, .container = kind.container, .format = kind.format, .gop = kind.gop, .bFrames = kind.bFrames},
        In("input"));
    const Outcome run = Cut("input", {"--merge-gap", "1", "--pre-roll", "0.4", "--post-roll", "0.5"});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    for (const json& event : run.lines) {
        ExpectClip(event, source, event["start"]);
    }
    EXPECT_EQ(run.lines[1]["clip"], In("clips/input-2") + kind.ending);
}

std::string NameOf(const testing::TestParamInfo<Kind>& kind) {
    return std::string(kind.param.codec) + "_" + kind.param.container + "_" + std::to_string(kind.index);
}

// GOPs of 50 reach from one event into the other. MPEG-2's are open: pictures behind a keyframe lean on the GOP before.
INSTANTIATE_TEST_SUITE_P(ClipScanTest, EveryKindOfClip,
                         testing::Values(Kind{"mpeg4", "mp4", ".mp4", 12, 0}, Kind{"mpeg4", "avi", ".mp4", 50, 0},
                                         Kind{"mpeg4", "avi", ".mp4", 12, 2}, Kind{"mpeg2video", "mpegts", ".mp4", 12, 2},
                                         Kind{"mpeg2video", "matroska", ".mp4", 50, 2},
                                         Kind{"ffv1", "matroska", ".mkv", 6, 0},
                                         Kind{"mjpeg", "avi", ".mp4", 1, 0, AV_PIX_FMT_YUVJ420P},
                                         Kind{"rawvideo", "avi", ".mkv", 1, 0}, Kind{"libx264", "matroska", ".mp4", 50, 3},
                                         Kind{"libx264", "mpegts", ".mp4", 12, 2}),
                         NameOf);

class ClipsOfAFastScan : public ClipScanTest, public testing::WithParamInterface<Kind> {};

// The rolls reach into GOPs that --fast skips: of their packets, the first one's picture alone has been seen.
TEST_P(ClipsOfAFastScan, HoldWhatWasNotDecoded) {
    const Kind& kind = GetParam();
    if (!Video::HasEncoder(kind.codec)) {
        GTEST_SKIP() << "this FFmpeg cannot encode " << kind.codec;
    }
    Video::WriteEncoded({{.width = 160, .height = 120, .seconds = 40, .from = 20, .until = 24}},
                        {.codec = kind.codec, .container = kind.container, .gop = kind.gop, .bFrames = kind.bFrames},
                        In("input"));
    const Outcome run = Cut("input", {"--fast", "--pre-roll", "5.3", "--post-roll", "5.5", "--resume", In("state")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    const json &event = run.lines[0], &file = run.lines[1];
    const double start = event["start"], end = event["end"];
    EXPECT_NEAR(start, 14.7, 0.5);
    EXPECT_NEAR(end, 29.5, 0.5);
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    ExpectClip(event, source, start);
    const auto isOfClip = [&](const Video::StoredPicture& picture) {
        const double time = picture.time - source.pictures.front().time;
        return picture.isKey && time > event["clip_start"].get<double>() - 0.001 && time < end;
    };
    const auto gops = std::count_if(source.pictures.begin(), source.pictures.end(), isOfClip);
    EXPECT_LT(file["groups_decoded"], gops) << "and some of these lie at the beginning of the file";
}

INSTANTIATE_TEST_SUITE_P(ClipScanTest, ClipsOfAFastScan,
                         testing::Values(Kind{"mpeg4", "mp4", ".mp4", 20, 0}, Kind{"mpeg4", "avi", ".mp4", 20, 0},
                                         Kind{"mpeg4", "matroska", ".mp4", 20, 2},
                                         Kind{"mpeg2video", "mpegts", ".mp4", 20, 2}, Kind{"libx264", "mp4", ".mp4", 20, 3}),
                         NameOf);

TEST_F(ClipScanTest, IrregularTimesAreKept) {
    const auto time = [](int frame) { return std::int64_t{frame} * 10 + frame % 3 * 3; };
    std::vector<Video::SquareScene> scenes = twoSquares;
    for (Video::SquareScene& scene : scenes) {
        scene.framesPerSecond = 100;  // the encoder's clock; a tenth of that is drawn
        scene.seconds /= 10;
        scene.from /= 10;
        scene.until /= 10;
    }
    Video::WriteEncoded(scenes, {.codec = "mpeg4", .container = "matroska", .gop = 15, .time = time}, In("input"));
    const Outcome run = Cut("input", {"--merge-gap", "1"});
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    for (const json& event : run.lines) {
        ExpectClip(event, source, event["start"]);
    }
}

TEST_F(ClipScanTest, EventsAtBothEndsOfTheInputHaveClips) {
    Video::WriteEncoded({{.width = 128, .height = 96, .seconds = 12, .from = 0, .until = 3},
                         {.width = 128, .height = 96, .seconds = 2, .from = 0, .until = 2}},
                        {.codec = "mpeg4", .container = "mp4", .gop = 25}, In("input"));
    const Outcome run = Cut("input", {"--rate", "0", "--merge-gap", "1", "--pre-roll", "1", "--post-roll", "1"});
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    ExpectClip(run.lines[0], source, run.lines[0]["start"]);
    ExpectClip(run.lines[1], source, run.lines[1]["start"]);
    EXPECT_EQ(run.lines[0]["clip_start"], 0.0);
    EXPECT_EQ(run.lines[1]["end"], 13.9);
}

TEST_F(ClipScanTest, RotationAndAspectAreKept) {
    Video::WriteEncoded(twoSquares, {.codec = "mpeg4", .container = "mp4", .sampleAspect = {4, 3}, .rotation = 90},
                        In("input"));
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    ASSERT_EQ(std::abs(source.rotation), 90);
    const Outcome run = Cut("input", {"--merge-gap", "1"});
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    for (const json& event : run.lines) {
        const Video::StoredPictures clip = Video::ReadPictures(event["clip"]);
        EXPECT_EQ(clip.rotation, source.rotation);
        EXPECT_EQ(av_cmp_q(clip.sampleAspect, {4, 3}), 0) << clip.sampleAspect.num << ":" << clip.sampleAspect.den;
    }
}

TEST_F(ClipScanTest, AChangeOfSizeEndsAClip) {
    Video::SquareScene large = twoSquares[0];
    large.width = 256;
    large.height = 192;
    const Video::SquareScene cut{.width = 128, .height = 96, .seconds = 5, .from = 4, .until = 5.5};
    Video::WriteEncoded({cut, large}, {.codec = "mjpeg", .container = "avi", .format = AV_PIX_FMT_YUVJ420P}, In("input"));
    const Outcome run = Cut("input", {"--pre-roll", "9", "--post-roll", "9"});
    ASSERT_EQ(run.lines.size(), 2u) << run.err;
    const Video::StoredPictures source = Video::ReadPictures(In("input"));
    for (const json& event : run.lines) {
        ExpectClip(event, source, event["start"]);
    }
    EXPECT_EQ(Video::ReadPictures(run.lines[0]["clip"]).headerWidth, 128);
    EXPECT_EQ(Video::ReadPictures(run.lines[1]["clip"]).headerWidth, 256);
}

TEST_F(ClipScanTest, APipeIsCutAsAFileIs) {
    Video::WriteEncoded(twoSquares, {.codec = "mpeg2video", .container = "mpegts", .bFrames = 2}, In("input"));
    const Outcome file = Cut("input", {"--merge-gap", "1"});
    ASSERT_EQ(file.lines.size(), 2u) << file.err;
    const std::string content = Read("clips/input-1.mp4");
    EXPECT_FALSE(content.empty());
    const Outcome pipe =
        MdscanFed({"--clips", In("clips"), "--min-size", "0", "--block", "4", "--merge-gap", "1", "-"}, In("input"));
    ASSERT_EQ(pipe.lines.size(), 2u) << pipe.err;
    EXPECT_EQ(pipe.lines[0]["clip"], In("clips/stdin-1.mp4"));
    EXPECT_EQ(pipe.lines[0]["clip_start"], file.lines[0]["clip_start"]);
    EXPECT_EQ(Read("clips/stdin-1.mp4"), content);
}

TEST_F(ClipScanTest, ADroppedEventLeavesNoClip) {
    Video::WriteEncoded(twoSquares, {.codec = "mpeg4", .container = "mp4"}, In("input"));
    const Outcome run = Cut("input", {"--merge-gap", "1", "--min-duration", "10"});
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_NE(run.err.find("(2 too short)"), std::string::npos) << run.err;
    EXPECT_TRUE(std::filesystem::is_empty(In("clips")));
}

TEST_F(ClipScanTest, AnInterruptionCompletesTheClip) {
    const Video::SquareScene scene{.width = 128, .height = 96, .seconds = 30, .from = 6, .until = 29};
    Video::WriteEncoded({scene}, {.codec = "mpeg2video", .container = "mpegts"}, In("input"));
    const Outcome run = MdscanInterrupted({"--clips", In("clips"), "--min-size", "0", "--block", "4", "--frames"},
                                          In("input"), In("pipe.ts"), 40);
    EXPECT_EQ(run.code, 1);
    ASSERT_EQ(run.lines.back()["type"], "event") << run.err;
    ExpectClip(run.lines.back(), Video::ReadPictures(In("input")), run.lines.back()["start"]);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(In("clips")), {}), 1) << "more than the clip is left";
}

TEST_F(ClipScanTest, InputsOfOneNameDoNotMeetAndResumingChangesNothing) {
    for (const char* folder : {"a", "b"}) {
        std::filesystem::create_directories(In(folder));
        Video::WriteEncoded({twoSquares[0]}, {.codec = "mpeg4", .container = "mp4"}, In(std::string(folder) + "/door.mp4"));
    }
    const std::vector<std::string> command = {"-j",      "2",         "--min-size", "0",         "--block", "4",
                                              "--clips", In("clips"), "--resume",   In("state"), In("a"),   In("b")};
    const Outcome first = Mdscan(command), again = Mdscan(command);
    EXPECT_EQ(first.lines, again.lines);
    ASSERT_EQ(first.lines.size(), 4u) << first.err;
    EXPECT_NE(first.lines[0]["clip"], first.lines[2]["clip"]);
    ExpectClip(first.lines[0], Video::ReadPictures(In("a/door.mp4")), first.lines[0]["start"]);
    ExpectClip(first.lines[2], Video::ReadPictures(In("b/door.mp4")), first.lines[2]["start"]);
}

TEST_F(ClipScanTest, AFullDiskIsNamed) {
    Video::WriteEncoded(twoSquares, {.codec = "rawvideo", .container = "avi"}, In("input"));
    const Outcome run =
        Mdscan({"--clips", In("clips"), "--min-size", "0", "--block", "4", In("input")}, {.largestFile = 50'000});
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.err.find("cannot write " + In("clips/input-1.mkv")), std::string::npos) << run.err;
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_TRUE(std::filesystem::is_empty(In("clips")));
}

class JoinedScanTest : public ClipScanTest {
protected:
    // Two inputs with two events each; of the second, pictures of this width.
    void WriteInputs(int secondWidth) const {
        Video::WriteEncoded(twoSquares, {.codec = "mpeg4", .container = "mp4", .gop = 12}, In("a.mp4"));
        std::vector<Video::SquareScene> others = twoSquares;
        for (Video::SquareScene& scene : others) {
            scene.width = secondWidth;
        }
        Video::WriteEncoded(others, {.codec = "mpeg4", .container = "mp4", .gop = 12}, In("b.mp4"));
    }

    Outcome Join(std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--join", In("all.mp4"), "--min-size", "0", "--block", "4", "--merge-gap", "1",
                                       "--post-roll", "0", In("a.mp4"), In("b.mp4")});
        return Mdscan(options);
    }

    struct Chapter {
        double start, end;  // seconds
        std::string title;
    };

    std::vector<Chapter> Chapters() const {
        AVFormatContext* opened = nullptr;
        EXPECT_GE(avformat_open_input(&opened, In("all.mp4").c_str(), nullptr, nullptr), 0);
        const Video::InputPointer input(opened);
        std::vector<Chapter> chapters;
        for (unsigned i = 0; input && i < input->nb_chapters; ++i) {
            const AVChapter& chapter = *input->chapters[i];
            const AVDictionaryEntry* title = av_dict_get(chapter.metadata, "title", nullptr, 0);
            chapters.push_back({static_cast<double>(chapter.start) * av_q2d(chapter.time_base),
                                static_cast<double>(chapter.end) * av_q2d(chapter.time_base), title ? title->value : ""});
        }
        return chapters;
    }

    // Names of what is left in the folder.
    std::vector<std::string> Left() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(In(""))) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    static std::vector<json> EventsOf(const Outcome& run) {
        std::vector<json> events;
        std::copy_if(run.lines.begin(), run.lines.end(), std::back_inserter(events),
                     [](const json& line) { return line["type"] == "event"; });
        return events;
    }
};

TEST_F(JoinedScanTest, IsEveryClipAsItIsStored) {
    WriteInputs(128);
    const Outcome run = Join({"--clips", In("clips")});
    EXPECT_EQ(run.code, 0) << run.err;
    const std::vector<json> events = EventsOf(run);
    ASSERT_EQ(events.size(), 4u) << run.err;
    const Video::StoredPictures joined = Video::ReadPictures(In("all.mp4"));
    EXPECT_TRUE(joined.errors.empty());
    const std::vector<Chapter> chapters = Chapters();
    ASSERT_EQ(chapters.size(), events.size());
    std::size_t next = 0;
    for (std::size_t i = 0; i < events.size(); ++i) {
        const Video::StoredPictures clip = Video::ReadPictures(events[i]["clip"]);
        ASSERT_LE(next + clip.pictures.size(), joined.pictures.size());
        EXPECT_NEAR(joined.pictures[next].time, chapters[i].start, 0.002);
        for (const Video::StoredPicture& picture : clip.pictures) {
            ASSERT_EQ(joined.pictures[next].luma, picture.luma) << "event " << i;
            EXPECT_NEAR(joined.pictures[next].time, chapters[i].start + picture.time, 0.002);
            ++next;
        }
        EXPECT_NEAR(joined.pictures[next - 1].time + 0.1, chapters[i].end, 0.002);
        EXPECT_EQ(chapters[i].title, events[i]["file"].get<std::string>() + ", " + events[i]["start"].dump() + " s");
    }
    EXPECT_EQ(next, joined.pictures.size());
}

TEST_F(JoinedScanTest, NeedsNoFolderOfClips) {
    WriteInputs(128);
    const Outcome run = Join();
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(EventsOf(run).size(), 4u) << run.err;
    EXPECT_FALSE(EventsOf(run).front().contains("clip"));
    EXPECT_EQ(Chapters().size(), 4u);
    EXPECT_EQ(Left(), (std::vector<std::string>{"a.mp4", "all.mp4", "b.mp4"}));
}

TEST_F(JoinedScanTest, EncodesAnewWhatDiffers) {
    WriteInputs(96);
    const Outcome run = Join({"--clips", In("clips")});
    EXPECT_EQ(run.code, 0) << run.err;
    const std::vector<json> events = EventsOf(run);
    ASSERT_EQ(events.size(), 4u) << run.err;
    const Video::StoredPictures joined = Video::ReadPictures(In("all.mp4"));
    std::size_t pictures = 0;
    for (const json& event : events) {
        pictures += Video::ReadPictures(event["clip"]).pictures.size();
    }
    ASSERT_EQ(joined.pictures.size(), pictures);
    EXPECT_EQ(joined.pictures.front().width, 128);
    const auto lumaAt = [](const Video::StoredPicture& picture, int x) {
        return int{picture.luma[static_cast<std::size_t>(48 * picture.width + x)]};
    };
    EXPECT_GT(lumaAt(joined.pictures.front(), 4), 40);  // the first ones fill it
    EXPECT_LT(lumaAt(joined.pictures.back(), 4), 24);   // the narrower ones stand in the middle
    EXPECT_GT(lumaAt(joined.pictures.back(), 24), 40);
    const std::vector<Chapter> chapters = Chapters();
    ASSERT_EQ(chapters.size(), 4u);
    EXPECT_NEAR(chapters.back().end, joined.pictures.back().time + 0.1, 0.11);
}

TEST_F(JoinedScanTest, WithoutEventsThereIsNone) {
    Video::WriteEncoded({{.width = 128, .height = 96, .seconds = 2, .from = 0, .until = 0}},
                        {.codec = "mpeg4", .container = "mp4"}, In("still.mp4"));
    const Outcome run = Mdscan({"--join", In("all.mp4"), In("still.mp4")});
    EXPECT_EQ(run.code, 3) << run.err;
    EXPECT_EQ(Left(), (std::vector<std::string>{"still.mp4"}));
}

TEST_F(JoinedScanTest, ContainersWithoutChaptersAreRefusedBeforeTheScan) {
    WriteInputs(128);
    for (const char* name : {"all.webm", "all.avi", "all.jpg"}) {
        const Outcome run = Mdscan({"--join", In(name), In("a.mp4")});
        EXPECT_EQ(run.code, 2) << name;
        EXPECT_TRUE(run.scan.is_null()) << "nothing was scanned";
        EXPECT_EQ(run.err, "mdscan: " + In("a.mp4") + ": cannot write " + In(name) +
                               ": a video with chapters wants a name like .mp4, .mov or .mkv\n");
    }
    for (const char* name : {"all.mov", "all.mkv", "all"}) {
        EXPECT_EQ(Mdscan({"--join", In(name), In("a.mp4")}).code, 0) << name;
        EXPECT_FALSE(Video::ReadPictures(In(name)).pictures.empty()) << name;
    }
    EXPECT_EQ(Left(), (std::vector<std::string>{"a.mp4", "all", "all.mkv", "all.mov", "b.mp4"}));
}

TEST_F(JoinedScanTest, WhatWasKnownFromBeforeNeedsItsClips) {
    WriteInputs(128);
    const Outcome run = Join({"--resume", In("state")});
    EXPECT_EQ(run.code, 2);
    EXPECT_NE(run.err.find("--join wants --clips with --resume"), std::string::npos) << run.err;
    for (int turn = 0; turn < 2; ++turn) {
        EXPECT_EQ(Join({"--resume", In("state"), "--clips", In("clips")}).code, 0);
        EXPECT_EQ(Chapters().size(), 4u);
        std::filesystem::remove(In("all.mp4"));
    }
}

// The lines come first, and say what went wrong only at the end.
TEST_F(JoinedScanTest, WhatCannotBeWrittenLosesNoEvent) {
    WriteInputs(128);
    const std::string passing = In("all.mp4.clips.1.part");  // of a run that is long over
    std::filesystem::create_directory(passing);
    std::ofstream(passing + "/left.mp4") << "left";
    const Outcome whole = Join({"--clips", In("clips")});
    const auto bytes = static_cast<long>(std::filesystem::file_size(In("all.mp4")));
    std::filesystem::remove(In("all.mp4"));
    const Outcome run = Mdscan({"--join", In("all.mp4"), "--min-size", "0", "--block", "4", "--merge-gap", "1",
                                "--post-roll", "0", In("a.mp4"), In("b.mp4")},
                               {.largestFile = bytes - 1000});
    EXPECT_EQ(EventsOf(run).size(), EventsOf(whole).size());
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.err.find("cannot write " + In("all.mp4")), std::string::npos) << run.err;
    EXPECT_EQ(Left(), (std::vector<std::string>{"a.mp4", "b.mp4", "clips"}));
}

}  // namespace
}  // namespace Scan
