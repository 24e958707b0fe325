// Does a result appear whole or not at all?
#include "video/files/AtomicFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

#include "FolderFixture.h"
#include "video/base/Failure.h"

namespace Video {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public Kit::FolderFixture {
protected:
    static ExitCode CodeOf(const std::string& path, const std::string& input) {
        try {
            AtomicFile file(path, input);
        } catch (const Failure& failure) {
            return failure.Code();
        }
        return exitComplete;
    }
};

TEST_F(AtomicFileTest, AppearsUnderItsNameOnlyWhenKept) {
    AtomicFile file(In("out.png"), In("in.mp4"));
    Write(file.PassingPath(), "whole");
    EXPECT_FALSE(fs::exists(In("out.png")));
    file.Keep();
    EXPECT_EQ(Read("out.png"), "whole");
    EXPECT_EQ(FilesInFolder().size(), 1u);
}

TEST_F(AtomicFileTest, LeavesNothingBehindWhenNotKept) {
    {
        AtomicFile file(In("out.png"), In("in.mp4"));
        Write(file.PassingPath(), "half");
        EXPECT_EQ(FilesInFolder().size(), 1u);
    }
    EXPECT_EQ(FilesInFolder().size(), 0u);
}

TEST_F(AtomicFileTest, AnOlderResultStaysUntilTheNewOneIsWhole) {
    Write("out.png", "old");
    { AtomicFile abandoned(In("out.png"), In("in.mp4")); }
    EXPECT_EQ(Read("out.png"), "old");
    AtomicFile file(In("out.png"), In("in.mp4"));
    Write(file.PassingPath(), "new");
    file.Keep();
    EXPECT_EQ(Read("out.png"), "new");
}

TEST_F(AtomicFileTest, NeverReplacesTheInput) {
    Write("in.mp4", "footage");
    fs::create_symlink(In("in.mp4"), In("alias.mp4"));
    EXPECT_EQ(CodeOf(In("in.mp4"), In("in.mp4")), exitUsage);
    EXPECT_EQ(CodeOf(In("alias.mp4"), In("in.mp4")), exitUsage);
    EXPECT_EQ(Read("in.mp4"), "footage");
}

TEST_F(AtomicFileTest, NeverReplacesWhatIsNotAPlainFile) {
    ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);  // not a device of the system: a faulty build would replace it
    EXPECT_EQ(CodeOf(In("pipe"), In("in.mp4")), exitUsage);
    fs::create_directory(In("folder"));
    EXPECT_EQ(CodeOf(In("folder"), In("in.mp4")), exitUsage);
}

TEST_F(AtomicFileTest, AnImpossiblePlaceIsKnownAtOnce) {
    EXPECT_EQ(CodeOf(In("missing/out.png"), In("in.mp4")), exitFailed);
}

}  // namespace
}  // namespace Video
