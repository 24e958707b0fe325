// How does a host in C keep what was learned?  coreMD-host.h states what is promised.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "c/Border.h"
#include "conditioning/BackgroundMemory.h"
#include "coreMD-host.h"

using namespace Host;
using namespace Host::InC;

namespace {

bool IsPossible(const coreMD_Grid& grid) {
    return IsGridSize(grid.columns) && IsGridSize(grid.rows) && grid.width > 0 && grid.height > 0 && grid.blockSize > 0;
}

MemoryGrid GridOf(const coreMD_Grid& grid) {
    return {
        .columns = grid.columns, .rows = grid.rows, .width = grid.width, .height = grid.height, .blockSize = grid.blockSize};
}

std::int32_t StatusOf(Refusal reason) {
    switch (reason) {
        case Refusal::None: return COREMD_HOST_DONE;
        case Refusal::Foreign: return COREMD_HOST_FOREIGN;
        case Refusal::Damaged: return COREMD_HOST_DAMAGED;
        case Refusal::OtherKind: return COREMD_HOST_OTHER_KIND;
        case Refusal::OtherGrid: return COREMD_HOST_OTHER_GRID;
        case Refusal::OtherVersion: return COREMD_HOST_OTHER_VERSION;
    }
    return COREMD_HOST_DAMAGED;
}

// encode() gives as many bytes as `bytes` says.
template <class Encode>
std::int32_t Pack(std::int64_t bytes, std::uint8_t* memory, std::int64_t size, std::int64_t* needed, Encode encode) {
    if (needed) *needed = bytes;
    if (size < bytes) return COREMD_HOST_NO_ROOM;
    if (!memory) return COREMD_HOST_NULL;
    return Guarded([&] {
        const std::vector<std::uint8_t> encoded = encode();
        std::copy(encoded.begin(), encoded.end(), memory);
        return COREMD_HOST_DONE;
    });
}

}  // namespace

int32_t coreMD_PackBackground(const coreMD_Grid* grid, int64_t time, const uint8_t* ycbcr, const uint8_t* isKnown,
                              uint8_t* memory, int64_t size, int64_t* needed) {
    if (!grid || (!ycbcr && memory)) return COREMD_HOST_NULL;
    if (!IsPossible(*grid)) return COREMD_HOST_OUT_OF_RANGE;
    const std::int64_t blocks = BlocksOf(grid->columns, grid->rows);
    const std::int64_t bytes = static_cast<std::int64_t>(memoryHeaderSize) + 3 * blocks + (blocks + 7) / 8;
    return Pack(bytes, memory, size, needed, [&] {
        BackgroundMemory background{
            .grid = GridOf(*grid), .time = time, .ycbcr = {ycbcr, ycbcr + 3 * blocks}, .isKnown = {}};
        if (isKnown) background.isKnown.assign(isKnown, isKnown + blocks);
        else background.isKnown.assign(static_cast<std::size_t>(blocks), 255);
        return Encode(background);
    });
}

int32_t coreMD_UnpackBackground(const uint8_t* memory, int64_t size, const coreMD_Grid* wanted, int64_t* time,
                                uint8_t* ycbcr, uint8_t* isKnown, int64_t blocks) {
    if (!memory || !wanted || !ycbcr) return COREMD_HOST_NULL;
    if (size < 0 || !IsPossible(*wanted)) return COREMD_HOST_OUT_OF_RANGE;
    if (blocks < BlocksOf(wanted->columns, wanted->rows)) return COREMD_HOST_NO_ROOM;
    return Guarded([&] {
        const auto recalled = DecodeBackground({memory, static_cast<std::size_t>(size)}, GridOf(*wanted));
        if (!recalled.memory) return StatusOf(recalled.reason);
        std::copy(recalled.memory->ycbcr.begin(), recalled.memory->ycbcr.end(), ycbcr);
        if (isKnown) std::copy(recalled.memory->isKnown.begin(), recalled.memory->isKnown.end(), isKnown);
        if (time) *time = recalled.memory->time;
        return StatusOf(Refusal::None);
    });
}

int32_t coreMD_PackState(const coreMD_Grid* grid, int64_t time, int32_t libraryVersion, const uint8_t* state,
                         int64_t stateSize, uint8_t* memory, int64_t size, int64_t* needed) {
    if (!grid || (!state && memory)) return COREMD_HOST_NULL;
    constexpr std::int64_t header = memoryHeaderSize;
    if (!IsPossible(*grid) || stateSize < 0 || stateSize > std::numeric_limits<std::ptrdiff_t>::max() - header)
        return COREMD_HOST_OUT_OF_RANGE;
    return Pack(header + stateSize, memory, size, needed, [&] {
        return Encode(StateMemory{
            .grid = GridOf(*grid), .time = time, .libraryVersion = libraryVersion, .state = {state, state + stateSize}});
    });
}

int32_t coreMD_UnpackState(const uint8_t* memory, int64_t size, const coreMD_Grid* wanted, int32_t libraryVersion,
                           int64_t* time, int64_t* place, int64_t* stateSize) {
    if (!memory || !wanted || !place || !stateSize) return COREMD_HOST_NULL;
    if (size < 0 || !IsPossible(*wanted)) return COREMD_HOST_OUT_OF_RANGE;
    return Guarded([&] {
        const auto recalled = DecodeState({memory, static_cast<std::size_t>(size)}, GridOf(*wanted), libraryVersion);
        if (!recalled.memory) return StatusOf(recalled.reason);
        *place = static_cast<std::int64_t>(memoryHeaderSize);
        *stateSize = static_cast<std::int64_t>(recalled.memory->state.size());
        if (time) *time = recalled.memory->time;
        return StatusOf(Refusal::None);
    });
}
