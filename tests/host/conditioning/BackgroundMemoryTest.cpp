// Does what was encoded come back, and is everything else refused for the right reason?
#include "conditioning/BackgroundMemory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "SeededRandom.h"
#include "conditioning/Priming.h"
#include "coreMD.hpp"

using Host::BackgroundMemory;
using Host::DecodeBackground;
using Host::DecodeState;
using Host::Encode;
using Host::MemoryGrid;
using Host::StateMemory;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int library = 10203;
constexpr std::size_t headerSize = 64, checksumPlace = 56;

constexpr MemoryGrid smallGrid{.columns = 5, .rows = 3, .width = 37, .height = 20, .blockSize = 8};

BackgroundMemory RandomBackground(const MemoryGrid& grid, std::uint64_t seed) {
    Kit::SeededRandom random(seed);
    const auto blocks = static_cast<std::size_t>(grid.columns * grid.rows);
    BackgroundMemory memory{.grid = grid, .time = -5'000'000'007, .ycbcr = Bytes(3 * blocks), .isKnown = Bytes(blocks)};
    for (std::uint8_t& value : memory.ycbcr) value = random.Byte();
    for (std::uint8_t& known : memory.isKnown) known = random.OneIn(3) ? 0 : 255;
    return memory;
}

StateMemory SomeState() {
    return {.grid = smallGrid, .time = 1234567890123, .libraryVersion = library, .state = {9, 8, 7, 0, 255}};
}

std::string BackgroundRefusal(const Bytes& bytes, const MemoryGrid& wanted = smallGrid) {
    const auto decoded = DecodeBackground(bytes, wanted);
    EXPECT_EQ(decoded.memory.has_value(), decoded.refusal.empty());
    return decoded.refusal;
}

std::string StateRefusal(const Bytes& bytes, const MemoryGrid& wanted = smallGrid, int version = library) {
    const auto decoded = DecodeState(bytes, wanted, version);
    EXPECT_EQ(decoded.memory.has_value(), decoded.refusal.empty());
    return decoded.refusal;
}

// FNV-1a as it is written down, over all but the eight bytes of the checksum itself.
Bytes Sealed(Bytes bytes) {
    std::uint64_t sum = 14695981039346656037u;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i >= checksumPlace && i < headerSize) continue;
        sum ^= bytes[i];
        sum *= 1099511628211u;
    }
    for (std::size_t i = 0; i < 8; ++i) bytes[checksumPlace + i] = static_cast<std::uint8_t>(sum >> (8 * i));
    return bytes;
}

// With a 32-bit number of the header replaced; checksum anew.
Bytes With(Bytes bytes, std::size_t place, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes[place + i] = static_cast<std::uint8_t>(value >> (8 * i));
    return Sealed(bytes);
}

constexpr const char* impossible = "the memory is damaged: what its header says is impossible";

}  // namespace

TEST(BackgroundMemoryTest, ABackgroundComesBack) {
    const MemoryGrid grids[] = {{1, 1, 1, 1, 1}, smallGrid, {8, 1, 64, 8, 8}, {9, 1, 65, 8, 8}, {160, 90, 1280, 720, 8}};
    for (const MemoryGrid& grid : grids) {
        const BackgroundMemory memory = RandomBackground(grid, 5);
        const Bytes bytes = Encode(memory);
        const auto blocks = static_cast<std::size_t>(grid.columns * grid.rows);
        EXPECT_EQ(bytes.size(), headerSize + 3 * blocks + (blocks + 7) / 8);
        const auto decoded = DecodeBackground(bytes, grid);
        ASSERT_TRUE(decoded.memory) << decoded.refusal;
        EXPECT_EQ(decoded.memory->grid, grid);
        EXPECT_EQ(decoded.memory->time, memory.time);
        EXPECT_EQ(decoded.memory->ycbcr, memory.ycbcr);
        EXPECT_EQ(decoded.memory->isKnown, memory.isKnown);
        EXPECT_EQ(Encode(*decoded.memory), bytes);
    }
}

TEST(BackgroundMemoryTest, AnyValueButZeroIsKnown) {
    BackgroundMemory memory = RandomBackground(smallGrid, 1);
    memory.isKnown.assign(memory.isKnown.size(), 0);
    memory.isKnown[3] = 1;
    memory.isKnown[14] = 128;
    const auto decoded = DecodeBackground(Encode(memory), smallGrid);
    ASSERT_TRUE(decoded.memory);
    for (std::size_t i = 0; i < memory.isKnown.size(); ++i)
        EXPECT_EQ(decoded.memory->isKnown[i], i == 3 || i == 14 ? 255 : 0) << i;
}

