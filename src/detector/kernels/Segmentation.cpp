// Which moving blocks belong together?
#include "detector/kernels/Segmentation.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "utils/Assert.h"
#include "utils/StandardGaps.h"

namespace MD::Kernels {
namespace {

std::ptrdiff_t IndexOf(ObjectBlocks object, int i, Grid grid) {
    return static_cast<std::ptrdiff_t>(object.ys[i]) * grid.columns + object.xs[i];
}

bool IsInside(CellBox box, int x, int y) { return x >= box.left && x <= box.right && y >= box.top && y <= box.bottom; }

// The 3 x 3 neighbourhood of a block, clipped to the grid.
CellBox NeighbourhoodOf(int x, int y, Grid grid) {
    return {std::max(x - 1, 0), std::min(x + 1, grid.columns - 1), std::max(y - 1, 0), std::min(y + 1, grid.rows - 1)};
}

// visit(block index, position in the square), row by row.
template <class Visit>
void ForEachCell(CellBox square, Grid grid, Visit visit) {
    std::ptrdiff_t position = 0;
    for (std::ptrdiff_t y = square.top; y <= square.bottom; ++y)
        for (std::ptrdiff_t x = square.left; x <= square.right; ++x, ++position) visit(y * grid.columns + x, position);
}

// Bytes of up to eight blocks in one word.
std::uint64_t WordOf(const std::uint8_t* bytes, int count) {
    std::uint64_t word = 0;
    if (count == 8) std::memcpy(&word, bytes, 8);
    else std::memcpy(&word, bytes, static_cast<std::size_t>(count));
    return word;
}

// No foreground in 32 blocks side by side.
bool IsEmpty(const std::uint8_t* isObject) {
    return (WordOf(isObject, 8) | WordOf(isObject + 8, 8) | WordOf(isObject + 16, 8) | WordOf(isObject + 24, 8)) == 0;
}

}  // namespace

std::ptrdiff_t FindForegroundGroups(const std::uint8_t* isObject, BlockGroup* groups, Grid grid) {
    std::ptrdiff_t count = 0;
    for (int y = 0; y < grid.rows; ++y) {
        const std::uint8_t* const row = isObject + static_cast<std::ptrdiff_t>(y) * grid.columns;
        for (int x = 0; x < grid.columns; x += 8) {
            while (x + 32 <= grid.columns && IsEmpty(row + x)) x += 32;  // as most of a frame
            if (x < grid.columns && WordOf(row + x, BlocksInGroup({x, y}, grid)) != 0) groups[count++] = {x, y};
        }
    }
    return count;
}

int CollectMovingBlocks(MovingBlocks b, Grid grid) {
    constexpr std::uint64_t all = Lanes::NonZeroBytes(~std::uint64_t{0});
    int count = 0;
    for (const BlockGroup* group = b.groups; group != b.groups + b.groupCount; ++group) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(group->y) * grid.columns + group->x;
        const int length = BlocksInGroup(*group, grid);
        const auto take = [&](int i) {
            b.objectsMap[first + i] = unassignedBlock;
            b.xs[count] = static_cast<std::int16_t>(group->x + i);
            b.ys[count] = static_cast<std::int16_t>(group->y);
            ++count;
        };
        std::uint64_t moving = Lanes::NonZeroBytes(WordOf(b.isInZone + first, length)) &
                               Lanes::NonZeroBytes(WordOf(b.isObject + first, length));
        if (moving == all) {  // inside of something large
            std::fill_n(b.objectsMap + first, 8, unassignedBlock);
            for (int i = 0; i < 8; ++i) b.xs[count + i] = static_cast<std::int16_t>(group->x + i);
            std::fill_n(b.ys + count, 8, static_cast<std::int16_t>(group->y));
            count += 8;
        } else {
            for (; moving != 0; moving = Lanes::WithoutFirst(moving)) take(Lanes::First<std::uint8_t>(moving));
        }
    }
    return count;
}

