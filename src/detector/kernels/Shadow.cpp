// Is a foreground block only a shadow?  Row by row, in chunks: most rows and chunks have nothing to examine.
#include "detector/kernels/Shadow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace MD::Kernels {
namespace {

constexpr std::ptrdiff_t columnsAtOnce = 64;

std::array<double, 256> MakeLogTable() {
    std::array<double, 256> table;
    for (int luma = 0; luma < 256; ++luma) table[static_cast<std::size_t>(luma)] = std::log(luma + 1.0);
    return table;
}

const double* LogTable() {
    static const std::array<double, 256> table = MakeLogTable();
    return table.data();
}

// work(first column, number of columns)
template <class Work>
void ForEachPartOfRow(int columns, Work work) {
    for (std::ptrdiff_t x = 0; x < columns; x += columnsAtOnce)
        work(x, std::min<std::ptrdiff_t>(columnsAtOnce, columns - x));
}

// gradient[j] = log of `from` less log of `to` where marked.
void StoreGradients(const std::uint8_t* from, const std::uint8_t* to, const std::uint8_t* isMarked, float* gradient,
                    std::ptrdiff_t count) {
    const double* const logs = LogTable();
    double fromLog[columnsAtOnce], toLog[columnsAtOnce];
    for (std::ptrdiff_t j = 0; j < count; ++j) fromLog[j] = logs[from[j]];
    for (std::ptrdiff_t j = 0; j < count; ++j) toLog[j] = logs[to[j]];
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const float measured = static_cast<float>(fromLog[j] - toLog[j]), kept = gradient[j];
        gradient[j] = isMarked[j] ? measured : kept;
    }
}

void StoreChromaChanges(const std::uint8_t* chroma, const std::uint8_t* background, const std::uint8_t* isMarked,
                        float* difference, std::ptrdiff_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const float measured = ChromaChange(chroma[j], background[j]), kept = difference[j];
        difference[j] = isMarked[j] ? measured : kept;
    }
}

// What the cells of one row add to the windows of a chunk. Entry j belongs to the column before the chunk's j-th, so that
// a window's two columns are entries j and j + 1. Cells that are in no window count 0.
struct CellChanges {
    float gradient[columnsAtOnce + 1];
    float chroma[columnsAtOnce + 1];
};

void MeasureCells(const ShadowDecisionBlocks b, std::ptrdiff_t row, std::ptrdiff_t x, std::ptrdiff_t count, Grid grid,
                  CellChanges& cells) {
    std::fill_n(cells.gradient, count + 1, 0.0f);
    std::fill_n(cells.chroma, count + 1, 0.0f);
    if (row < 0 || row >= grid.rows - 1) return;
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(x - 1, 0),
                         last = std::min<std::ptrdiff_t>(x + count, grid.columns - 1);
    const std::ptrdiff_t i = row * grid.columns + first;
    float* const gradient = cells.gradient + (first - (x - 1));
    float* const chroma = cells.chroma + (first - (x - 1));
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < last - first; ++j) {
        gradient[j] = std::fabs(b.backgroundGradientX[i + j] - b.currentGradientX[i + j]) +
                      std::fabs(b.backgroundGradientY[i + j] - b.currentGradientY[i + j]);
        chroma[j] = b.cbDifference[i + j] + b.crDifference[i + j];
    }
}

// Deliberate: the window ends exclude the block's right and lower neighbours and, at the right and lower edge of the grid,
// the block itself (ShadowTest, WindowOfInnerBlockIsItsUpperLeftSquare). Sums go row by row; an excluded cell adds 0.
void DecideChunk(const ShadowDecisionBlocks b, float shadowThreshold, std::ptrdiff_t y, std::ptrdiff_t x,
                 std::ptrdiff_t count, Grid grid) {
    const std::ptrdiff_t i = y * grid.columns + x;
    std::uint8_t isExamined[columnsAtOnce], isShadow[columnsAtOnce];
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const std::uint8_t motion = b.zoneResultMap[i + j] == 1 ? 255 : 0, known = b.isBackground[i + j] ? 255 : 0;
        b.isObject[i + j] = motion;
        isExamined[j] = motion & known;
    }
    if (!IsAnySet(isExamined, static_cast<std::size_t>(count))) return;

    CellChanges above, own;
    MeasureCells(b, y - 1, x, count, grid, above);
    MeasureCells(b, y, x, count, grid, own);
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const float gradient = above.gradient[j] + above.gradient[j + 1] + own.gradient[j] + own.gradient[j + 1];
        const float chroma = above.chroma[j] + above.chroma[j + 1] + own.chroma[j] + own.chroma[j + 1];
        const float keptGradient = b.gradientSum[i + j], keptChroma = b.chromaSum[i + j];
        const bool isLow = ShadowScore(gradient, chroma) < shadowThreshold;  // scores are never negative
        b.gradientSum[i + j] = isExamined[j] ? gradient : keptGradient;
        b.chromaSum[i + j] = isExamined[j] ? chroma : keptChroma;
        isShadow[j] = isLow ? isExamined[j] : std::uint8_t{0};
    }
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        b.isObject[i + j] &= static_cast<std::uint8_t>(~isShadow[j]);
        b.zoneResultMap[i + j] = isShadow[j] ? 2 : b.zoneResultMap[i + j];
    }
}

}  // namespace

