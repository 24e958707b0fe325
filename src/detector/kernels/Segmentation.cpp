// Which moving blocks belong together?
#include "detector/kernels/Segmentation.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "utils/Assert.h"

namespace MD::Kernels {
namespace {

std::ptrdiff_t IndexOf(ObjectBlocks object, int i, Grid grid) {
    return static_cast<std::ptrdiff_t>(object.ys[i]) * grid.columns + object.xs[i];
}

bool IsInside(Box box, int x, int y) { return x >= box.left && x <= box.right && y >= box.top && y <= box.bottom; }

// The 3 x 3 neighbourhood of a block, clipped to the grid.
Box NeighbourhoodOf(int x, int y, Grid grid) {
    return {std::max(x - 1, 0), std::min(x + 1, grid.columns - 1), std::max(y - 1, 0), std::min(y + 1, grid.rows - 1)};
}

// visit(block index, position in the square), row by row.
template <class Visit>
void ForEachCell(Box square, Grid grid, Visit visit) {
    std::ptrdiff_t position = 0;
    for (std::ptrdiff_t y = square.top; y <= square.bottom; ++y)
        for (std::ptrdiff_t x = square.left; x <= square.right; ++x, ++position) visit(y * grid.columns + x, position);
}

}  // namespace

// Most of a zone is still: eight blocks are asked at once.
int CollectMovingBlocks(MovingBlocks b, Grid grid) {
    const auto isAnySet = [](const std::uint8_t* bytes) {
        std::uint64_t word;
        std::memcpy(&word, bytes, sizeof word);
        return word != 0;
    };
    std::fill_n(b.objectsMap, static_cast<std::ptrdiff_t>(grid.columns) * grid.rows, std::uint16_t{0});
    int count = 0;
    for (int y = 0; y < grid.rows; ++y) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(y) * grid.columns;
        for (int x = 0; x < grid.columns;) {
            const bool isWord = x + 8 <= grid.columns;
            if (isWord && !(isAnySet(b.isObject + row + x) && isAnySet(b.isInZone + row + x))) {
                x += 8;
                continue;
            }
            for (const int end = isWord ? x + 8 : grid.columns; x < end; ++x) {
                if (!b.isInZone[row + x] || !b.isObject[row + x]) continue;
                b.objectsMap[row + x] = unassignedBlock;
                b.xs[count] = static_cast<std::int16_t>(x);
                b.ys[count] = static_cast<std::int16_t>(y);
                ++count;
            }
        }
    }
    return count;
}

// Deliberate: the neighbourhood is a diamond that reaches two columns sideways but one row up and down, so that objects
// join across a gap of one column, not of one row (ZonesTest, GapOfOneColumnJoins).
void GrowObject(GrowingObject object, std::uint16_t label, Grid grid) {
    const int blockCount = grid.columns * grid.rows;
    std::uint16_t* const labels = object.objectsMap;
    std::int16_t* const xs = object.xs;
    std::int16_t* const ys = object.ys;
    int processed = object.processed, count = object.count;
    const auto visit = [&](std::ptrdiff_t rowStart, int row, int column) {
        if (labels[rowStart + column] != unassignedBlock) return;
        const int currentObjectMotionBlocksCount = count + 1;
        assert(currentObjectMotionBlocksCount <= blockCount);
        labels[rowStart + column] = label;
        xs[count] = static_cast<std::int16_t>(column);
        ys[count] = static_cast<std::int16_t>(row);
        count = currentObjectMotionBlocksCount;
    };
    for (; processed < count; ++processed) {
        const int x = xs[processed], y = ys[processed];
        const bool isInner = x >= 2 && x < grid.columns - 2 && y >= 1 && y < grid.rows - 1;
        for (int row = std::max(y - 1, 0); row <= std::min(y + 1, grid.rows - 1); ++row) {
            const int reach = row == y ? 2 : 1;
            const std::ptrdiff_t rowStart = static_cast<std::ptrdiff_t>(row) * grid.columns;
            if (isInner) {  // no bounds to keep: the usual case
                if (reach == 2) visit(rowStart, row, x - 2);
                visit(rowStart, row, x - 1);
                visit(rowStart, row, x);
                visit(rowStart, row, x + 1);
                if (reach == 2) visit(rowStart, row, x + 2);
            } else {
                for (int column = std::max(x - reach, 0); column <= std::min(x + reach, grid.columns - 1); ++column)
                    visit(rowStart, row, column);
            }
        }
    }
    object.processed = processed;
    object.count = count;
}

// Blocks that do not count push no bound: their coordinates are replaced by ones that cannot.
bool BoxOfBlocks(ObjectBlocks object, const std::uint8_t* isCounted, Grid grid, Box& box) {
    const auto columns = static_cast<std::int16_t>(grid.columns), rows = static_cast<std::int16_t>(grid.rows);
    std::int16_t left = columns, right = 0, top = rows, bottom = 0;
    int counted = object.count;
    if (!isCounted) {
        for (int i = 0; i < object.count; ++i) {
            left = std::min(left, object.xs[i]);
            right = std::max(right, object.xs[i]);
            top = std::min(top, object.ys[i]);
            bottom = std::max(bottom, object.ys[i]);
        }
    } else {
        counted = 0;
        for (int i = 0; i < object.count; ++i) {
            const bool counts = isCounted[IndexOf(object, i, grid)] != 0;
            counted += counts;
            left = std::min(left, counts ? object.xs[i] : columns);
            right = std::max(right, counts ? object.xs[i] : std::int16_t{0});
            top = std::min(top, counts ? object.ys[i] : rows);
            bottom = std::max(bottom, counts ? object.ys[i] : std::int16_t{0});
        }
    }
    box = {left, right, top, bottom};
    return counted > 0;
}

int TrimObject(ObjectBlocks object, Box box, std::uint16_t* objectsMap, std::uint8_t* zoneResultMap, Grid grid) {
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
        assert(offsetTmp >= 0);
        assert(offsetTmp < blockCount);
        objectsMap[offsetTmp] = 0;
        zoneResultMap[offsetTmp] = 0;
    }
}

int RefineSimilarBlocks(ObjectBlocks object, SimilarityBlocks b, std::uint16_t tagged, Grid grid) {
    const std::ptrdiff_t blockCount = static_cast<std::ptrdiff_t>(grid.columns) * grid.rows;
    const auto differenceFromBackground = [&](std::ptrdiff_t i) { return static_cast<float>(b.current[i] - b.background[i]); };
    int newlySet = 0;
    bool isMaskClear = false;
    for (int i = 0; i < object.count; ++i) {
        if (b.objectsMap[IndexOf(object, i, grid)] != tagged) continue;
        if (!isMaskClear) std::fill_n(b.uniformMask, blockCount, std::uint8_t{0});
        isMaskClear = true;

        const Box square = NeighbourhoodOf(object.xs[i], object.ys[i], grid);
        const std::ptrdiff_t bufLenght = (square.right - square.left + 1) * (square.bottom - square.top + 1);
        assert(bufLenght <= blockCount);
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
        assert(offset >= 0);
        assert(offset < blockCount);
        objectsMap[offset] = label;
    }
}

}  // namespace MD::Kernels