// Deliberate: the neighbourhood is a diamond that reaches two columns sideways but one row up and down, so that objects
// join across a gap of one column, not of one row (ZonesTest, GapOfOneColumnJoins).
void GrowObject(GrowingObject object, std::uint16_t label, Grid grid) {
    const std::ptrdiff_t columns = grid.columns, rows = grid.rows, blockCount = columns * rows;
    // Inner blocks have their whole diamond in the grid. Unsigned, one comparison asks about both ends.
    const auto innerColumns = static_cast<std::size_t>(std::max<std::ptrdiff_t>(columns - 4, 0)),
               innerRows = static_cast<std::size_t>(std::max<std::ptrdiff_t>(rows - 2, 0));
    std::uint16_t* const labels = object.objectsMap;
    std::int16_t* const xs = object.xs;
    std::int16_t* const ys = object.ys;
    constexpr auto firstThree = BitCast<std::uint64_t>(std::array<std::uint16_t, 4>{65535, 65535, 65535, 0});
    std::ptrdiff_t processed = object.processed, count = object.count;
    const auto take = [&](std::ptrdiff_t column, std::ptrdiff_t row, std::uint16_t& blockLabel) {
        if (blockLabel != unassignedBlock) return;
        const std::ptrdiff_t currentObjectMotionBlocksCount = count + 1;
        MD_DETECTOR_ASSERT(currentObjectMotionBlocksCount <= blockCount, buildObject);
        blockLabel = label;
        xs[count] = static_cast<std::int16_t>(column);
        ys[count] = static_cast<std::int16_t>(row);
        count = currentObjectMotionBlocksCount;
    };
    const auto takeFour = [&](std::ptrdiff_t column, std::ptrdiff_t row, std::uint16_t* fourLabels, std::uint64_t bits) {
        for (; bits != 0; bits = Lanes::WithoutFirst(bits)) {
            const int lane = Lanes::First<std::uint16_t>(bits);
            take(column + lane, row, fourLabels[lane]);
        }
    };
    for (; processed < count; ++processed) {
        const std::ptrdiff_t x = xs[processed], y = ys[processed];
        const bool isInner = static_cast<std::size_t>(x - 2) < innerColumns && static_cast<std::size_t>(y - 1) < innerRows;
        if (isInner) {  // the usual case: no bounds to keep, and labels are read four at a time
            std::uint16_t* const own = labels + y * columns + x;
            std::uint16_t *const above = own - columns - 1, *const below = own + columns - 1;
            takeFour(x - 1, y - 1, above, MaybeUnassigned(above) & firstThree);
            takeFour(x - 2, y, own - 2, MaybeUnassigned(own - 2));
            take(x + 2, y, own[2]);
            takeFour(x - 1, y + 1, below, MaybeUnassigned(below) & firstThree);
        } else {
            for (std::ptrdiff_t row = std::max<std::ptrdiff_t>(y - 1, 0); row <= std::min(y + 1, rows - 1); ++row) {
                const std::ptrdiff_t reach = row == y ? 2 : 1, last = std::min(x + reach, columns - 1);
                for (std::ptrdiff_t column = std::max<std::ptrdiff_t>(x - reach, 0); column <= last; ++column)
                    take(column, row, labels[row * columns + column]);
            }
        }
    }
    object.processed = static_cast<int>(processed);
    object.count = static_cast<int>(count);
}

CellBox BoxOfBlocks(ObjectBlocks object) {
    std::int16_t left = object.xs[0], right = left, top = object.ys[0], bottom = top;
    for (int i = 1; i < object.count; ++i) {
        left = std::min(left, object.xs[i]);
        right = std::max(right, object.xs[i]);
        top = std::min(top, object.ys[i]);
        bottom = std::max(bottom, object.ys[i]);
    }
    return {left, right, top, bottom};
}

bool AllSidesCount(CellBox box, std::uint16_t label, CountedBlocks b, Grid grid) {
    const auto counts = [&](std::ptrdiff_t x, std::ptrdiff_t y) {
        const std::ptrdiff_t block = y * grid.columns + x;
        return b.objectsMap[block] == label && b.isInZone[block] != 0 && b.isCounted[block] != 0;
    };
    const auto countsInRow = [&](int y) {
        for (int x = box.left; x <= box.right; ++x)
            if (counts(x, y)) return true;
        return false;
    };
    const auto countsInColumn = [&](int x) {
        for (int y = box.top; y <= box.bottom; ++y)
            if (counts(x, y)) return true;
        return false;
    };
    return countsInRow(box.top) && countsInRow(box.bottom) && countsInColumn(box.left) && countsInColumn(box.right);
}

// Blocks that do not count push no bound: their coordinates are replaced by ones that cannot.
bool BoxOfCountedBlocks(ObjectBlocks object, const std::uint8_t* isCounted, Grid grid, CellBox& box) {
    const auto columns = static_cast<std::int16_t>(grid.columns), rows = static_cast<std::int16_t>(grid.rows);
    std::int16_t left = columns, right = 0, top = rows, bottom = 0;
    int counted = 0;
    for (int i = 0; i < object.count; ++i) {
        const bool counts = isCounted[IndexOf(object, i, grid)] != 0;
        counted += counts;
        left = std::min(left, counts ? object.xs[i] : columns);
        right = std::max(right, counts ? object.xs[i] : std::int16_t{0});
        top = std::min(top, counts ? object.ys[i] : rows);
        bottom = std::max(bottom, counts ? object.ys[i] : std::int16_t{0});
    }
    box = {left, right, top, bottom};
    return counted > 0;
}

