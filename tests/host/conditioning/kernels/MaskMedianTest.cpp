// Is the median of a mask counted over exactly five rows and five columns, at every length?
#include "conditioning/kernels/MaskMedian.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "KernelCases.h"
#include "KernelComparison.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using namespace Kit;

namespace {

testing::AssertionResult MedianEquals(int most, std::size_t columns) {
    KernelPlane<std::uint8_t> row[medianRows], sum, mask;
    KernelComparison comparison;
    ForEachKernelCase([&](const KernelCase& c) {
        SeededRandom random(c.seed);
        for (auto& plane : row) plane.Fill(c, 0, 255, [&] { return static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0); });
        for (auto* plane : {&sum, &mask}) plane->Draw(c, [&] { return random.Byte(); });
        const std::size_t count = c.Range().Count(), inner = count < 4 ? 0 : count - 4;
        std::vector<std::uint8_t> sums = sum.Copy(c), expected = mask.Copy(c);
        for (std::size_t i = c.first; i < c.last; ++i) {
            sums[i] = 0;
            for (auto& plane : row) sums[i] = static_cast<std::uint8_t>(sums[i] + (plane(c, i) != 0 ? 1 : 0));
        }
        for (std::size_t i = 0; i < inner; ++i) {
            int set = 0;
            for (std::size_t column = 0; column < columns; ++column) set += sums[c.first + i + column];
            expected[c.first + i] = set >= most ? 255 : 0;
        }
        CountSet({row[0].At(c) + c.first, row[1].At(c) + c.first, row[2].At(c) + c.first, row[3].At(c) + c.first,
                  row[4].At(c) + c.first},
                 sum.At(c) + c.first, count);
        comparison.Compare(c, "sum", sum, sums);
        MarkMedian(sum.At(c) + c.first, mask.At(c) + c.first, inner);
        comparison.Compare(c, "mask", mask, expected);
    });
    return comparison.Result();
}

}  // namespace

TEST(MaskMedian, LoopsEqualThePlainForm) { EXPECT_TRUE(MedianEquals(13, 5)); }
TEST(MaskMedian, ComparisonNoticesAnotherMajority) { EXPECT_FALSE(MedianEquals(12, 5)); }
TEST(MaskMedian, ComparisonNoticesAColumnLess) { EXPECT_FALSE(MedianEquals(13, 4)); }
