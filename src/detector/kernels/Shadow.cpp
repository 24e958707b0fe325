// Is a foreground block only a shadow?  Row by row, in chunks: most rows and chunks have nothing to examine.
#include "detector/kernels/Shadow.h"

#include <algorithm>
#include <array>
#include <cmath>

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {
namespace {

constexpr std::ptrdiff_t columnsAtOnce = 64;

// work(first column, number of columns)
template <class Work>
MD_PART_OF_CALLER void ForEachPartOfRow(int columns, Work work) {
    for (std::ptrdiff_t x = 0; x < columns; x += columnsAtOnce)
        work(x, std::min<std::ptrdiff_t>(columnsAtOnce, columns - x));
}

// gradient[j] = log of `from` less log of `to` where marked.
void StoreGradients(const std::uint8_t* from, const std::uint8_t* to, const std::uint8_t* isMarked, float* gradient,
                    std::ptrdiff_t count) {
    const double* const logs = LogLumaTable();
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
    const std::ptrdiff_t at = row * grid.columns + first;
    const float *const backgroundX = b.backgroundGradientX + at, *const currentX = b.currentGradientX + at;
    const float *const backgroundY = b.backgroundGradientY + at, *const currentY = b.currentGradientY + at;
    const float *const cb = b.cbDifference + at, *const cr = b.crDifference + at;
    float* const gradient = cells.gradient + (first - (x - 1));
    float* const chroma = cells.chroma + (first - (x - 1));
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < last - first; ++j) {
        gradient[j] = std::fabs(backgroundX[j] - currentX[j]) + std::fabs(backgroundY[j] - currentY[j]);
        chroma[j] = cb[j] + cr[j];
    }
}

// Deliberate: the window ends exclude the block's right and lower neighbours and, at the right and lower edge of the grid,
// the block itself (ShadowTest, WindowOfInnerBlockIsItsUpperLeftSquare). Sums go row by row; an excluded cell adds 0.
void DecideChunk(const ShadowDecisionBlocks b, float shadowThreshold, std::ptrdiff_t y, std::ptrdiff_t x,
                 std::ptrdiff_t count, Grid grid) {
    const std::ptrdiff_t first = y * grid.columns + x;
    const std::uint8_t* const isBackground = b.isBackground + first;
    std::uint8_t *const zoneResultMap = b.zoneResultMap + first, *const isObject = b.isObject + first;
    std::uint8_t isExamined[columnsAtOnce], isShadow[columnsAtOnce];
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const std::uint8_t motion = zoneResultMap[j] == 1 ? 255 : 0, known = isBackground[j] ? 255 : 0;
        isObject[j] = motion;
        isExamined[j] = motion & known;
    }
    if (!IsAnySet(isExamined, static_cast<std::size_t>(count))) return;

    float *const gradientSum = b.gradientSum + first, *const chromaSum = b.chromaSum + first;
    CellChanges above, own;
    MeasureCells(b, y - 1, x, count, grid, above);
    MeasureCells(b, y, x, count, grid, own);
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const float gradient = above.gradient[j] + above.gradient[j + 1] + own.gradient[j] + own.gradient[j + 1];
        const float chroma = above.chroma[j] + above.chroma[j + 1] + own.chroma[j] + own.chroma[j + 1];
        const float keptGradient = gradientSum[j], keptChroma = chromaSum[j];
        const bool isLow = ShadowScore(gradient, chroma) < shadowThreshold;  // scores are never negative
        gradientSum[j] = isExamined[j] ? gradient : keptGradient;
        chromaSum[j] = isExamined[j] ? chroma : keptChroma;
        isShadow[j] = isLow ? isExamined[j] : std::uint8_t{0};
    }
    MD_INDEPENDENT_BLOCKS
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        isObject[j] &= static_cast<std::uint8_t>(~isShadow[j]);
        zoneResultMap[j] = isShadow[j] ? 2 : zoneResultMap[j];
    }
}

}  // namespace

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
            const ShadowFeatureBlocks c = b.From(static_cast<std::size_t>(y * columns + x));
            std::uint8_t isMarked[columnsAtOnce];
            MD_INDEPENDENT_BLOCKS
            for (std::ptrdiff_t j = 0; j < count; ++j) {
                const bool isKnown = c.isBackground[j] != 0, isSearched = c.searchMask[j] != 0;
                isMarked[j] = (isKnown & isSearched) ? 255 : 0;
            }
            if (!IsAnySet(isMarked, static_cast<std::size_t>(count))) return;

            // A grid of one column or row has no neighbour there, and no window reads it.
            const std::ptrdiff_t withRight = std::min(count, columns - 1 - x);
            StoreGradients(c.backgroundY, c.backgroundY + 1, isMarked, c.backgroundGradientX, withRight);
            StoreGradients(c.currentY, c.currentY + 1, isMarked, c.currentGradientX, withRight);
            if (withRight < count && columns > 1) {
                const ShadowFeatureBlocks last = c.From(static_cast<std::size_t>(withRight));
                const std::uint8_t* const isLastMarked = isMarked + withRight;
                StoreGradients(last.backgroundY - 1, last.backgroundY, isLastMarked, last.backgroundGradientX, 1);
                StoreGradients(last.currentY - 1, last.currentY, isLastMarked, last.currentGradientX, 1);
            }
            if (grid.rows > 1) {
                const std::ptrdiff_t lower = upper + columns;
                StoreGradients(c.backgroundY + upper, c.backgroundY + lower, isMarked, c.backgroundGradientY, count);
                StoreGradients(c.currentY + upper, c.currentY + lower, isMarked, c.currentGradientY, count);
            }
            StoreChromaChanges(c.currentCb, c.backgroundCb, isMarked, c.cbDifference, count);
            StoreChromaChanges(c.currentCr, c.backgroundCr, isMarked, c.crDifference, count);
        });
    }
}

void DecideShadows(ShadowDecisionBlocks b, float shadowThreshold, Grid grid) {
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y)
        ForEachPartOfRow(grid.columns, [=](std::ptrdiff_t x, std::ptrdiff_t count) {
            DecideChunk(b, shadowThreshold, y, x, count, grid);
        });
}

}  // namespace MD::Kernels::MD_LEVEL
MD_LEVEL_END

namespace MD::Kernels {

#if !defined(MD_LEVEL_IS_AVX2)  // one table for all levels
namespace {

std::array<double, 256> MakeLogTable() {
    std::array<double, 256> table;
    for (int luma = 0; luma < 256; ++luma) table[static_cast<std::size_t>(luma)] = std::log(luma + 1.0);
    return table;
}

}  // namespace

const double* LogLumaTable() {
    static const std::array<double, 256> table = MakeLogTable();
    return table.data();
}

double LogLuma(std::uint8_t luma) { return LogLumaTable()[luma]; }
#endif

MD_DEFINE_LOOP(MarkShadowSearch);
MD_DEFINE_LOOP(MeasureShadowFeatures);
MD_DEFINE_LOOP(DecideShadows);

}  // namespace MD::Kernels
