// Does the guarded array notice what it is there to notice?  The test of the test kit.
#include "GuardedBlocks.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>

using Kit::GuardedBlocks;
using Kit::GuardedSide;

namespace {

template <class T>
T ReadAt(const GuardedBlocks<T>& blocks, std::ptrdiff_t index) {
    const volatile T* element = blocks.data() + index;
    return *element;
}

constexpr std::size_t lengths[] = {0, 1, 2, 63, 4095, 4096, 4097, 9000};

}  // namespace

TEST(GuardedBlocksDeathTest, ReadBehindTheEndStops) {
    for (const std::size_t length : lengths) {
        const GuardedBlocks<std::uint8_t> bytes(length);
        EXPECT_DEATH(ReadAt(bytes, static_cast<std::ptrdiff_t>(length)), "") << length;
        const GuardedBlocks<std::int64_t> ticks(length);
        EXPECT_DEATH(ReadAt(ticks, static_cast<std::ptrdiff_t>(length)), "") << length;
    }
}

TEST(GuardedBlocksDeathTest, ReadBeforeTheFrontStops) {
    for (const std::size_t length : lengths) {
        const GuardedBlocks<std::uint8_t> bytes(length, GuardedSide::Front);
        EXPECT_DEATH(ReadAt(bytes, -1), "") << length;
        const GuardedBlocks<float> levels(length, GuardedSide::Front);
        EXPECT_DEATH(ReadAt(levels, -1), "") << length;
    }
}

TEST(GuardedBlocks, WholeArrayIsOpenAndStartsAtZero) {
    for (const std::size_t length : lengths) {
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front}) {
            GuardedBlocks<std::int32_t> blocks(length, side);
            ASSERT_EQ(blocks.size(), length);
            for (std::int32_t& block : blocks) {
                ASSERT_EQ(block, 0);
                block = -1;
            }
            EXPECT_TRUE(blocks.SlackIsIntact());
        }
    }
}

TEST(GuardedBlocks, WriteIntoTheSlackIsNoticed) {
    GuardedBlocks<std::uint8_t> atEnd(10);
    atEnd.data()[-1] = 0;
    EXPECT_FALSE(atEnd.SlackIsIntact());
    GuardedBlocks<std::uint8_t> atFront(10, GuardedSide::Front);
    atFront.data()[10] = 0;
    EXPECT_FALSE(atFront.SlackIsIntact());
}

TEST(GuardedBlocks, CopiesTheValuesItIsMadeOf) {
    const std::array<std::uint16_t, 5> values = {3, 1, 4, 1, 5};
    GuardedBlocks<std::uint16_t> blocks{std::span<const std::uint16_t>(values)};
    EXPECT_TRUE(std::equal(values.begin(), values.end(), blocks.begin(), blocks.end()));
}

TEST(GuardedBlocks, MovingKeepsTheAddress) {
    GuardedBlocks<std::uint8_t> blocks(7);
    const std::uint8_t* const address = blocks.data();
    const GuardedBlocks<std::uint8_t> moved(std::move(blocks));
    EXPECT_EQ(moved.data(), address);
    EXPECT_EQ(moved.size(), 7u);
}
