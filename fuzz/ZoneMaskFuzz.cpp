// Does a zone's map hold exactly the blocks that set cells of its mask overlap?  Masks and grids of any size, resampled
// directly and through the C interface, compared with a test block by block.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ByteSource.h"
#include "Claim.h"
#include "FuzzTarget.h"
#include "coreMD.h"
#include "detector/MotionDetector.h"
#include "zones/MDZone.h"

namespace {

using Fuzz::ByteSource;

struct Size {
    int columns, rows;
    std::size_t Count() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
};

// Small ones, lines, and few large ones.
Size ChooseSize(ByteSource& bytes, int least) {
    const std::uint8_t code = bytes.Byte();
    Size size{bytes.Between(least, 60), bytes.Between(least, 60)};
    if (code == 253) size = {bytes.Between(least, 9999), bytes.Between(least, 3)};
    if (code == 254) size = {bytes.Between(least, 3), bytes.Between(least, 9999)};
    if (code == 255) size = {size.columns * 5, size.rows * 5};
    return size;
}

std::vector<std::uint8_t> ChooseMask(ByteSource& bytes, Size size) {
    std::vector<std::uint8_t> mask(std::max<std::size_t>(size.Count(), 1), 0);
    const std::uint8_t kind = bytes.Byte();
    if (kind % 4 == 0) {
        std::fill(mask.begin(), mask.end(), bytes.Byte());
    } else if (kind % 4 == 1) {  // single cells
        for (int cells = bytes.Between(0, 12); cells > 0; --cells)
            mask[static_cast<std::size_t>(bytes.Between(0, 1 << 20)) % mask.size()] = 1;
    } else {
        std::uint32_t state = bytes.Byte() * 2654435761u + 1;
        const std::uint8_t density = bytes.Byte();
        for (std::uint8_t& cell : mask) {
            state = state * 1664525u + 1013904223u;
            const bool isDense = (state >> 24) < density;
            cell = kind % 4 == 3 && !bytes.AtEnd() ? bytes.Byte() : static_cast<std::uint8_t>(isDense);
        }
    }
    return mask;
}

// Have cell [cell / cells, (cell + 1) / cells) and block [block / blocks, (block + 1) / blocks) more than a border in
// common?
bool Overlaps(int cell, int cells, int block, int blocks) {
    const auto wide = [](int value) { return static_cast<std::int64_t>(value); };
    return wide(cell) * blocks < wide(block + 1) * cells && wide(block) * cells < wide(cell + 1) * blocks;
}

// [block]: the first overlapping cell and the one behind the last, on one axis.
struct Cells {
    int first, end;
};

std::vector<Cells> OverlappingCells(int cells, int blocks) {
    std::vector<Cells> found(static_cast<std::size_t>(blocks), Cells{0, 0});
    int start = 0;
    for (int block = 0; block < blocks; ++block) {
        int first = start;
        while (first < cells && !Overlaps(first, cells, block, blocks)) ++first;
        int end = first;
        while (end < cells && Overlaps(end, cells, block, blocks)) ++end;
        found[static_cast<std::size_t>(block)] = {first, end};
        start = std::max(first, end - 1);
    }
    return found;
}

std::vector<std::uint8_t> ExpectedMap(const std::vector<std::uint8_t>& mask, Size maskSize, Size grid) {
    const std::vector<Cells> across = OverlappingCells(maskSize.columns, grid.columns);
    const std::vector<Cells> down = OverlappingCells(maskSize.rows, grid.rows);
    std::vector<std::uint8_t> map;
    for (const Cells& rows : down)
        for (const Cells& columns : across) {
            bool isSet = false;
            for (int row = rows.first; row < rows.end; ++row)
                for (int column = columns.first; column < columns.end; ++column)
                    isSet |= mask[static_cast<std::size_t>(row) * static_cast<std::size_t>(maskSize.columns) +
                                  static_cast<std::size_t>(column)] != 0;
            map.push_back(isSet ? 1 : 0);
        }
    return map;
}

void ClaimFitted(const MD::MDZone& zone, const std::vector<std::uint8_t>& mask, Size maskSize, Size grid) {
    FUZZ_CLAIM(zone.pixelMapWidth == grid.columns && zone.pixelMapHeight == grid.rows);
    const std::vector<std::uint8_t> expected = ExpectedMap(mask, maskSize, grid);
    FUZZ_CLAIM(std::equal(expected.begin(), expected.end(), zone.pixelMap));
}

// One frame makes the detector fit its zones.
void FitByFrame(DetectorHandle* handle, Size grid, std::int64_t time) {
    std::vector<std::uint8_t> planes(3 * grid.Count(), 100);
    DetectionInfo info{};
    info.width = grid.columns;
    info.height = grid.rows;
    info.bgr24stride = 3 * grid.columns;
    info.timestamp = time;
    info.bgr24ForEachBlock = planes.data();
    info.ycbcrForEachBlock = planes.data();
    info.fps = 5;
    h13(handle, &info);
}

void FitDirectly(std::vector<std::uint8_t> mask, Size maskSize, const std::array<Size, 2>& grids) {
    const std::vector<std::uint8_t> given = mask;
    MD::MDZone zone(mask.data(), maskSize.columns, maskSize.rows, 0.3f, 0, 0);
    std::fill(mask.begin(), mask.end(), std::uint8_t{0});  // the zone has copied it
    for (const Size grid : grids) {
        zone.InitPixelMap(grid.columns, grid.rows);
        ClaimFitted(zone, given, maskSize, grid);
    }
}

void FitThroughInterface(std::vector<std::uint8_t> mask, Size maskSize, const std::array<Size, 2>& grids) {
    const std::vector<std::uint8_t> given = mask;
    DetectorHandle handle = nullptr;
    h15(&handle);
    MDZoneInfo info{mask.data(), maskSize.columns, maskSize.rows, 0.3f, 0, 0};
    h12(&handle, &info);
    h12(&handle, &info);
    std::fill(mask.begin(), mask.end(), std::uint8_t{0});
    for (const Size grid : grids) {
        FitByFrame(&handle, grid, 0);
        const MD::MDZoneList& zones = GetDetector(&handle)->_zones;
        FUZZ_CLAIM(zones._count == 2 && zones._first->next == zones._last && zones._last->prev == zones._first);
        ClaimFitted(*zones._first, given, maskSize, grid);
        ClaimFitted(*zones._last, given, maskSize, grid);
    }
    h14(&handle);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    const std::uint8_t way = bytes.Byte();
    std::array<Size, 2> grids{};
    for (Size& grid : grids) grid = ChooseSize(bytes, 1);
    const Size maskSize = ChooseSize(bytes, 0);
    const std::vector<std::uint8_t> mask = ChooseMask(bytes, maskSize);
    if (way % 8 == 7) FitThroughInterface(mask, maskSize, grids);  // a whole detector takes its time
    else FitDirectly(mask, maskSize, grids);
    return 0;
}
