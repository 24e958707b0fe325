// Are the memories of hosts in C those of the classes, and is everything else refused by the right status?
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "Handles.h"
#include "SeededRandom.h"
#include "conditioning/BackgroundMemory.h"
#include "coreMD-host.h"

using namespace InC;

namespace {

constexpr coreMD_Grid grid{5, 3, 37, 20, 8};
constexpr Host::MemoryGrid sameGrid{.columns = 5, .rows = 3, .width = 37, .height = 20, .blockSize = 8};

TEST(MemoriesInC, BytesAreThoseOfTheClasses) {
    Kit::SeededRandom random(4);
    Host::BackgroundMemory learned{.grid = sameGrid, .time = -77, .ycbcr = Bytes(45), .isKnown = Bytes(15)};
    for (std::uint8_t& value : learned.ycbcr) value = random.Byte();
    for (std::uint8_t& value : learned.isKnown) value = random.OneIn(2) ? 255 : 0;
    const Bytes background = Host::Encode(learned);
    Bytes memory(background.size());
    std::int64_t needed = 0;
    const auto size = static_cast<std::int64_t>(memory.size());
    ASSERT_EQ(coreMD_PackBackground(&grid, -77, learned.ycbcr.data(), learned.isKnown.data(), memory.data(), size, &needed),
              COREMD_HOST_DONE);
    EXPECT_EQ(memory, background);
    EXPECT_EQ(needed, size);
    learned.isKnown.assign(15, 255);
    ASSERT_EQ(coreMD_PackBackground(&grid, -77, learned.ycbcr.data(), nullptr, memory.data(), size, nullptr), 0);
    EXPECT_EQ(memory, Host::Encode(learned));

    const Host::StateMemory saved{.grid = sameGrid, .time = 99, .libraryVersion = 10001, .state = {1, 2, 3, 4}};
    const Bytes state = Host::Encode(saved);
    Bytes packed(state.size());
    ASSERT_EQ(coreMD_PackState(&grid, 99, 10001, saved.state.data(), 4, packed.data(), 68, nullptr), COREMD_HOST_DONE);
    EXPECT_EQ(packed, state);
    std::int64_t time = 0, place = 0, length = 0;
    ASSERT_EQ(coreMD_UnpackState(state.data(), 68, &grid, 10001, &time, &place, &length), COREMD_HOST_DONE);
    EXPECT_EQ(time, 99);
    const std::uint8_t* const unpacked = state.data() + place;
    EXPECT_EQ(Bytes(unpacked, unpacked + length), saved.state);
}

TEST(MemoriesInC, EveryFlippedBitAndEveryOtherLengthIsRefused) {
    const Bytes ycbcr(45, 3), state(9, 4);
    Bytes background(64 + 45 + 2), whole(64 + 9);
    ASSERT_EQ(coreMD_PackBackground(&grid, 1, ycbcr.data(), nullptr, background.data(), 111, nullptr), COREMD_HOST_DONE);
    ASSERT_EQ(coreMD_PackState(&grid, 1, 10000, state.data(), 9, whole.data(), 73, nullptr), COREMD_HOST_DONE);
    Bytes planes(45), known(15);
    std::int64_t place, length;
    const auto unpack = [&](const Bytes& bytes, std::size_t size) {
        const auto signedSize = static_cast<std::int64_t>(size);
        return bytes.size() > 100
                   ? coreMD_UnpackBackground(bytes.data(), signedSize, &grid, nullptr, planes.data(), known.data(), 15)
                   : coreMD_UnpackState(bytes.data(), signedSize, &grid, 10000, nullptr, &place, &length);
    };
    for (const Bytes& good : {background, whole}) {
        ASSERT_EQ(unpack(good, good.size()), COREMD_HOST_DONE);
        for (std::size_t size = 1; size < good.size(); ++size) {
            const std::int32_t status = unpack(good, size);
            EXPECT_EQ(status, COREMD_HOST_DAMAGED) << size;
        }
        EXPECT_EQ(unpack(good, 0), COREMD_HOST_FOREIGN);
        for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
            Bytes flipped = good;
            flipped[bit / 8] = static_cast<std::uint8_t>(flipped[bit / 8] ^ 1u << bit % 8);
            const std::int32_t status = unpack(flipped, flipped.size());
            EXPECT_EQ(status, bit < 64                ? COREMD_HOST_FOREIGN
                              : bit < 96 && bit != 64 ? COREMD_HOST_OTHER_VERSION
                                                      : COREMD_HOST_DAMAGED)
                << bit;
        }
    }
}

