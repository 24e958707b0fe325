// Are blocks counted, marked and dimmed as one at a time would be, at every length?
#include "conditioning/kernels/LumaCounts.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using namespace Kit;

namespace {

// What the comparison is made with; a fault is one of its numbers, changed.
struct PlainCounts {
    int level = 32;
    int levels = 8;
    int tenths = 7;
};

testing::AssertionResult CountsEqual(PlainCounts rule) {
    KernelPlane<std::uint8_t> luma, before, hasChanged, dimmed;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        luma.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(20, 50)); });
        before.Draw(c, [&] { return static_cast<std::uint8_t>(random.Between(20, 50)); });
        for (auto* plane : {&hasChanged, &dimmed}) plane->Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> plainChanged = hasChanged.Copy(c), plainDimmed = dimmed.Copy(c);
        std::size_t brighter = 0, up = 0, down = 0;
        for (std::size_t i = c.first; i < c.last; ++i) {
            const int change = luma(c, i) - before(c, i);
            brighter += luma(c, i) > rule.level ? 1 : 0;
            up += change >= rule.levels ? 1 : 0;
            down += change <= -rule.levels ? 1 : 0;
            plainChanged[i] = std::abs(change) >= rule.levels ? 1 : 0;
            plainDimmed[i] = static_cast<std::uint8_t>((luma(c, i) * rule.tenths + 5) / 10);
        }
        const std::size_t count = c.Range().Count();
        comparison.CompareValue(c, "brighter", CountBrighter(luma.At(c) + c.first, 32, count), brighter);
        const LumaChanges changes =
            MarkLumaChanges(luma.At(c) + c.first, before.At(c) + c.first, 8, hasChanged.At(c) + c.first, count);
        comparison.CompareValue(c, "got brighter", changes.brighter, up);
        comparison.CompareValue(c, "got darker", changes.darker, down);
        comparison.Compare(c, "hasChanged", hasChanged, plainChanged);
        DimLuma(luma.At(c) + c.first, 7, dimmed.At(c) + c.first, count);
        comparison.Compare(c, "dimmed", dimmed, plainDimmed);
    });
    return comparison.Result();
}

}  // namespace

TEST(LumaCounts, CountsEqualThePlainForm) { EXPECT_TRUE(CountsEqual({})); }
TEST(LumaCounts, ComparisonNoticesFaults) {
    EXPECT_FALSE(CountsEqual({.level = 33}));
    EXPECT_FALSE(CountsEqual({.levels = 9}));
    EXPECT_FALSE(CountsEqual({.tenths = 6}));
}

TEST(LumaCounts, DimmedLumaIsTheIntegerQuotient) {
    for (int tenths = 1; tenths <= 10; ++tenths)
        for (int luma = 0; luma < 256; ++luma)
            ASSERT_EQ(Dimmed(static_cast<std::uint8_t>(luma), static_cast<std::uint8_t>(tenths)), (luma * tenths + 5) / 10);
}

TEST(LumaCounts, EveryDifferenceIsJudged) {
    for (int luma = 0; luma < 256; ++luma)
        for (int before = 0; before < 256; ++before) {
            const auto now = static_cast<std::uint8_t>(luma), then = static_cast<std::uint8_t>(before);
            std::uint8_t hasChanged = 7;
            const LumaChanges changes = MarkLumaChanges(&now, &then, 8, &hasChanged, 1);
            ASSERT_EQ(changes.brighter, luma - before >= 8 ? 1u : 0u) << luma << " after " << before;
            ASSERT_EQ(changes.darker, before - luma >= 8 ? 1u : 0u) << luma << " after " << before;
            ASSERT_EQ(hasChanged, std::abs(luma - before) >= 8 ? 1 : 0) << luma << " after " << before;
        }
}
