// Is the level of the loops the processor's, decided once for all threads, and can tests have another?
#include "utils/Levels.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

using MD::Level;
using MD::Loop;

namespace {

int Plain() { return 1; }
int Avx2() { return 2; }
constexpr Loop<int()> which(Plain, Avx2);

#if MD_HAS_AVX2_LOOPS
bool HasAvx2() { return __builtin_cpu_supports("avx2") != 0; }
#else
bool HasAvx2() { return false; }
#endif

TEST(Levels, ManyThreadsDecideForTheBestThatTheProcessorRuns) {
    MD::runningLevel = Level::Undecided;
    std::vector<int> answers(8);
    std::vector<std::thread> threads;
    for (int& answer : answers) threads.emplace_back([&answer] { answer = which(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(answers, std::vector<int>(8, HasAvx2() ? 2 : 1));
    EXPECT_EQ(MD::runningLevel, HasAvx2() ? Level::Avx2 : Level::Plain);
}

TEST(Levels, TestsCanUseAnother) {
    EXPECT_TRUE(MD::UseLevel(Level::Plain));
    EXPECT_EQ(which(), 1);
    EXPECT_EQ(MD::UseLevel(Level::Avx2), HasAvx2());
    EXPECT_EQ(which(), HasAvx2() ? 2 : 1);
}

}  // namespace
