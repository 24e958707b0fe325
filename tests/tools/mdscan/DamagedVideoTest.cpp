// Is it said in one line what is wrong with a video, and is what was found before still there?
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ScanFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class DamagedVideo : public ScanFixture {};

void ExpectRefusal(const Outcome& run, const std::string& name, const std::string& reason) {
    EXPECT_EQ(run.code, 1);
    EXPECT_TRUE(run.lines.empty());
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_EQ(run.err.rfind("mdscan: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
}

TEST_F(DamagedVideo, WhatIsNoVideoIsRefusedInOneLine) {
    ExpectRefusal(Mdscan({In("missing.mp4")}), "missing.mp4", "No such file");
    Write("empty.mp4", "");
    ExpectRefusal(Mdscan({In("empty.mp4")}), "empty.mp4", "is empty");
    const std::string text = "This is no video. It is text, and of several lines.\nReally.\n";
    for (const char* name : {"text.mp4", "text.txt", "text.md", "text"}) {
        Write(name, text + text + text);
        ExpectRefusal(Mdscan({In(name)}), name, "cannot open");
    }
    Write("noise.avi", std::string(50'000, '\0'));
    Damage("noise.avi", 0, 50'000);
    ExpectRefusal(Mdscan({In("noise.avi")}), "noise.avi", "cannot open");
}

TEST_F(DamagedVideo, ARefusedVideoLeavesNoResultFiles) {
    Write("text.mp4", "no video");
    Mdscan({"--overlay", In("boxes.mp4"), "--background", In("background.png"), In("text.mp4")});
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"text.mp4"});
}

// Damage after the event: it is printed all the same, and the last line tells what was wrong and where.
void ExpectDamage(const Outcome& run, const Video::SquareScene& scene, const std::string& reason) {
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("damaged near "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << run.err;
    ExpectTheSquare(run.lines[0], scene);
}

TEST_F(DamagedVideo, ARawVideoCutWithinAPicture) {
    const Video::SquareScene scene;
    const std::string clip = RawClip(scene);
    fs::resize_file(clip, fs::file_size(clip) - 5'000'000);  // 43 of 200 pictures
    ExpectDamage(Mdscan({clip}), scene, "damaged near 15.");
}

TEST_F(DamagedVideo, AnAviCutShort) {
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "avi"}, In("clip.avi"));
    fs::resize_file(In("clip.avi"), fs::file_size(In("clip.avi")) * 3 / 4);
    ExpectDamage(Mdscan({In("clip.avi")}), scene, "incomplete packet");
}

TEST_F(DamagedVideo, AnAviCutBetweenTwoPictures) {
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "avi"}, In("clip.avi"));
    const std::string content = Read("clip.avi");
    const std::size_t chunk = content.rfind("00dc", content.size() * 3 / 4);
    ASSERT_NE(chunk, std::string::npos);
    fs::resize_file(In("clip.avi"), chunk);
    ExpectDamage(Mdscan({In("clip.avi")}), scene, "ends early, its header promises 20 s");
}

TEST_F(DamagedVideo, AMatroskaFileCutShort) {
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "matroska"}, In("clip.mkv"));
    fs::resize_file(In("clip.mkv"), fs::file_size(In("clip.mkv")) * 3 / 4);
    ExpectDamage(Mdscan({In("clip.mkv")}), scene, "ended prematurely");
}

TEST_F(DamagedVideo, AnMp4CutShort) {
    const Video::SquareScene scene;
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4", .headerFirst = true}, In("clip.mp4"));
    fs::resize_file(In("clip.mp4"), fs::file_size(In("clip.mp4")) * 3 / 4);
    ExpectDamage(Mdscan({In("clip.mp4")}), scene, "incomplete packet");
}

TEST_F(DamagedVideo, AnMp4WithoutItsTables) {
    Video::WriteEncoded({Video::SquareScene{.seconds = 2}}, {.codec = "mpeg4", .container = "mp4"}, In("clip.mp4"));
    fs::resize_file(In("clip.mp4"), fs::file_size(In("clip.mp4")) * 3 / 4);
    ExpectRefusal(Mdscan({In("clip.mp4")}), "clip.mp4", "moov atom not found");
}

TEST_F(DamagedVideo, DamageInTheMiddleIsSteppedOver) {
    const Video::SquareScene scene{.from = 14, .until = 18};
    Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "mp4", .headerFirst = true}, In("clip.mp4"));
    Damage("clip.mp4", fs::file_size(In("clip.mp4")) / 3, 20'000);
    const Outcome run = Mdscan({"--overlay", In("boxes.mp4"), In("clip.mp4")});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("damaged near "), std::string::npos) << run.err;
    ASSERT_FALSE(run.lines.empty());
    ExpectTheSquare(run.lines.back(), scene);  // behind the damage
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.mp4"}));
}

}  // namespace
}  // namespace Scan
