// Are bytes that were read as one word found in their order in memory?
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <gtest/gtest.h>

#include "utils/Blocks.h"

namespace {

using Bytes = std::array<std::uint8_t, 8>;

std::uint64_t WordOf(const Bytes& bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data(), sizeof word);
    return word;
}

}  // namespace

TEST(Lanes, EveryByteValueIsZeroOrNot) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        const Bytes bytes{0, byte, 255, byte, 0, 1, byte, 128};
        Bytes expected{};
        for (std::size_t i = 0; i < bytes.size(); ++i) expected[i] = bytes[i] ? std::uint8_t{128} : std::uint8_t{0};
        EXPECT_EQ(MD::Lanes::NonZeroBytes(WordOf(bytes)), WordOf(expected)) << value;
    }
}

TEST(Lanes, LanesOfTwoBytesAreFoundByAnyOfTheirBits) {
    for (std::size_t lane = 0; lane < 4; ++lane)
        for (const std::uint16_t bit : std::initializer_list<std::uint16_t>{0x8000, 0x0100, 0x0001}) {
            std::array<std::uint16_t, 4> labels{};
            labels[lane] = bit;
            std::uint64_t word;
            std::memcpy(&word, labels.data(), sizeof word);
            EXPECT_EQ(MD::Lanes::First<std::uint16_t>(word), static_cast<int>(lane)) << bit;
            EXPECT_EQ(MD::Lanes::WithoutFirst(word), 0u);
        }
}

TEST(Lanes, BytesAreFoundFromTheFirstInMemoryToTheLast) {
    for (unsigned set = 0; set < 256; ++set) {
        Bytes bytes{};
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = set >> i & 1 ? std::uint8_t{128} : std::uint8_t{0};
        std::uint64_t word = WordOf(bytes);
        for (int i = 0; i < 8; ++i) {
            if (!(set >> i & 1)) continue;
            ASSERT_NE(word, 0u);
            EXPECT_EQ(MD::Lanes::First<std::uint8_t>(word), i);
            word = MD::Lanes::WithoutFirst(word);
        }
        EXPECT_EQ(word, 0u);
    }
}
