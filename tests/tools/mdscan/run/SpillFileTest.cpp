// Does a text come back as it was, in any order?
#include "run/SpillFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace Scan {
namespace {

TEST(SpillFile, TextsComeBackInAnyOrder) {
    SpillFile file;
    std::vector<SpillFile::Place> places;
    for (std::size_t i = 0; i < 5; ++i) {
        places.push_back(file.Add(std::string(i * 40'000, static_cast<char>('a' + i))));
    }
    for (const std::size_t i : {3u, 0u, 4u, 1u, 2u}) {
        EXPECT_EQ(file.Get(places[i]), std::string(i * 40'000, static_cast<char>('a' + i)));
        const SpillFile::Place more = file.Add("more");
        EXPECT_EQ(file.Get(more), "more");
    }
}

// A child inherits the file and tidies up when it ends, which once moved the place where its parent was reading.
TEST(SpillFile, ChildrenDoNotDisturbIt) {
    SpillFile file;
    const SpillFile::Place first = file.Add(std::string(10'000, 'a')), second = file.Add(std::string(10'000, 'b'));
    EXPECT_EQ(file.Get(first), std::string(10'000, 'a'));
    for (int round = 0; round < 3; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            std::exit(0);
        }
        waitpid(child, nullptr, 0);
        EXPECT_EQ(file.Get(second), std::string(10'000, 'b'));
        EXPECT_EQ(file.Get(first), std::string(10'000, 'a'));
        EXPECT_EQ(file.Get(file.Add("c")), "c");
    }
}

}  // namespace
}  // namespace Scan
