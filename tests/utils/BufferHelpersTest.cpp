// Are buffers made, copied and freed as their owners rely on?
#include "utils/Buffers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

#include "GuardedBlocks.h"

namespace {

// A pointer member as an owner has it; whatever it holds at the end is freed.
template <class T>
struct Owner {
    T* buffer = nullptr;

    Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { Utils::SafeReleaseBuff(&buffer); }
};

template <class T>
class BufferHelpersTest : public testing::Test {};

using ElementTypes = testing::Types<unsigned char, short, unsigned short, float, std::int64_t>;

struct ElementNames {
    template <class T>
    static std::string GetName(int) {
        return std::is_floating_point_v<T> ? "Float"
                                           : (std::is_signed_v<T> ? "Signed" : "Unsigned") + std::to_string(8 * sizeof(T));
    }
};

TYPED_TEST_SUITE(BufferHelpersTest, ElementTypes, ElementNames);

}  // namespace

TYPED_TEST(BufferHelpersTest, AllocBuffMakesZeroedElements) {
    // Memory that was used before comes again: zeroes that are there by luck do not pass.
    for (int round = 0; round < 3; ++round) {
        Owner<TypeParam> owner;
        Utils::AllocBuff(&owner.buffer, 100);
        for (int i = 0; i < 100; ++i) {
            ASSERT_EQ(owner.buffer[i], TypeParam{0}) << i;
            owner.buffer[i] = TypeParam{77};
        }
    }
}

TYPED_TEST(BufferHelpersTest, AllocBuffWithValueFillsEveryElement) {
    Owner<TypeParam> owner;
    Utils::AllocBuffWithValue(&owner.buffer, 67, TypeParam{21});
    for (int i = 0; i < 67; ++i) ASSERT_EQ(owner.buffer[i], TypeParam{21}) << i;
}

TYPED_TEST(BufferHelpersTest, CountOfZeroGivesABuffer) {
    Owner<TypeParam> plain, filled;
    Utils::AllocBuff(&plain.buffer, 0);
    Utils::AllocBuffWithValue(&filled.buffer, 0, TypeParam{1});
    EXPECT_NE(plain.buffer, nullptr);
    EXPECT_NE(filled.buffer, nullptr);
}

TYPED_TEST(BufferHelpersTest, NegativeCountThrowsAndLeavesTargetNull) {
    Owner<TypeParam> owner;
    EXPECT_THROW(Utils::AllocBuff(&owner.buffer, -1), std::bad_array_new_length);
    EXPECT_EQ(owner.buffer, nullptr);
    EXPECT_THROW(Utils::AllocBuffWithValue(&owner.buffer, std::numeric_limits<std::int64_t>::min(), TypeParam{1}),
                 std::bad_array_new_length);
    EXPECT_EQ(owner.buffer, nullptr);
}

TYPED_TEST(BufferHelpersTest, CopyBuffCopiesCountElementsOnly) {
    Kit::GuardedBlocks<TypeParam> source(5), destination(6, Kit::GuardedSide::Front);
    for (std::size_t i = 0; i < 5; ++i) source[i] = static_cast<TypeParam>(10 + i);
    destination[5] = TypeParam{99};
    Utils::CopyBuff(source.data(), destination.data(), 5);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(destination[i], static_cast<TypeParam>(10 + i)) << i;
    EXPECT_EQ(destination[5], TypeParam{99});
}

TYPED_TEST(BufferHelpersTest, CopyBuffOfNothingCopiesNothing) {
    const std::array<TypeParam, 1> source = {TypeParam{7}};
    std::array<TypeParam, 1> destination = {TypeParam{1}};
    Utils::CopyBuff(source.data(), destination.data(), 0);
    Utils::CopyBuff(source.data(), destination.data(), -1);
    EXPECT_EQ(destination[0], TypeParam{1});
}

// That the memory is really freed is the leak checker's part.
TYPED_TEST(BufferHelpersTest, ReleaseFreesAndNulls) {
    Owner<TypeParam> owner;
    Utils::AllocBuff(&owner.buffer, 10);
    Utils::SafeReleaseBuff(&owner.buffer);
    EXPECT_EQ(owner.buffer, nullptr);
    Utils::SafeReleaseBuff(&owner.buffer);  // nothing held: nothing to do
    EXPECT_EQ(owner.buffer, nullptr);
    Utils::AllocBuff(&owner.buffer, 10);  // released: may be made again
    EXPECT_NE(owner.buffer, nullptr);
}

TYPED_TEST(BufferHelpersTest, SlotReleasesTheMemberItWasMadeOf) {
    Owner<TypeParam> first, second;
    Utils::AllocBuff(&first.buffer, 3);
    Utils::AllocBuff(&second.buffer, 3);
    const Utils::BufferSlot slot = Utils::BufferSlot::For(&first.buffer);
    EXPECT_EQ(slot.member, &first.buffer);
    slot.release(slot.member);
    EXPECT_EQ(first.buffer, nullptr);
    EXPECT_NE(second.buffer, nullptr);
}

// 2^63 bytes and more: beyond any address space, so the count itself is refused.
TEST(BufferHelpersLimitTest, CountBeyondTheAddressSpaceThrows) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    Owner<short> columns;
    Owner<float> levels;
    Owner<std::int64_t> times;
    EXPECT_THROW(Utils::AllocBuff(&columns.buffer, most / 2 + 1), std::bad_array_new_length);
    EXPECT_THROW(Utils::AllocBuff(&levels.buffer, most / 4 + 1), std::bad_array_new_length);
    EXPECT_THROW(Utils::AllocBuff(&times.buffer, most / 8 + 1), std::bad_array_new_length);
    EXPECT_THROW(Utils::AllocBuffWithValue(&levels.buffer, most, 21.0f), std::bad_array_new_length);
    EXPECT_EQ(columns.buffer, nullptr);
    EXPECT_EQ(levels.buffer, nullptr);
    EXPECT_EQ(times.buffer, nullptr);
}

TEST(BufferHelpersDeathTest, AllocatingOverAHeldBufferIsFatal) {
    float held = 0;
    float* buffer = &held;
    EXPECT_DEATH(Utils::AllocBuff(&buffer, 1), "Assertion `!\\*res' failed");
    EXPECT_DEATH(Utils::AllocBuffWithValue(&buffer, 1, 2.0f), "Assertion `!\\*res' failed");
}

TEST(BufferHelpersDeathTest, CopyFromNullIsFatalBeforeCopyToNull) {
    short block = 0;
    const short* const noSource = nullptr;
    short* const noDestination = nullptr;
    EXPECT_DEATH(Utils::CopyBuff(noSource, &block, 1), "Assertion `source' failed");
    EXPECT_DEATH(Utils::CopyBuff(&block, noDestination, 1), "Assertion `destination' failed");
    EXPECT_DEATH(Utils::CopyBuff(noSource, noDestination, 0), "Assertion `source' failed");
}

TEST(BufferHelpersDeathTest, ReleasingThroughNullIsFatal) {
    unsigned char** const nowhere = nullptr;
    EXPECT_DEATH(Utils::SafeReleaseBuff(nowhere), "Assertion `ptr' failed");
    const Utils::BufferSlot unset{nullptr, Utils::BufferSlot::For(nowhere).release};
    EXPECT_DEATH(unset.release(unset.member), "Assertion `ptr' failed");
}
