// Does the command line name the videos that a user means?
#include "run/Inputs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FolderFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

class InputsTest : public Kit::FolderFixture {
protected:
    void SetUp() override {
        for (const char* name : {"b.mp4", "a.MKV", "notes.txt", "sub/deep/c.ts", ".hidden.mp4", ".cache/d.mp4", "plain"}) {
            fs::create_directories(fs::path(In(name)).parent_path());
            Write(name, "x");
        }
        fs::create_directory_symlink(Folder(), In("sub/loop"));
    }

    static std::vector<std::string> Paths(const InputList& list) {
        std::vector<std::string> paths;
        for (const Input& input : list.inputs) {
            paths.push_back(input.path);
        }
        return paths;
    }

    using Names = std::vector<std::string>;
};

TEST_F(InputsTest, AFileIsItself) {
    const InputList list = FindInputs({In("plain")});
    EXPECT_EQ(Paths(list), Names{In("plain")});
    EXPECT_FALSE(list.several);
}

TEST_F(InputsTest, AFolderIsTheVideosInAndBelowIt) {
    const InputList list = FindInputs({Folder()});
    EXPECT_EQ(Paths(list), (Names{In("a.MKV"), In("b.mp4"), In("sub/deep/c.ts")}));
    EXPECT_EQ(list.otherFiles, 2);
    EXPECT_TRUE(list.several);
}

TEST_F(InputsTest, APatternIsWhatMatches) {
    EXPECT_EQ(Paths(FindInputs({In("*.mp4")})), Names{In("b.mp4")});
    EXPECT_EQ(Paths(FindInputs({In("s*")})), Names{In("sub/deep/c.ts")});
    const InputList none = FindInputs({In("*.avi")});
    ASSERT_EQ(none.inputs.size(), 1u);
    EXPECT_EQ(none.inputs[0].trouble, "no file matches");
}

TEST_F(InputsTest, AFileWithTheNameOfAPatternIsAFile) {
    Write("x[1].mp4", "x");
    const InputList list = FindInputs({In("x[1].mp4")});
    EXPECT_EQ(Paths(list), Names{In("x[1].mp4")});
    EXPECT_TRUE(list.inputs[0].trouble.empty());
}

TEST_F(InputsTest, NothingIsNamedTwice) {
    EXPECT_EQ(Paths(FindInputs({In("b.mp4"), In("sub/../b.mp4"), Folder(), "-", "-"})),
              (Names{In("b.mp4"), In("a.MKV"), In("sub/deep/c.ts"), "-"}));
}

TEST_F(InputsTest, AnAddressIsNoPattern) {
    const InputList list = FindInputs({"rtsp://camera/stream?channel=[1]", "rtsp://camera/stream?channel=[1]"});
    EXPECT_EQ(Paths(list), Names{"rtsp://camera/stream?channel=[1]"});
    EXPECT_FALSE(list.several);
}

TEST_F(InputsTest, AFolderWithoutVideosIsNamed) {
    fs::create_directory(In("empty"));
    const InputList list = FindInputs({In("b.mp4"), In("empty")});
    ASSERT_EQ(list.inputs.size(), 2u);
    EXPECT_EQ(list.inputs[1].trouble, "contains no video file");
}

TEST_F(InputsTest, WhatIsMissingStaysInTheList) { EXPECT_EQ(Paths(FindInputs({In("no.mp4")})), Names{In("no.mp4")}); }

TEST(VideoNames, AreKnownByTheirEnding) {
    EXPECT_TRUE(HasVideoName("a/b.Mp4"));
    EXPECT_TRUE(HasVideoName("b.y4m"));
    EXPECT_FALSE(HasVideoName("mp4"));
    EXPECT_FALSE(HasVideoName("b.mp4.part"));
    EXPECT_FALSE(HasVideoName("b."));
    EXPECT_FALSE(HasVideoName(""));
}

}  // namespace
}  // namespace Scan
