// How does what was learned become bytes, and bytes what was learned?  Two kinds: a background alone, which survives other
// settings, and the whole state of a detector, from which it continues equal to the bit. Used by hosts that stop and start
// again; MemoryFile.h writes and reads the files.
//
// A memory is refused, with the reason in words, by whoever it is not for: another grid, picture size, block size, library,
// a newer format, bytes that are damaged or no memory at all. Bytes are equal on every machine.
//
//     bytes 0..7    "coreMDbm"                        all numbers little-endian
//     8, 12         version of the format, kind       32 bits each, as all up to the time
//     16 .. 35      columns, rows, width, height, block size
//     36            version of the library: 0 for a background
//     40            time                              64 bits, as the next two
//     48, 56        length of the payload; checksum: FNV-1a of everything before it and of the payload
//     64 ..         payload. A background: Y, Cb, Cr of every block, a bit per block that is set where it is known, low bits
//                   first. A state: what coreMD_SaveState wrote.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Host {

inline constexpr int memoryFormatVersion = 1;
inline constexpr std::size_t memoryHeaderSize = 64;  // bytes before the payload

// What a memory belongs to.
struct MemoryGrid {
    int columns = 0;    // blocks per row, 1..9999
    int rows = 0;       // block rows, 1..9999
    int width = 0;      // pixels of the picture, at least 1
    int height = 0;     // likewise
    int blockSize = 0;  // pixels along one side of a block, at least 1

    friend bool operator==(const MemoryGrid&, const MemoryGrid&) = default;
};

// What the scene looks like when nothing happens, and nothing else: settings, zones and library may be others when it is
// shown to a detector again, which learns it in a few pictures. Noise levels and times are learned anew.
struct BackgroundMemory {
    MemoryGrid grid;
    std::int64_t time = 0;              // ticks; when it was learned, by the host's own clock
    std::vector<std::uint8_t> ycbcr;    // 3 * [block]: Y, Cb, Cr
    std::vector<std::uint8_t> isKnown;  // [block] 0: nothing was learned of the block; 255
};

// A whole detector. It goes on as if it had never stopped, bit for bit, if the same library shows it the same pictures; its
// settings and zones are part of it.
struct StateMemory {
    MemoryGrid grid;
    std::int64_t time = 0;            // ticks; the stream time of the last picture
    int libraryVersion = 0;           // coreMD_Version() of the library that wrote the state
    std::vector<std::uint8_t> state;  // as coreMD_SaveState wrote it
};

// Stop the process when the grid breaks a bound given above, or when a background's planes are not those of its grid. Any
// value of isKnown but 0 means known.
std::vector<std::uint8_t> Encode(const BackgroundMemory& memory);
std::vector<std::uint8_t> Encode(const StateMemory& memory);

// Why bytes are not what a host can use.
enum class Refusal {
    None,
    Foreign,      // no memory at all
    Damaged,      // cut off, too long, or not as it was written
    OtherKind,    // a state, not a background, or the other way round
    OtherGrid,    // another grid, size of picture or size of block
    OtherVersion  // a newer format, or a state of another version of the library
};

// A memory, or why there is none.
template <class Memory>
struct Recalled {
    std::optional<Memory> memory;
    Refusal reason = Refusal::None;
    std::string refusal;  // why there is none: "the memory is for a grid of 160x90 blocks, not 107x80"
};

// Bytes that may be anything, for a host with this grid and library. Takes no more memory than the bytes do.
Recalled<BackgroundMemory> DecodeBackground(std::span<const std::uint8_t> bytes, const MemoryGrid& wanted);
Recalled<StateMemory> DecodeState(std::span<const std::uint8_t> bytes, const MemoryGrid& wanted, int libraryVersion);

}  // namespace Host
