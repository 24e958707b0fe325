// Are weighted planes the sums of their products, rounded to nearest?
#include "conditioning/kernels/WeightedPlanes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "GuardedBlocks.h"
#include "SeededRandom.h"

using namespace Host::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;

TEST(WeightedPlanes, SumsAndMeansAreExactAtEveryLength) {
    Kit::SeededRandom random(1);
    for (std::size_t count = 0; count <= 67; ++count)
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
            for (const int shift : {8, 9, 10}) {
                GuardedBlocks<std::uint8_t> first(count, side), second(count, side), mean(count, side);
                GuardedBlocks<std::uint32_t> sum(count, side);
                const auto whole = 1u << shift, weight = static_cast<std::uint32_t>(random.Between(0, 1 << shift));
                for (std::size_t i = 0; i < count; ++i) {
                    first[i] = random.OneIn(4) ? std::uint8_t{255} : random.Byte();
                    second[i] = random.OneIn(4) ? std::uint8_t{255} : random.Byte();
                }
                AddWeighted(first.data(), weight, sum.data(), count);
                AddWeighted(second.data(), whole - weight, sum.data(), count);
                StoreWeighted(sum.data(), shift, mean.data(), count);
                for (std::size_t i = 0; i < count; ++i) {
                    const std::uint32_t expected = weight * first[i] + (whole - weight) * second[i];
                    ASSERT_EQ(sum[i], expected) << "length " << count << ", block " << i;
                    ASSERT_EQ(mean[i], (2 * expected + whole) / (2 * whole)) << "length " << count << ", block " << i;
                }
                EXPECT_TRUE(sum.SlackIsIntact() && mean.SlackIsIntact());
            }
}
