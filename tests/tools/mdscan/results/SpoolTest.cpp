// Does a text come back as it was, in any order?
#include "results/Spool.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace Scan {
namespace {

TEST(Spool, TextsComeBackInAnyOrder) {
    Spool spool;
    std::vector<Spool::Place> places;
    for (std::size_t i = 0; i < 5; ++i) {
        places.push_back(spool.Add(std::string(i * 40'000, static_cast<char>('a' + i))));
    }
    for (const std::size_t i : {3u, 0u, 4u, 1u, 2u}) {
        EXPECT_EQ(spool.Get(places[i]), std::string(i * 40'000, static_cast<char>('a' + i)));
        const Spool::Place more = spool.Add("more");
        EXPECT_EQ(spool.Get(more), "more");
    }
}

// A child inherits the file and tidies up when it ends, which once moved the place where its parent was reading.
TEST(Spool, ChildrenDoNotDisturbIt) {
    Spool spool;
    const Spool::Place first = spool.Add(std::string(10'000, 'a')), second = spool.Add(std::string(10'000, 'b'));
    EXPECT_EQ(spool.Get(first), std::string(10'000, 'a'));
    for (int round = 0; round < 3; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            std::exit(0);
        }
        waitpid(child, nullptr, 0);
        EXPECT_EQ(spool.Get(second), std::string(10'000, 'b'));
        EXPECT_EQ(spool.Get(first), std::string(10'000, 'a'));
        EXPECT_EQ(spool.Get(spool.Add("c")), "c");
    }
}

}  // namespace
}  // namespace Scan
