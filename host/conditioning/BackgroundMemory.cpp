// How does what was learned become bytes, and bytes what was learned?
#include "conditioning/BackgroundMemory.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

#include "BlockReducer.h"

namespace Host {
namespace {

constexpr std::string_view magic = "coreMDbm";
constexpr std::size_t checksumPlace = 56, headerSize = memoryHeaderSize;  // bytes

enum class Kind : std::uint32_t { Background = 1, State = 2 };

struct Header {
    std::uint32_t formatVersion = 0;
    Kind kind{};
    MemoryGrid grid;
    int libraryVersion = 0;
    std::int64_t time = 0;
    std::uint64_t payloadLength = 0;
    std::uint64_t checksum = 0;
};

// FNV-1a, 64 bits: any single byte that changes changes it.
std::uint64_t Checksum(std::span<const std::uint8_t> bytes, std::uint64_t sum = 0xCBF29CE484222325u) {
    for (const std::uint8_t byte : bytes) sum = (sum ^ byte) * 0x100000001B3u;
    return sum;
}

std::uint64_t ChecksumOfMemory(std::span<const std::uint8_t> bytes) {
    return Checksum(bytes.subspan(headerSize), Checksum(bytes.first(checksumPlace)));
}

// ---- Numbers, little-endian ---------------------------------------------------------------------------------------------

void Put(std::vector<std::uint8_t>& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint64_t Get(std::span<const std::uint8_t> bytes, std::size_t place, int count) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i) value |= std::uint64_t{bytes[place + static_cast<std::size_t>(i)]} << (8 * i);
    return value;
}

std::uint32_t Get32(std::span<const std::uint8_t> bytes, std::size_t place) {
    return static_cast<std::uint32_t>(Get(bytes, place, 4));
}

int GetInt(std::span<const std::uint8_t> bytes, std::size_t place) { return static_cast<std::int32_t>(Get32(bytes, place)); }

// ---- Writing ------------------------------------------------------------------------------------------------------------

bool IsPossible(const MemoryGrid& grid) {
    return grid.columns > 0 && grid.columns <= largestGridSize && grid.rows > 0 && grid.rows <= largestGridSize &&
           grid.width > 0 && grid.height > 0 && grid.blockSize > 0;
}

std::size_t BlockCount(const MemoryGrid& grid) {
    return static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
}

std::size_t BitBytes(std::size_t bits) { return (bits + 7) / 8; }

// The payload follows, then Seal.
std::vector<std::uint8_t> Begin(Kind kind, const MemoryGrid& grid, int libraryVersion, std::int64_t time,
                                std::size_t payloadLength) {
    assert(IsPossible(grid));
    std::vector<std::uint8_t> bytes;
    bytes.reserve(headerSize + payloadLength);
    bytes.assign(magic.begin(), magic.end());
    for (const std::uint32_t value : {static_cast<std::uint32_t>(memoryFormatVersion), static_cast<std::uint32_t>(kind)})
        Put(bytes, value, 4);
    for (const int value : {grid.columns, grid.rows, grid.width, grid.height, grid.blockSize, libraryVersion})
        Put(bytes, static_cast<std::uint32_t>(value), 4);
    Put(bytes, static_cast<std::uint64_t>(time), 8);
    Put(bytes, payloadLength, 8);
    Put(bytes, 0, 8);
    return bytes;
}

std::vector<std::uint8_t> Seal(std::vector<std::uint8_t> bytes) {
    const std::uint64_t checksum = ChecksumOfMemory(bytes);
    for (std::size_t i = 0; i < 8; ++i) bytes[checksumPlace + i] = static_cast<std::uint8_t>(checksum >> (8 * i));
    return bytes;
}

// ---- Reading ------------------------------------------------------------------------------------------------------------

std::string Sized(int across, int down) { return std::to_string(across) + "x" + std::to_string(down); }

// As coreMD_Version counts.
std::string VersionText(int version) {
    return std::to_string(version / 10000) + "." + std::to_string(version / 100 % 100) + "." + std::to_string(version % 100);
}

Header ReadHeader(std::span<const std::uint8_t> bytes) {
    return {.formatVersion = Get32(bytes, 8),
            .kind = static_cast<Kind>(Get32(bytes, 12)),
            .grid = {.columns = GetInt(bytes, 16),
                     .rows = GetInt(bytes, 20),
                     .width = GetInt(bytes, 24),
                     .height = GetInt(bytes, 28),
                     .blockSize = GetInt(bytes, 32)},
            .libraryVersion = GetInt(bytes, 36),
            .time = static_cast<std::int64_t>(Get(bytes, 40, 8)),
            .payloadLength = Get(bytes, 48, 8),
            .checksum = Get(bytes, checksumPlace, 8)};
}

struct Reason {
    Refusal kind = Refusal::None;
    std::string text;
};

// Why these bytes cannot be read at all; none: they are as somebody wrote them.
Reason DamageOf(std::span<const std::uint8_t> bytes) {
    const std::size_t compared = std::min(bytes.size(), magic.size());
    if (bytes.empty()) return {Refusal::Foreign, "the memory is empty"};
    if (!std::equal(magic.begin(), magic.begin() + static_cast<std::ptrdiff_t>(compared), bytes.begin()))
        return {Refusal::Foreign, "this is no memory of a background"};
    const auto damaged = [](std::string text) { return Reason{Refusal::Damaged, std::move(text)}; };
    const auto cutOff = [&](std::uint64_t whole) {
        return damaged("the memory is cut off: " + std::to_string(bytes.size()) + " of " + std::to_string(whole) + " bytes");
    };
    if (bytes.size() < headerSize) return cutOff(headerSize);
    const Header header = ReadHeader(bytes);
    if (header.formatVersion > static_cast<std::uint32_t>(memoryFormatVersion))
        return {Refusal::OtherVersion, "the memory was made by a newer version: its format is " +
                                           std::to_string(header.formatVersion) + ", the newest known here " +
                                           std::to_string(memoryFormatVersion)};
    const std::uint64_t left = bytes.size() - headerSize;
    if (left < header.payloadLength) {  // a damaged length must not overflow the sum
        const std::uint64_t most = ~std::uint64_t{0} - headerSize;
        return header.payloadLength > most ? damaged("the memory is damaged: its length")
                                           : cutOff(headerSize + header.payloadLength);
    }
    if (left > header.payloadLength)
        return damaged("the memory is damaged: " + std::to_string(left - header.payloadLength) + " bytes behind its end");
    if (ChecksumOfMemory(bytes) != header.checksum) return damaged("the memory is damaged: its checksum differs");
    return {};
}

// Why whole bytes are not for this host; none: they are.
Reason StrangenessOf(const Header& header, Kind wantedKind, const MemoryGrid& wanted) {
    const MemoryGrid& grid = header.grid;
    if (header.formatVersion == 0 || (header.kind != Kind::Background && header.kind != Kind::State) || !IsPossible(grid))
        return {Refusal::Damaged, "the memory is damaged: what its header says is impossible"};
    if (header.kind != wantedKind)
        return {Refusal::OtherKind, wantedKind == Kind::Background
                                        ? "the memory is the whole state of a detector, not a background alone"
                                        : "the memory is a background alone, not the whole state of a detector"};
    if (grid.columns != wanted.columns || grid.rows != wanted.rows)
        return {Refusal::OtherGrid, "the memory is for a grid of " + Sized(grid.columns, grid.rows) + " blocks, not " +
                                        Sized(wanted.columns, wanted.rows)};
    if (grid.width != wanted.width || grid.height != wanted.height)
        return {Refusal::OtherGrid, "the memory is for pictures of " + Sized(grid.width, grid.height) + " pixels, not " +
                                        Sized(wanted.width, wanted.height)};
    if (grid.blockSize != wanted.blockSize)
        return {Refusal::OtherGrid, "the memory is for blocks of " + std::to_string(grid.blockSize) + " pixels, not " +
                                        std::to_string(wanted.blockSize)};
    return {};
}

Reason ReasonAgainst(std::span<const std::uint8_t> bytes, Kind wantedKind, const MemoryGrid& wanted) {
    Reason damage = DamageOf(bytes);
    return damage.kind == Refusal::None ? StrangenessOf(ReadHeader(bytes), wantedKind, wanted) : damage;
}

}  // namespace

