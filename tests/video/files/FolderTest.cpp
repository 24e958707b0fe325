// Is a folder made, and an impossible one refused?
#include "video/files/Folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "FolderFixture.h"
#include "video/base/Failure.h"

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

}  // namespace
}  // namespace Video
