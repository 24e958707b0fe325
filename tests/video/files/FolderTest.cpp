// Is a folder made, and an impossible one refused?  Do passing ones go, and only those?
#include "video/files/Folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "FolderFixture.h"
#include "video/base/Failure.h"
#include "video/files/PassingFolder.h"

namespace Video {
namespace {

class FolderTest : public Kit::FolderFixture {
protected:
    // Absent: the folder is there.
    static std::optional<Failure> Refusal(const std::string& path) {
        try {
            MakeFolder(path);
        } catch (const Failure& failure) {
            return failure;
        }
        return std::nullopt;
    }
};

TEST_F(FolderTest, IsMadeWithThoseAboveIt) {
    EXPECT_FALSE(Refusal(In("a/b/c")));
    EXPECT_TRUE(std::filesystem::is_directory(In("a/b/c")));
    EXPECT_FALSE(Refusal(In("a/b"))) << "there already";
}

TEST_F(FolderTest, AFileInItsPlaceEndsTheRun) {
    Write("file", "x");
    for (const std::string& path : {In("file"), In("file/below")}) {
        const std::optional<Failure> refusal = Refusal(path);
        ASSERT_TRUE(refusal) << path;
        EXPECT_EQ(refusal->Concerns(), Concern::Output) << path;
        EXPECT_EQ(std::string(refusal->what()).find("cannot write into " + path + ": "), 0u) << refusal->what();
    }
}

class PassingFolderTest : public Kit::FolderFixture {};

TEST_F(PassingFolderTest, GoesWithAllThatItHolds) {
    std::string name;
    {
        const PassingFolder folder(In("all.mp4.clips"));
        name = folder.Name();
        EXPECT_EQ(name, In("all.mp4.clips.") + std::to_string(getpid()) + ".part");
        std::ofstream(name + "/a.mp4") << "clip";
    }
    EXPECT_FALSE(std::filesystem::exists(name));
}

// Others' names, folders that somebody holds, and links stay.
TEST_F(PassingFolderTest, RemovesWhatNobodyHolds) {
    for (const char* name : {"x.1.part", "x.2.part", "x.part", "x.1.2.3.part", "y.1.part", "away"}) {
        std::filesystem::create_directory(In(name));
        std::ofstream(In(name) + "/file") << "content";
    }
    std::filesystem::create_directory_symlink(In("away"), In("x.3.part"));
    const int held = open(In("x.2.part").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    { const PassingFolder folder(In("x")); }
    EXPECT_FALSE(std::filesystem::exists(In("x.1.part")));
    for (const char* name : {"x.2.part", "x.part", "x.1.2.3.part", "y.1.part", "x.3.part", "away"}) {
        EXPECT_TRUE(std::filesystem::exists(In(name) + "/file")) << name;
    }
    close(held);
}

TEST_F(PassingFolderTest, ImpossiblePlaceIsNamed) {
    try {
        const PassingFolder folder(In("no/such/x"));
        FAIL() << "was made";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("cannot write " + In("no/such/x.")), std::string::npos) << failure.what();
    }
}

}  // namespace
}  // namespace Video
