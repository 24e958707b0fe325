// Does a memory reach its file whole, and is every failure told with its path?
#include "conditioning/MemoryFile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FolderFixture.h"

using Host::LoadMemory;
using Host::SaveMemory;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Names = std::vector<std::string>;

// The process gets so much of something at most, for as long as this lives.
class Limit {
public:
    Limit(decltype(RLIMIT_FSIZE) what, rlim_t most) : _what(what), _handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(_what, &_before);
        const rlimit limit{most, _before.rlim_max};
        setrlimit(_what, &limit);
    }
    ~Limit() {
        setrlimit(_what, &_before);
        std::signal(SIGXFSZ, _handler);
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

private:
    decltype(RLIMIT_FSIZE) _what;
    void (*_handler)(int);
    rlimit _before{};
};

class MemoryFileTest : public Kit::FolderFixture {};

}  // namespace

TEST_F(MemoryFileTest, BytesComeBack) {
    Bytes bytes(100000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 >> 3);
    for (const Bytes& saved : {bytes, Bytes{}, Bytes{1}}) {
        EXPECT_EQ(SaveMemory(In("memory"), saved), "");
        const auto loaded = LoadMemory(In("memory"));
        ASSERT_TRUE(loaded.bytes) << loaded.failure;
        EXPECT_EQ(*loaded.bytes, saved);
        EXPECT_EQ(FilesInFolder(), Names{"memory"});
    }
}

// A path without a folder is meant in the current one.
TEST_F(MemoryFileTest, ANameAloneIsEnough) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Folder());
    EXPECT_EQ(SaveMemory("memory", Bytes{1, 2}), "");
    EXPECT_TRUE(LoadMemory("memory").bytes);
    std::filesystem::current_path(before);
    EXPECT_EQ(FilesInFolder(), Names{"memory"});
}

TEST_F(MemoryFileTest, WhoReadsMeanwhileKeepsTheOldBytes) {
    ASSERT_EQ(SaveMemory(In("memory"), Bytes{'o', 'l', 'd'}), "");
    std::ifstream reader(In("memory"));
    ASSERT_EQ(SaveMemory(In("memory"), Bytes{'n', 'e', 'w', '!'}), "");
    std::string seen;
    reader >> seen;
    EXPECT_EQ(seen, "old");
    EXPECT_EQ(Read("memory"), "new!");
}

TEST_F(MemoryFileTest, AFullDiskLeavesTheOldFile) {
    ASSERT_EQ(SaveMemory(In("memory"), Bytes{'o', 'l', 'd'}), "");
    const Limit size(RLIMIT_FSIZE, 1000);
    EXPECT_EQ(SaveMemory(In("memory"), Bytes(100000)), "cannot write " + In("memory") + ": File too large");
    EXPECT_EQ(SaveMemory(In("memory"), Bytes(1001)), "cannot write " + In("memory") + ": File too large");  // when flushed
    EXPECT_EQ(Read("memory"), "old");
    EXPECT_EQ(FilesInFolder(), Names{"memory"});
}

TEST_F(MemoryFileTest, PlacesThatCannotBeWrittenAreNamed) {
    EXPECT_EQ(SaveMemory(In("none/memory"), Bytes{1}), "cannot write " + In("none/memory") + ": No such file or directory");
    std::filesystem::create_directory(In("folder"));
    EXPECT_EQ(SaveMemory(In("folder"), Bytes{1}), "cannot write " + In("folder") + ": Is a directory");
    EXPECT_EQ(FilesInFolder(), Names{"folder"});
}

TEST_F(MemoryFileTest, PlacesThatCannotBeReadAreNamed) {
    EXPECT_EQ(LoadMemory(In("none")).failure, "cannot read " + In("none") + ": No such file or directory");
    EXPECT_FALSE(LoadMemory(In("none")).bytes);
    EXPECT_EQ(LoadMemory(Folder()).failure, "cannot read " + Folder() + ": is not a plain file");
    ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);
    EXPECT_EQ(LoadMemory(In("pipe")).failure, "cannot read " + In("pipe") + ": is not a plain file");
    const std::string below = In("file") + "/memory";
    Write("file", "");
    EXPECT_EQ(LoadMemory(below).failure, "cannot read " + below + ": Not a directory");
}

TEST_F(MemoryFileTest, WhatIsTooLargeIsNotRead) {
    Write("large", "");
    std::filesystem::resize_file(In("large"), static_cast<std::uintmax_t>(Host::mostMemoryBytes) + 1);  // of holes
    EXPECT_EQ(LoadMemory(In("large")).failure, "cannot read " + In("large") + ": is too large for a memory");
}

// A name is enough to ask for the size, but not to read.
TEST_F(MemoryFileTest, WhatCannotBeOpenedIsNamed) {
    Write("memory", "x");
    std::string failure;
    {
        const Limit none(RLIMIT_NOFILE, 0);
        failure = LoadMemory(In("memory")).failure;
    }
    EXPECT_EQ(failure, "cannot read " + In("memory") + ": Too many open files");
}

// Files that the kernel makes up tell a size that they do not have.
TEST_F(MemoryFileTest, WhatEndsBeforeItsLengthIsRefused) {
    const std::string path = "/sys/kernel/mm/transparent_hugepage/enabled";
    std::error_code error;
    if (!std::filesystem::exists(path, error)) GTEST_SKIP() << "no " << path;
    EXPECT_EQ(LoadMemory(path).failure, "cannot read " + path + ": ends before its length");
}
