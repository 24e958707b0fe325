// Does the comparison of kernel tests notice a planted fault, and does it say where?  And do its cases reach the borders of
// chunks?
#include "KernelComparison.h"

#include <cmath>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using Kit::ForEachKernelCase;
using Kit::GridCase;
using Kit::GuardedSide;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::Level;

namespace {

// Doubles every byte of the range, but for planted faults: at one block of one length, and at the block behind the range.
struct Faults {
    std::size_t length = 0;  // none
    std::size_t block = 0;
    bool writesBehind = false;
};

testing::AssertionResult DoublingEquals(Faults faults) {
    KernelPlane<std::uint8_t> plane;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        plane.Draw(c, [] { return std::uint8_t{8}; });
        std::vector<std::uint8_t> expected = plane.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) expected[i] = 16;
        for (std::size_t i = c.first; i < c.last; ++i) plane(c, i) = 16;
        const bool isFaulty =
            faults.length > 0 && c.last - c.first == faults.length && c.first == 3 && c.level == Level::Random;
        if (isFaulty && !faults.writesBehind) plane(c, faults.block) = 17;
        if (isFaulty && faults.writesBehind && c.last < c.size) plane(c, c.last) = 9;
        comparison.Compare(c, "doubled", plane, expected);
    });
    return comparison.Result();
}

constexpr KernelCase fiveBlocks{5, 1, 4, Level::High, GuardedSide::End, 0};

}  // namespace

TEST(KernelComparison, SaysCaseLengthStartBlockGotAndExpected) {
    const testing::AssertionResult result = DoublingEquals({.length = 257, .block = 256});
    EXPECT_FALSE(result);
    EXPECT_EQ(std::string(result.message()),
              "2 of 1332 comparisons differ, the first: doubled, case random, length 257, start 3, block 256: got 17, "
              "expected 16");
}

TEST(KernelComparison, NoticesAStoreBehindTheRange) {
    const testing::AssertionResult result = DoublingEquals({.length = 512, .writesBehind = true});
    EXPECT_EQ(std::string(result.message()),
              "1 of 1332 comparisons differ, the first: doubled, case random, length 512, start 3, block 515: got 9, "
              "expected 8");
}

TEST(KernelComparison, EqualArraysAreASuccess) {
    const testing::AssertionResult result = DoublingEquals({});
    EXPECT_TRUE(result);
    EXPECT_EQ(std::string(result.message()), "1332 comparisons without a difference");
}

TEST(KernelComparison, NothingComparedIsAFailure) { EXPECT_FALSE(KernelComparison().Result()); }

TEST(KernelComparison, FloatsAreComparedAsBytes) {
    KernelComparison zeros, steps;
    zeros.CompareValue(fiveBlocks, "sum", 0.0f, -0.0f);
    EXPECT_FALSE(zeros.Result());
    steps.CompareValue(fiveBlocks, "sum", std::nextafter(1.0f, 2.0f), 1.0f);
    EXPECT_EQ(
        std::string(steps.Result().message()),
        "1 of 1 comparisons differ, the first: sum, case high, length 3, start 1, all blocks: got 1.00000012, expected "
        "1");
}

TEST(KernelComparison, ArraysOfOtherSizesDiffer) {
    KernelComparison comparison;
    const std::vector<int> three(3), two(2);
    comparison.Compare(GridCase{.columns = 4, .rows = 2, .fill = "dense"}, "cells", three, two);
    EXPECT_EQ(std::string(comparison.Result().message()),
              "1 of 1 comparisons differ, the first: cells, case dense, 4 x 2 blocks, size: got 3, expected 2");
}

TEST(KernelCases, RangesReachTheBordersOfChunksFromOddStarts) {
    std::set<std::pair<std::size_t, std::size_t>> visited;  // length, start
    ForEachKernelCase([&](const KernelCase& c) { visited.insert({c.last - c.first, c.first}); });
    for (const std::size_t length : {0u, 1u, 66u, 67u, 255u, 256u, 257u, 511u, 512u, 513u})
        for (const std::size_t start : {0u, 1u, 3u}) EXPECT_EQ(visited.count({length, start}), 1u) << length << ' ' << start;
}
