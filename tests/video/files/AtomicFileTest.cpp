// Does a result appear whole or not at all?
#include "video/files/AtomicFile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "FolderFixture.h"
#include "conditioning/MemoryFile.h"
#include "video/base/Failure.h"
#include "video/files/PassingFile.h"

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

using Names = std::vector<std::string>;

TEST_F(AtomicFileTest, WhatAnEndedProcessLeftBehindIsRemoved) {
    for (const char* name : {"out.png.123.part", "out.png.4567.1.part"}) {
        Write(name, "half");
    }
    const Names others = {"other.png.123.part", "out.png.1..part",  "out.png.1.2.3.part", "out.png.12",
                          "out.png.12x.part",   "out.png.bak.part", "out.png.part"};
    for (const std::string& name : others) {
        Write(name, "somebody's");
    }
    { AtomicFile file(In("out.png"), In("in.mp4")); }
    EXPECT_EQ(FilesInFolder(), others);
}

TEST_F(AtomicFileTest, WhatIsWrittenOrReadStays) {
    Write("out.png.123.part", "a process of another machine is at it");
    Write("out.png.124.part", "an input");
    const int writer = open(In("out.png.123.part").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(writer, LOCK_EX), 0);
    { AtomicFile file(In("out.png"), In("out.png.124.part")); }
    EXPECT_EQ(FilesInFolder(), (Names{"out.png.123.part", "out.png.124.part"}));
    close(writer);
    AtomicFile first(In("out.png"), In("in.mp4"));
    AtomicFile second(In("out.png"), In("in.mp4"));  // of the same process
    EXPECT_NE(first.PassingPath(), second.PassingPath());
}

// The same folder by another name each time: it is looked through anew.
std::string Spelled(const std::string& folder, int times, const char* name) {
    return folder + std::string(static_cast<std::size_t>(times) + 1, '/') + name;
}

TEST_F(AtomicFileTest, WhoRemovesLeftoversTakesNothingFromWriters) {
    constexpr int rounds = 100;
    const auto process = [](const std::function<void()>& work) {
        const pid_t child = fork();
        if (child == 0) {
            work();
            _exit(0);
        }
        return child;
    };
    const pid_t remover = process([&] {
        for (int i = 0;; ++i) {
            RemoveLeftovers(Spelled(Folder(), i % 3000, "out"));
            RemoveLeftovers(Spelled(Folder(), i % 3000, "memory"));
        }
    });
    const pid_t writer = process([&] {
        for (int i = 0; i < rounds; ++i) {
            AtomicFile(Spelled(Folder(), i, "out"), In("in.mp4")).Keep();  // a Failure ends the process
        }
    });
    for (int i = 0; i < rounds; ++i) {
        AtomicFile file(Spelled(Folder(), i, "out"), In("in.mp4"));
        Write(file.PassingPath(), "whole");
        EXPECT_NO_THROW(file.Keep());
        ASSERT_EQ(Host::SaveMemory(In("memory"), std::vector<std::uint8_t>{1}), "");
    }
    int status = 0;
    EXPECT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0);
    kill(remover, SIGKILL);
    waitpid(remover, nullptr, 0);
    EXPECT_EQ(FilesInFolder(), (Names{"memory", "out"}));
}

}  // namespace
}  // namespace Video