double LogLuma(std::uint8_t luma) { return LogTable()[luma]; }

RowRange MarkShadowSearch(const std::uint8_t* isObject, std::uint8_t* zoneResultMap, std::uint8_t* searchMask, Grid grid) {
    const std::ptrdiff_t columns = grid.columns;
    std::fill_n(searchMask, columns * grid.rows, std::uint8_t{0});
    RowRange searched{0, 0};
    for (int y = 0; y < grid.rows; ++y) {
        const std::uint8_t* const foreground = isObject + y * columns;
        std::uint8_t* const zone = zoneResultMap + y * columns;
        MD_INDEPENDENT_BLOCKS
        for (std::ptrdiff_t x = 0; x < columns; ++x) zone[x] = foreground[x] ? 1 : 0;
        if (!IsAnySet(foreground, static_cast<std::size_t>(columns))) continue;

        const int first = std::max(y - 1, 0), last = std::min(y + 2, grid.rows);
        if (searched.first == searched.last) searched.first = first;
        searched.last = last;
        for (int row = first; row < last; ++row) {
            std::uint8_t* const mask = searchMask + row * columns;
            for (std::ptrdiff_t x = 0; x < columns; ++x) mask[x] |= zone[x];
            for (std::ptrdiff_t x = 1; x < columns; ++x) mask[x] |= zone[x - 1];
            for (std::ptrdiff_t x = 1; x < columns; ++x) mask[x - 1] |= zone[x];
        }
    }
    return searched;
}

void MeasureShadowFeatures(ShadowFeatureBlocks b, Grid grid) {
    const std::ptrdiff_t columns = grid.columns;
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y) {
        // The upper of the two rows that are compared: the block's own, in the last row the one before.
        const std::ptrdiff_t upper = y < grid.rows - 1 ? 0 : -columns;
        ForEachPartOfRow(grid.columns, [=](std::ptrdiff_t x, std::ptrdiff_t count) {
            const std::ptrdiff_t i = y * columns + x;
            std::uint8_t isMarked[columnsAtOnce];
            MD_INDEPENDENT_BLOCKS
            for (std::ptrdiff_t j = 0; j < count; ++j) {
                const bool isKnown = b.isBackground[i + j] != 0, isSearched = b.searchMask[i + j] != 0;
                isMarked[j] = (isKnown & isSearched) ? 255 : 0;
            }
            if (!IsAnySet(isMarked, static_cast<std::size_t>(count))) return;

            // A grid of one column or row has no neighbour there, and no window reads it.
            const std::ptrdiff_t withRight = std::min(count, columns - 1 - x);
            StoreGradients(b.backgroundY + i, b.backgroundY + i + 1, isMarked, b.backgroundGradientX + i, withRight);
            StoreGradients(b.currentY + i, b.currentY + i + 1, isMarked, b.currentGradientX + i, withRight);
            if (withRight < count && columns > 1) {
                const std::ptrdiff_t last = i + count - 1;
                StoreGradients(b.backgroundY + last - 1, b.backgroundY + last, isMarked + count - 1,
                               b.backgroundGradientX + last, 1);
                StoreGradients(b.currentY + last - 1, b.currentY + last, isMarked + count - 1, b.currentGradientX + last, 1);
            }
            if (grid.rows > 1) {
                const std::ptrdiff_t from = i + upper, to = from + columns;
                StoreGradients(b.backgroundY + from, b.backgroundY + to, isMarked, b.backgroundGradientY + i, count);
                StoreGradients(b.currentY + from, b.currentY + to, isMarked, b.currentGradientY + i, count);
            }
            StoreChromaChanges(b.currentCb + i, b.backgroundCb + i, isMarked, b.cbDifference + i, count);
            StoreChromaChanges(b.currentCr + i, b.backgroundCr + i, isMarked, b.crDifference + i, count);
        });
    }
}

void DecideShadows(ShadowDecisionBlocks b, float shadowThreshold, Grid grid) {
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y)
        ForEachPartOfRow(grid.columns, [=](std::ptrdiff_t x, std::ptrdiff_t count) {
            DecideChunk(b, shadowThreshold, y, x, count, grid);
        });
}

}  // namespace MD::Kernels
