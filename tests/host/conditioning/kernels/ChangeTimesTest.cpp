// Do blocks change, and objects know their latest change, as the rules say, at every length and start?
#include "conditioning/kernels/ChangeTimes.h"

#include <gtest/gtest.h>

#include <algorithm>
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
struct PlainChange {
    int difference = 8;
    bool asksTwo = true;
    bool asksFour = true;
};

testing::AssertionResult ChangesEqual(PlainChange rule) {
    KernelPlane<std::uint8_t> luma, one, two, four, isChanged;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        for (auto* plane : {&luma, &one, &two, &four})
            plane->Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.Between(100, 112)); });
        isChanged.Draw(c, [&] { return random.Byte(); });
        std::vector<std::uint8_t> expected = isChanged.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            const auto differs = [&](int earlier) { return std::abs(luma(c, i) - earlier) > rule.difference; };
            const bool changed =
                differs(one(c, i)) || (rule.asksTwo && differs(two(c, i))) || (rule.asksFour && differs(four(c, i)));
            expected[i] = changed ? 255 : 0;
        }
        MarkChanges(luma.At(c) + c.first, {one.At(c) + c.first, two.At(c) + c.first, four.At(c) + c.first},
                    isChanged.At(c) + c.first, c.Range().Count());
        comparison.Compare(c, "isChanged", isChanged, expected);
    });
    return comparison.Result();
}

}  // namespace

TEST(ChangeTimes, ChangeIsMoreThanEightLevels) {
    for (int luma = 0; luma < 256; ++luma)
        for (int earlier = 0; earlier < 256; ++earlier)
            ASSERT_EQ(IsChange(static_cast<std::uint8_t>(luma), static_cast<std::uint8_t>(earlier)),
                      std::abs(luma - earlier) > 8);
}

TEST(ChangeTimes, ChangesEqualTheRule) { EXPECT_TRUE(ChangesEqual({})); }
TEST(ChangeTimes, ComparisonNoticesFaults) {
    EXPECT_FALSE(ChangesEqual({.difference = 7}));
    EXPECT_FALSE(ChangesEqual({.asksTwo = false}));
    EXPECT_FALSE(ChangesEqual({.asksFour = false}));
}

TEST(ChangeTimes, TimesAreCollectedAndSpreadByObject) {
    KernelPlane<std::uint16_t> labels;
    KernelPlane<std::uint8_t> isChanged;
    KernelPlane<std::int64_t> lastChange;
    KernelComparison comparison;
    constexpr std::size_t places = 10;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        labels.Fill(c, 0, places - 1,
                    [&] { return static_cast<std::uint16_t>(random.OneIn(3) ? 0 : random.Below(places)); });
        isChanged.Draw(c, [&] { return static_cast<std::uint8_t>(random.OneIn(5) ? 255 : 0); });
        lastChange.Draw(c, [&] { return random.OneIn(4) ? noChange : std::int64_t{random.Between(-50, 50)}; });
        std::vector<std::int64_t> latest(places, noObject), expected(places, noObject);
        const std::vector<std::uint16_t> owners = labels.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i)
            if (owners[i] != 0)
                expected[owners[i]] = std::max(expected[owners[i]], isChanged(c, i) != 0 ? 60 : lastChange(c, i));
        const std::size_t count = c.Range().Count();
        CollectChanges(labels.At(c) + c.first, isChanged.At(c) + c.first, lastChange.At(c) + c.first, 60, latest.data(),
                       count);
        comparison.Compare(c, "latest", latest, expected);

        latest[0] = latest[3] = noChange;  // nobody's, and an object whose time is over
        std::vector<std::int64_t> times = lastChange.Copy(c);
        std::vector<std::uint16_t> kept = owners;
        for (std::size_t i = c.first; i < c.last; ++i) {
            times[i] = latest[owners[i]];
            if (times[i] == noChange) kept[i] = 0;
        }
        SpreadChanges(labels.At(c) + c.first, latest.data(), lastChange.At(c) + c.first, count);
        comparison.Compare(c, "lastChange", lastChange, times);
        comparison.Compare(c, "labels", labels, kept);
    });
    EXPECT_TRUE(comparison.Result());
}