TEST(BackgroundMemoryTest, AStateComesBack) {
    StateMemory memory = SomeState();
    for (const std::int64_t time : {std::int64_t{0}, std::numeric_limits<std::int64_t>::min(), std::int64_t{-1}}) {
        memory.time = time;
        const auto decoded = DecodeState(Encode(memory), smallGrid, library);
        ASSERT_TRUE(decoded.memory) << decoded.refusal;
        EXPECT_EQ(decoded.memory->grid, smallGrid);
        EXPECT_EQ(decoded.memory->time, time);
        EXPECT_EQ(decoded.memory->libraryVersion, library);
        EXPECT_EQ(decoded.memory->state, memory.state);
    }
    memory.state.clear();
    EXPECT_EQ(StateRefusal(Encode(memory)), "");
}

// The bytes of a memory are the same on every machine, and tomorrow.
TEST(BackgroundMemoryTest, BytesAreAsDocumented) {
    const BackgroundMemory memory{.grid = {.columns = 1, .rows = 2, .width = 258, .height = 3, .blockSize = 200},
                                  .time = 0x0102030405060708,
                                  .ycbcr = {10, 11, 20, 21, 30, 31},
                                  .isKnown = {0, 255}};
    const Bytes expected = {'c', 'o', 'r', 'e', 'M', 'D', 'b', 'm', 1, 0, 0, 0, 1, 0, 0, 0,  // format, kind
                            1,   0,   0,   0,   2,   0,   0,   0,   2, 1, 0, 0, 3, 0, 0, 0,  // blocks, pixels
                            200, 0,   0,   0,   0,   0,   0,   0,                            // block size, no library
                            8,   7,   6,   5,   4,   3,   2,   1,   7, 0, 0, 0, 0, 0, 0, 0,  // time, length
                            0,   0,   0,   0,   0,   0,   0,   0,                            // checksum
                            10,  11,  20,  21,  30,  31,  2};
    EXPECT_EQ(Encode(memory), Sealed(expected));
}

TEST(BackgroundMemoryTest, OtherGridsAndPicturesAreRefused) {
    const Bytes background = Encode(RandomBackground(smallGrid, 2)), state = Encode(SomeState());
    const auto refuses = [&](const MemoryGrid& wanted, const std::string& reason) {
        EXPECT_EQ(BackgroundRefusal(background, wanted), reason);
        EXPECT_EQ(StateRefusal(state, wanted), reason);
    };
    refuses({.columns = 107, .rows = 3, .width = 37, .height = 20, .blockSize = 8},
            "the memory is for a grid of 5x3 blocks, not 107x3");
    refuses({.columns = 5, .rows = 80, .width = 37, .height = 20, .blockSize = 8},
            "the memory is for a grid of 5x3 blocks, not 5x80");
    refuses({.columns = 5, .rows = 3, .width = 38, .height = 20, .blockSize = 8},
            "the memory is for pictures of 37x20 pixels, not 38x20");
    refuses({.columns = 5, .rows = 3, .width = 37, .height = 19, .blockSize = 8},
            "the memory is for pictures of 37x20 pixels, not 37x19");
    refuses({.columns = 5, .rows = 3, .width = 37, .height = 20, .blockSize = 7},
            "the memory is for blocks of 8 pixels, not 7");
    refuses(smallGrid, "");
}

TEST(BackgroundMemoryTest, TheOtherKindIsRefused) {
    EXPECT_EQ(BackgroundRefusal(Encode(SomeState())), "the memory is the whole state of a detector, not a background alone");
    EXPECT_EQ(StateRefusal(Encode(RandomBackground(smallGrid, 3))),
              "the memory is a background alone, not the whole state of a detector");
}