std::vector<std::uint8_t> Encode(const BackgroundMemory& memory) {
    const std::size_t blocks = BlockCount(memory.grid), bitBytes = BitBytes(blocks);
    std::vector<std::uint8_t> bytes = Begin(Kind::Background, memory.grid, 0, memory.time, 3 * blocks + bitBytes);
    assert(memory.ycbcr.size() == 3 * blocks);
    assert(memory.isKnown.size() == blocks);
    bytes.insert(bytes.end(), memory.ycbcr.begin(), memory.ycbcr.end());
    const std::size_t bits = bytes.size();
    bytes.resize(bits + bitBytes);
    for (std::size_t i = 0; i < blocks; ++i)
        if (memory.isKnown[i] != 0) bytes[bits + i / 8] = static_cast<std::uint8_t>(bytes[bits + i / 8] | 1u << i % 8);
    return Seal(std::move(bytes));
}

std::vector<std::uint8_t> Encode(const StateMemory& memory) {
    std::vector<std::uint8_t> bytes =
        Begin(Kind::State, memory.grid, memory.libraryVersion, memory.time, memory.state.size());
    bytes.insert(bytes.end(), memory.state.begin(), memory.state.end());
    return Seal(std::move(bytes));
}

Recalled<BackgroundMemory> DecodeBackground(std::span<const std::uint8_t> bytes, const MemoryGrid& wanted) {
    if (Reason reason = ReasonAgainst(bytes, Kind::Background, wanted); reason.kind != Refusal::None)
        return {std::nullopt, reason.kind, std::move(reason.text)};
    const Header header = ReadHeader(bytes);
    const std::span<const std::uint8_t> payload = bytes.subspan(headerSize);
    const std::size_t blocks = BlockCount(header.grid);
    if (payload.size() != 3 * blocks + BitBytes(blocks))
        return {std::nullopt, Refusal::Damaged, "the memory is damaged: its planes are not those of its grid"};
    const std::span<const std::uint8_t> planes = payload.first(3 * blocks), bits = payload.subspan(3 * blocks);
    BackgroundMemory memory{.grid = header.grid,
                            .time = header.time,
                            .ycbcr = {planes.begin(), planes.end()},
                            .isKnown = std::vector<std::uint8_t>(blocks)};
    for (std::size_t i = 0; i < blocks; ++i) memory.isKnown[i] = (bits[i / 8] >> i % 8 & 1) != 0 ? 255 : 0;
    return {std::move(memory), Refusal::None, {}};
}

Recalled<StateMemory> DecodeState(std::span<const std::uint8_t> bytes, const MemoryGrid& wanted, int libraryVersion) {
    if (Reason reason = ReasonAgainst(bytes, Kind::State, wanted); reason.kind != Refusal::None)
        return {std::nullopt, reason.kind, std::move(reason.text)};
    const Header header = ReadHeader(bytes);
    if (header.libraryVersion != libraryVersion)
        return {std::nullopt, Refusal::OtherVersion,
                "the memory was made by version " + VersionText(header.libraryVersion) + " of the library, this is " +
                    VersionText(libraryVersion)};
    const std::span<const std::uint8_t> payload = bytes.subspan(headerSize);
    StateMemory memory{.grid = header.grid,
                       .time = header.time,
                       .libraryVersion = header.libraryVersion,
                       .state = {payload.begin(), payload.end()}};
    return {std::move(memory), Refusal::None, {}};
}

}  // namespace Host
