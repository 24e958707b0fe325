// Does the restlessness of a row add up what its blocks changed from frame to frame?
#include "detector/kernels/DiffState.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace MD::Kernels;
using Kit::ForEachKernelCase;
using Kit::KernelCase;
using Kit::KernelComparison;
using Kit::KernelPlane;
using Kit::SeededRandom;

namespace {

struct Ring {
    KernelPlane<std::uint8_t> ofAge[framesOfRing];

    RowVariation Measure(const KernelCase& c, KernelPlane<std::uint8_t>& isSelected, std::ptrdiff_t first,
                         std::ptrdiff_t last) {
        const std::uint8_t* lumaOfAge[framesOfRing];
        for (int age = 0; age < framesOfRing; ++age) lumaOfAge[age] = ofAge[age].At(c);
        return VariationOfRow(lumaOfAge, isSelected.At(c), first, last);
    }
};

// One block over the ages 0 to `lastAge`.
int Variation(Ring& ring, const KernelCase& c, std::size_t block, int lastAge) {
    int sum = 0;
    for (int age = 1; age <= lastAge; ++age)
        sum += std::abs(int{ring.ofAge[age](c, block)} - int{ring.ofAge[age - 1](c, block)});
    return sum;
}

// isCounted(mask byte); the ages up to `lastAge` take part.
template <class IsCounted>
testing::AssertionResult LoopEquals(IsCounted isCounted, int lastAge) {
    Ring ring;
    KernelPlane<std::uint8_t> isSelected;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        for (KernelPlane<std::uint8_t>& plane : ring.ofAge) plane.Fill(c, 0, 255, [&] { return random.Byte(); });
        isSelected.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(3) ? 0 : random.Byte()); });
        std::int64_t sum = 0;
        int count = 0;
        for (std::size_t i = c.first; i < c.last; ++i) {
            if (!isCounted(isSelected(c, i))) continue;
            ++count;
            sum += Variation(ring, c, i, lastAge);
        }
        const RowVariation row =
            ring.Measure(c, isSelected, static_cast<std::ptrdiff_t>(c.first), static_cast<std::ptrdiff_t>(c.last));
        comparison.CompareValue(c, "sum", row.sum, sum);
        comparison.CompareValue(c, "count", row.count, count);
    });
    return comparison.Result();
}

constexpr KernelCase oneBlock{1, 0, 1, Kit::Level::Random, Kit::GuardedSide::End, 0};

}  // namespace

TEST(DiffStateKernel, LoopEqualsRule) {
    EXPECT_TRUE(LoopEquals([](std::uint8_t mask) { return mask != 0; }, 10));
}

TEST(DiffStateKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(LoopEquals([](std::uint8_t mask) { return mask == 255; }, 10));  // only full mask bytes count
    EXPECT_FALSE(LoopEquals([](std::uint8_t mask) { return mask != 0; }, 9));     // the oldest frame forgotten
}

TEST(DiffStateKernel, EveryStepBetweenTwoBytesCounts) {
    Ring ring;
    KernelPlane<std::uint8_t> isSelected;
    isSelected(oneBlock, 0) = 1;
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b) {
            for (int age = 0; age < framesOfRing; ++age)
                ring.ofAge[age](oneBlock, 0) = static_cast<std::uint8_t>(age % 2 == 0 ? a : b);
            const RowVariation row = ring.Measure(oneBlock, isSelected, 0, 1);
            ASSERT_EQ(row.sum, 10 * std::abs(a - b)) << a << ' ' << b;
            ASSERT_EQ(row.count, 1);
        }
}

TEST(DiffStateKernel, OneStepAtAnyAgeCountsOnce) {
    Ring ring;
    KernelPlane<std::uint8_t> isSelected;
    isSelected(oneBlock, 0) = 255;
    for (int firstOldAge = 1; firstOldAge < framesOfRing; ++firstOldAge) {
        for (int age = 0; age < framesOfRing; ++age)
            ring.ofAge[age](oneBlock, 0) = static_cast<std::uint8_t>(age < firstOldAge ? 100 : 109);
        EXPECT_EQ(ring.Measure(oneBlock, isSelected, 0, 1).sum, 9) << firstOldAge;
    }
}

TEST(DiffStateKernel, EmptyRangeReadsNothing) {
    const std::uint8_t* const nowhere[framesOfRing] = {};
    for (const std::ptrdiff_t last : {std::ptrdiff_t{4}, std::ptrdiff_t{3}, std::ptrdiff_t{-7}}) {
        const RowVariation row = VariationOfRow(nowhere, nullptr, 4, last);
        EXPECT_EQ(row.sum, 0);
        EXPECT_EQ(row.count, 0);
    }
}

TEST(DiffStateKernel, LongestRowAddsUp) {
    constexpr std::size_t length = 9999;  // the longest row: 9999 * 10 * 255 grey levels
    const std::vector<std::uint8_t> even(length, 0), odd(length, 255);
    const std::uint8_t* lumaOfAge[framesOfRing];
    for (int age = 0; age < framesOfRing; ++age) lumaOfAge[age] = age % 2 == 0 ? even.data() : odd.data();
    const RowVariation row = VariationOfRow(lumaOfAge, odd.data(), 0, length);
    EXPECT_EQ(row.sum, std::int64_t{9999} * 10 * 255);
    EXPECT_EQ(row.count, 9999);
}