TEST(BackgroundMemoryTest, OtherVersionsAreRefused) {
    const Bytes background = Encode(RandomBackground(smallGrid, 2)), state = Encode(SomeState());
    EXPECT_EQ(StateRefusal(state, smallGrid, 10204), "the memory was made by version 1.2.3 of the library, this is 1.2.4");
    EXPECT_EQ(StateRefusal(state, smallGrid, 9901), "the memory was made by version 1.2.3 of the library, this is 0.99.1");
    const std::string newer = "the memory was made by a newer version: its format is 2, the newest known here 1";
    EXPECT_EQ(BackgroundRefusal(With(background, 8, 2)), newer);
    EXPECT_EQ(StateRefusal(With(state, 8, 2)), newer);
    Bytes other = With(background, 8, 0xFFFFFFFF);  // and otherwise damaged: a newer one may be sealed otherwise
    other.resize(100, 1);
    EXPECT_EQ(BackgroundRefusal(other),
              "the memory was made by a newer version: its format is 4294967295, the newest known here 1");
    EXPECT_EQ(BackgroundRefusal(With(background, 8, 0)), impossible);
}

TEST(BackgroundMemoryTest, EveryLengthButItsOwnIsRefused) {
    for (const Bytes& whole : {Encode(RandomBackground(smallGrid, 4)), Encode(SomeState())}) {
        for (std::size_t length = 1; length < whole.size(); ++length) {
            const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            const std::string reason = "the memory is cut off: " + std::to_string(length) + " of " +
                                       std::to_string(length < headerSize ? headerSize : whole.size()) + " bytes";
            EXPECT_EQ(BackgroundRefusal(part), reason);
            EXPECT_EQ(StateRefusal(part), reason);
        }
        Bytes longer = whole;
        longer.resize(whole.size() + 3);
        EXPECT_EQ(StateRefusal(longer), "the memory is damaged: 3 bytes behind its end");
    }
    EXPECT_EQ(BackgroundRefusal({}), "the memory is empty");
    EXPECT_EQ(StateRefusal({}), "the memory is empty");
}

TEST(BackgroundMemoryTest, WhatIsNoMemoryIsNamed) {
    const std::string reason = "this is no memory of a background";
    EXPECT_EQ(BackgroundRefusal({'c', 'o', 'r', 'e', 'X'}), reason);
    EXPECT_EQ(StateRefusal(Bytes(1000, 0)), reason);
    EXPECT_EQ(BackgroundRefusal({'{'}), reason);
}

// Every byte, every bit of it.
TEST(BackgroundMemoryTest, EveryBitThatChangesIsNoticed) {
    const Bytes background = Encode(RandomBackground(smallGrid, 4)), state = Encode(SomeState());
    for (std::size_t i = 0; i < background.size() * 8; ++i) {
        Bytes damaged = background;
        damaged[i / 8] = static_cast<std::uint8_t>(damaged[i / 8] ^ 1u << i % 8);
        EXPECT_NE(BackgroundRefusal(damaged), "") << "bit " << i;
        if (i < 8 * checksumPlace) continue;
        EXPECT_EQ(BackgroundRefusal(damaged), "the memory is damaged: its checksum differs") << "bit " << i;
    }
    for (std::size_t i = 0; i < state.size() * 8; ++i) {
        Bytes damaged = state;
        damaged[i / 8] = static_cast<std::uint8_t>(damaged[i / 8] ^ 1u << i % 8);
        EXPECT_NE(StateRefusal(damaged), "") << "bit " << i;
    }
}