int TrimObject(ObjectBlocks object, CellBox box, std::uint16_t* objectsMap, std::uint8_t* zoneResultMap, Grid grid) {
    int trimmed = 0;
    for (int i = 0; i < object.count; ++i) {
        if (IsInside(box, object.xs[i], object.ys[i])) continue;
        objectsMap[IndexOf(object, i, grid)] = 0;
        zoneResultMap[IndexOf(object, i, grid)] = 0;
        ++trimmed;
    }
    return trimmed;
}

void DiscardObject(ObjectBlocks object, std::uint16_t* objectsMap, std::uint8_t* zoneResultMap, Grid grid) {
    const std::ptrdiff_t blockCount = static_cast<std::ptrdiff_t>(grid.columns) * grid.rows;
    for (int i = 0; i < object.count; ++i) {
        const std::ptrdiff_t offsetTmp = IndexOf(object, i, grid);
        MD_DETECTOR_ASSERT(offsetTmp >= 0, processOneZone);
        MD_DETECTOR_ASSERT(offsetTmp < blockCount, processOneZone);
        objectsMap[offsetTmp] = 0;
        zoneResultMap[offsetTmp] = 0;
    }
}

int RefineSimilarBlocks(ObjectBlocks object, SimilarityBlocks b, std::uint16_t tagged, Grid grid) {
    const std::ptrdiff_t blockCount = static_cast<std::ptrdiff_t>(grid.columns) * grid.rows;
    const auto differenceFromBackground = [&](std::ptrdiff_t i) {
        return static_cast<float>(b.current[i] - b.background[i]);
    };
    int newlySet = 0;
    for (int i = 0; i < object.count; ++i) {
        if (b.objectsMap[IndexOf(object, i, grid)] != tagged) continue;
        const CellBox square = NeighbourhoodOf(object.xs[i], object.ys[i], grid);
        const std::ptrdiff_t columns = square.right - square.left + 1, rows = square.bottom - square.top + 1;
        const std::ptrdiff_t bufLenght = columns * rows;
        MD_DETECTOR_ASSERT(bufLenght <= blockCount, processOneZone);
        std::fill_n(b.neighbourhoodMask, bufLenght, std::uint8_t{0});
        const float difference = differenceFromBackground(IndexOf(object, i, grid));
        int similar = 0;
        ForEachCell(square, grid, [&](std::ptrdiff_t cell, std::ptrdiff_t position) {
            if (b.objectsMap[cell] != tagged || std::abs(differenceFromBackground(cell) - difference) > 15.0f) return;
            b.neighbourhoodMask[position] = 1;
            ++similar;
        });
        if (similar <= 2) continue;
        ForEachCell(square, grid, [&](std::ptrdiff_t cell, std::ptrdiff_t position) {
            if (!b.neighbourhoodMask[position]) return;
            newlySet += b.uniformMask[cell] ? 0 : 1;
            b.uniformMask[cell] = 1;
        });
    }
    return newlySet;
}

int CollectSurvivors(ObjectBlocks object, SurvivingBlocks b, std::uint16_t label, std::uint16_t tagged, Grid grid) {
    int count = 0;
    for (int i = 0; i < object.count; ++i) {
        const std::ptrdiff_t block = IndexOf(object, i, grid);
        const std::uint16_t value = b.objectsMap[block];
        if ((value != label && value != tagged) || (value == tagged && b.uniformMask[block])) {
            b.objectsMap[block] = 0;
            continue;
        }
        b.objectsMap[block] = label;
        b.xs[count] = object.xs[i];
        b.ys[count] = object.ys[i];
        ++count;
    }
    return count;
}

void RelabelObject(ObjectBlocks object, std::uint16_t* objectsMap, std::uint16_t label, Grid grid) {
    const std::ptrdiff_t blockCount = static_cast<std::ptrdiff_t>(grid.columns) * grid.rows;
    for (int i = 0; i < object.count; ++i) {
        const std::ptrdiff_t offset = IndexOf(object, i, grid);
        MD_DETECTOR_ASSERT(offset >= 0, resolveLabels);
        MD_DETECTOR_ASSERT(offset < blockCount, resolveLabels);
        objectsMap[offset] = label;
    }
}

}  // namespace MD::Kernels
