// What happens to results that cannot be completed?
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ScanFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class ScanResults : public ScanFixture {};

TEST_F(ScanResults, AnOverlayThatCannotBeCompletedIsNotThere) {
    const std::string clip = RawClip({});
    const Outcome run = Mdscan({"--overlay", In("boxes.mp4"), clip}, {.largestFile = 4'000});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("cannot write"), std::string::npos) << run.err;
    EXPECT_EQ(FilesInFolder(), std::vector<std::string>{"clip.y4m"});
}

TEST_F(ScanResults, ResultsNeverReplaceTheInput) {
    const std::string clip = RawClip({.seconds = 1});
    const std::uintmax_t size = fs::file_size(clip);
    const Outcome run = Mdscan({"--overlay", clip, clip});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_EQ(fs::file_size(clip), size);
}

TEST_F(ScanResults, AFullOutputIsAFailure) {
    const Outcome run = Mdscan({"--frames", RawClip({.seconds = 1})}, {.output = "/dev/full"});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("cannot print results"), std::string::npos) << run.err;
}

TEST_F(ScanResults, BadUsageIsExitCodeTwo) {
    const Outcome run = Mdscan({"--rate", "fast", "clip.mp4"});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_TRUE(run.lines.empty());
}

TEST_F(ScanResults, InterruptionKeepsWhatWasFound) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome run = MdscanInterrupted({"--frames", "--overlay", In("boxes.mp4")}, In("clip.y4m"), In("pipe"), 80);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find(": interrupted; "), std::string::npos) << run.err;
    EXPECT_GE(run.lines.size(), 80u);
    EXPECT_LT(run.lines.size(), 101u);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.y4m", "pipe"}));
}

TEST_F(ScanResults, AClosedTerminalEndsARunInGoodOrder) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome one =
        MdscanInterrupted({"--frames", "--overlay", In("boxes.mp4")}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP});
    EXPECT_EQ(one.code, 1);
    EXPECT_NE(one.err.find(": interrupted; "), std::string::npos) << one.err;
    EXPECT_LT(one.lines.size(), 101u);
    EXPECT_EQ(FilesInFolder(), (std::vector<std::string>{"boxes.mp4", "clip.y4m", "pipe"}));

    fs::remove(In("pipe"));
    const Outcome many =
        MdscanInterrupted({"--frames", In("missing.mp4")}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP});
    EXPECT_EQ(many.code, 1);
    ASSERT_FALSE(many.lines.empty());
    EXPECT_EQ(many.lines.back()["file"], In("pipe"));
    EXPECT_EQ(many.lines.back()["status"], "interrupted") << "its process was told";
}

TEST_F(ScanResults, NohupOutlivesItsTerminal) {
    const Video::SquareScene scene;
    Video::WriteY4m(scene, In("clip.y4m"));
    const Outcome run = MdscanInterrupted({"--frames"}, In("clip.y4m"), In("pipe"), 80, {.signal = SIGHUP, .ignored = true});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_GE(run.lines.size(), 101u);
}

}  // namespace
}  // namespace Scan