// Lengths that do not fit the grid, or into memory, with a checksum that is right.
TEST(BackgroundMemoryTest, HostileNumbersAreRefused) {
    const Bytes background = Encode(RandomBackground(smallGrid, 4));
    for (const std::uint32_t size : {0u, 10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(BackgroundRefusal(With(background, 16, size)), impossible) << size;
        EXPECT_EQ(BackgroundRefusal(With(background, 20, size)), impossible) << size;
    }
    for (const std::size_t place : {24u, 28u, 32u}) EXPECT_EQ(BackgroundRefusal(With(background, place, 0)), impossible);
    for (const std::uint32_t kind : {0u, 3u, 0x101u}) EXPECT_EQ(BackgroundRefusal(With(background, 12, kind)), impossible);

    Bytes large = With(With(background, 16, 9999), 20, 9999);
    const MemoryGrid largest{.columns = 9999, .rows = 9999, .width = 37, .height = 20, .blockSize = 8};
    EXPECT_EQ(BackgroundRefusal(large, largest), "the memory is damaged: its planes are not those of its grid");

    for (const std::uint32_t half : {0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Bytes endless = With(With(background, 48, 0xFFFFFFFF), 52, half);
        const std::string reason = BackgroundRefusal(endless);
        EXPECT_EQ(reason, half == 0xFFFFFFFF ? "the memory is damaged: its length"
                                             : "the memory is cut off: 111 of 9223372036854775871 bytes");
    }
}

// ---- With detectors ----------------------------------------------------------------------------------------------------

namespace {

// A scene of 5 x 3 blocks, five a second, and where it is known.
struct Watch {
    Watch() { detector.AddWholePicture(); }

    void Show(const Bytes& planes, std::int64_t time) {
        detector.Detect({.columns = 5, .rows = 3, .ycbcr = planes, .time = coremd::Ticks(time), .fps = 5});
    }
    int Objects() {
        int count = 0;
        for ([[maybe_unused]] const coremd::Object& object : detector.Objects()) ++count;
        return count;
    }

    coremd::Detector detector;
};

constexpr std::int64_t interval = 2'000'000;  // ticks

Bytes SceneWithThing(Bytes scene) {
    scene[7] = static_cast<std::uint8_t>(scene[7] ^ 128);
    return scene;
}

}  // namespace

// What is promised of a background alone: something is found in the very first picture.
TEST(BackgroundMemoryTest, ADetectorThatIsPrimedFromAMemoryKnowsTheScene) {
    BackgroundMemory memory = RandomBackground(smallGrid, 11);
    memory.isKnown.assign(15, 255);
    const auto recalled = DecodeBackground(Encode(memory), smallGrid);
    ASSERT_TRUE(recalled.memory);
    Watch primed, fresh;
    const auto show = [&](const std::uint8_t* planes, std::int64_t time) { primed.Show(Bytes(planes, planes + 45), time); };
    const std::int64_t offset = Host::ShowBackground(recalled.memory->ycbcr.data(), 0, show);
    primed.Show(SceneWithThing(memory.ycbcr), offset);
    fresh.Show(SceneWithThing(memory.ycbcr), 0);
    EXPECT_EQ(primed.Objects(), 1);
    EXPECT_EQ(fresh.Objects(), 0);
}

// And of a state: the frames that follow give what they would have given.
TEST(BackgroundMemoryTest, ADetectorGoesOnFromAMemory) {
    const Bytes scene = RandomBackground(smallGrid, 12).ycbcr;
    Watch uncut;
    std::int64_t time = 0;
    for (int frame = 0; frame < 45; ++frame, time += interval) uncut.Show(scene, time);
    const StateMemory memory{
        .grid = smallGrid, .time = time, .libraryVersion = coreMD_Version(), .state = uncut.detector.SaveState()};
    const auto recalled = DecodeState(Encode(memory), smallGrid, coreMD_Version());
    ASSERT_TRUE(recalled.memory) << recalled.refusal;
    Watch loaded;
    ASSERT_EQ(loaded.detector.LoadState(recalled.memory->state), coremd::StateStatus::Done);
    for (int frame = 0; frame < 30; ++frame, time += interval) {
        const Bytes& shown = frame % 20 == 0 ? SceneWithThing(scene) : scene;
        uncut.Show(shown, time);
        loaded.Show(shown, time);
        ASSERT_EQ(loaded.Objects(), uncut.Objects()) << frame;
        ASSERT_EQ(loaded.Objects(), frame % 20 == 0 ? 1 : 0) << frame;
        ASSERT_EQ(loaded.detector.Background().bgr, uncut.detector.Background().bgr) << frame;
    }
    EXPECT_EQ(loaded.detector.SaveState(), uncut.detector.SaveState());
}

TEST(BackgroundMemoryDeathTest, BrokenPreconditionsEndTheProcess) {
    BackgroundMemory memory = RandomBackground(smallGrid, 1);
    memory.isKnown.pop_back();
    EXPECT_DEATH(Encode(memory), "memory.isKnown.size\\(\\) == blocks");
    memory.ycbcr.pop_back();
    EXPECT_DEATH(Encode(memory), "memory.ycbcr.size\\(\\) == 3 \\* blocks");
    StateMemory state = SomeState();
    for (const MemoryGrid& grid : {MemoryGrid{0, 1, 1, 1, 1}, MemoryGrid{1, 10000, 1, 1, 1}, MemoryGrid{1, 1, 0, 1, 1},
                                   MemoryGrid{1, 1, 1, -1, 1}, MemoryGrid{1, 1, 1, 1, 0}}) {
        state.grid = grid;
        EXPECT_DEATH(Encode(state), "IsPossible\\(grid\\)");
    }
}
