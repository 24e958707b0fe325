// Are steps of luma judged at their borders, and summed as an obviously right form sums them?
#include "conditioning/kernels/EdgeComparison.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

using namespace Host::Kernels;

namespace {

struct Comparison {
    EdgeCounts counts;
    StepPowers powers;
};

Comparison Compare(const std::vector<std::uint8_t>& luma, const std::vector<std::uint8_t>& reference, int columns,
                   BlockBox box) {
    return {CompareEdges(luma.data(), reference.data(), columns, box),
            CompareSteps(luma.data(), reference.data(), columns, box)};
}

Comparison Plain(const std::vector<std::uint8_t>& luma, const std::vector<std::uint8_t>& reference, int columns,
                 BlockBox box) {
    Comparison plain;
    auto& [counts, powers] = plain;
    const auto at = [columns](const std::vector<std::uint8_t>& plane, int x, int y) {
        return static_cast<int>(plane.at(static_cast<std::size_t>(y * columns + x)));
    };
    for (int y = box.top; y < box.bottom; ++y)
        for (int x = box.left; x < box.right; ++x) {
            const int right = at(luma, x + 1, y) - at(luma, x, y), down = at(luma, x, y + 1) - at(luma, x, y);
            const int knownRight = at(reference, x + 1, y) - at(reference, x, y);
            const int knownDown = at(reference, x, y + 1) - at(reference, x, y);
            const int known = std::abs(knownRight) + std::abs(knownDown);
            const int difference = std::abs(right - knownRight) + std::abs(down - knownDown);
            if (known >= 16) {
                ++counts.structured;
                if (difference * 4 > known * 3) ++counts.another;
            }
            if (std::abs(right) + std::abs(down) >= 16) ++counts.structuredNow;
            powers.product += right * knownRight + down * knownDown;
            powers.power += right * right + down * down;
            powers.reference += knownRight * knownRight + knownDown * knownDown;
        }
    return plain;
}

bool AreEqual(const Comparison& a, const Comparison& b) {
    return a.counts.structured == b.counts.structured && a.counts.another == b.counts.another &&
           a.counts.structuredNow == b.counts.structuredNow && a.powers.product == b.powers.product &&
           a.powers.power == b.powers.power && a.powers.reference == b.powers.reference;
}

}  // namespace

TEST(EdgeComparison, StructureBeginsAtSixteenLevels) {
    EXPECT_FALSE(IsStructured({15, 0}));
    EXPECT_TRUE(IsStructured({-16, 0}));
    EXPECT_TRUE(IsStructured({8, -8}));
    EXPECT_FALSE(IsStructured({-8, 7}));
}

TEST(EdgeComparison, AnotherStepIsMoreThanThreeQuartersAway) {
    EXPECT_FALSE(IsAnother({20, 0}, {20, 0}));
    EXPECT_FALSE(IsAnother({5, 0}, {20, 0}));
    EXPECT_TRUE(IsAnother({4, 0}, {20, 0}));
    EXPECT_FALSE(IsAnother({24, 0}, {20, 0}));  // a fifth more light
    EXPECT_TRUE(IsAnother({0, 20}, {20, 0}));
    EXPECT_TRUE(IsAnother({-20, 0}, {20, 0}));
}

TEST(EdgeComparison, SumsAsThePlainFormDoes) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        const int columns = 2 + static_cast<int>(random() % 70), rows = 2 + static_cast<int>(random() % 9);
        std::vector<std::uint8_t> luma(static_cast<std::size_t>(columns * rows)), reference = luma;
        for (auto& value : luma) value = static_cast<std::uint8_t>(round % 3 == 0 ? random() % 2 * 255 : random() % 256);
        for (std::size_t i = 0; i < luma.size(); ++i)
            reference[i] = static_cast<std::uint8_t>(round % 2 == 0 ? luma[i] / 2 : random() % 256);
        const int left = static_cast<int>(random() % static_cast<unsigned>(columns)) - 1, top = round % 2;
        const BlockBox box = {std::max(left, 0), std::min(top, rows - 1), columns - 1, rows - 1};
        const Comparison got = Compare(luma, reference, columns, box);
        ASSERT_TRUE(AreEqual(got, Plain(luma, reference, columns, box))) << "round " << round << ", columns " << columns;
        Comparison wrong = got;  // the comparison notices a planted fault
        ++wrong.counts.another;
        ASSERT_FALSE(AreEqual(wrong, got));
        wrong = got;
        ++wrong.powers.reference;
        ASSERT_FALSE(AreEqual(wrong, got));
    }
}

TEST(EdgeComparison, WidestRowOfStrongestStepsFits) {
    constexpr int columns = 9999;
    std::vector<std::uint8_t> luma(2 * columns);
    for (std::size_t i = 0; i < columns; ++i) luma[i] = i % 2 == 0 ? 255 : 0, luma[columns + i] = i % 2 == 0 ? 0 : 255;
    const StepPowers powers = CompareSteps(luma.data(), luma.data(), columns, {0, 0, columns - 1, 1});
    EXPECT_EQ(powers.power, std::int64_t{columns - 1} * 2 * 255 * 255);
    EXPECT_EQ(powers.product, powers.power);
    EXPECT_EQ(powers.reference, powers.power);
}