TEST(MemoriesInC, ArgumentsAndOtherMemoriesBecomeStatuses) {
    const Bytes ycbcr(45, 3), state(47, 4);
    Bytes memory(111), planes(45);
    std::int64_t needed = 0, place, length;
    const auto pack = [&](const coreMD_Grid* which, std::uint8_t* to, std::int64_t size) {
        return coreMD_PackBackground(which, 1, ycbcr.data(), nullptr, to, size, &needed);
    };
    EXPECT_EQ(pack(nullptr, memory.data(), 111), COREMD_HOST_NULL);
    EXPECT_EQ(pack(&grid, nullptr, 111), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_PackBackground(&grid, 1, nullptr, nullptr, memory.data(), 111, nullptr), COREMD_HOST_NULL);
    for (const std::int64_t size : {std::int64_t{110}, std::int64_t{0}, std::numeric_limits<std::int64_t>::min()}) {
        needed = 0;
        EXPECT_EQ(pack(&grid, memory.data(), size), COREMD_HOST_NO_ROOM);
        EXPECT_EQ(needed, 111);
    }
    EXPECT_EQ(memory, Bytes(111)) << "nothing was written";
    const auto unpack = [&](const coreMD_Grid* wanted, std::int64_t size = 111) {
        return coreMD_UnpackBackground(memory.data(), size, wanted, nullptr, planes.data(), nullptr, 15);
    };
    ASSERT_EQ(pack(&grid, memory.data(), 111), COREMD_HOST_DONE);
    EXPECT_EQ(unpack(&grid), COREMD_HOST_DONE);
    EXPECT_EQ(unpack(&grid, -1), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(unpack(nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_UnpackBackground(nullptr, 111, &grid, nullptr, planes.data(), nullptr, 15), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_UnpackBackground(memory.data(), 111, &grid, nullptr, nullptr, nullptr, 15), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_UnpackBackground(memory.data(), 111, &grid, nullptr, planes.data(), nullptr, 14), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_UnpackState(memory.data(), 111, &grid, 10000, nullptr, &place, &length), COREMD_HOST_OTHER_KIND);
    using Grid = coreMD_Grid;
    for (std::int32_t Grid::*member : {&Grid::columns, &Grid::rows, &Grid::width, &Grid::height, &Grid::blockSize}) {
        for (const std::int32_t bad : {0, -1, lowest}) {
            Grid changed = grid;
            changed.*member = bad;
            EXPECT_EQ(pack(&changed, memory.data(), 111), COREMD_HOST_OUT_OF_RANGE);
            EXPECT_EQ(unpack(&changed), COREMD_HOST_OUT_OF_RANGE);
        }
        Grid other = grid;
        other.*member = 2;
        EXPECT_EQ(unpack(&other), COREMD_HOST_OTHER_GRID);
    }

    EXPECT_EQ(coreMD_PackState(&grid, 0, 1, state.data(), 47, memory.data(), 110, nullptr), COREMD_HOST_NO_ROOM);
    EXPECT_EQ(coreMD_PackState(&grid, 0, 1, state.data(), -1, memory.data(), 111, nullptr), COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(
        coreMD_PackState(&grid, 0, 1, state.data(), std::numeric_limits<std::int64_t>::max(), memory.data(), 111, nullptr),
        COREMD_HOST_OUT_OF_RANGE);
    EXPECT_EQ(coreMD_PackState(&grid, 0, 1, nullptr, 47, memory.data(), 111, nullptr), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_PackState(&grid, 0, 1, state.data(), 47, memory.data(), 111, nullptr), COREMD_HOST_DONE);
    EXPECT_EQ(unpack(&grid), COREMD_HOST_OTHER_KIND);
    EXPECT_EQ(coreMD_UnpackState(memory.data(), 111, &grid, 2, nullptr, &place, &length), COREMD_HOST_OTHER_VERSION);
    EXPECT_EQ(coreMD_UnpackState(memory.data(), 111, &grid, 1, nullptr, nullptr, &length), COREMD_HOST_NULL);
    EXPECT_EQ(coreMD_UnpackState(memory.data(), 111, &grid, 1, nullptr, &place, nullptr), COREMD_HOST_NULL);
}

}  // namespace
