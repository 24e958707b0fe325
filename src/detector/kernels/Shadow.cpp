// Is a foreground block only a shadow?
#include "detector/kernels/Shadow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace MD::Kernels {
namespace {

std::array<double, 256> MakeLogTable() {
    std::array<double, 256> table;
    for (int luma = 0; luma < 256; ++luma) table[static_cast<std::size_t>(luma)] = std::log(luma + 1.0);
    return table;
}

// From a block to its right or lower neighbour; from the last block of a line, the difference before it.
float LogGradient(const std::uint8_t* luma, std::ptrdiff_t i, std::ptrdiff_t toNeighbour, bool isLast) {
    const std::ptrdiff_t from = isLast ? i - toNeighbour : i;
    return static_cast<float>(LogLuma(luma[from]) - LogLuma(luma[from + toNeighbour]));
}

struct WindowChange {
    float gradientSum;
    float chromaSum;
};

// Deliberate: the ends exclude the block's right and lower neighbours and, at the right and lower edge of the grid, the
// block itself (ShadowTest, WindowOfInnerBlockIsItsUpperLeftSquare).
WindowChange SumWindow(const ShadowDecisionBlocks& b, std::ptrdiff_t x, std::ptrdiff_t y, Grid grid) {
    const std::ptrdiff_t rowEnd = std::min<std::ptrdiff_t>(y + 1, grid.rows - 1);
    const std::ptrdiff_t columnEnd = std::min<std::ptrdiff_t>(x + 1, grid.columns - 1);
    WindowChange change{0.0f, 0.0f};
    for (std::ptrdiff_t row = std::max<std::ptrdiff_t>(y - 1, 0); row < rowEnd; ++row)
        for (std::ptrdiff_t column = std::max<std::ptrdiff_t>(x - 1, 0); column < columnEnd; ++column) {
            const std::ptrdiff_t i = row * grid.columns + column;
            change.gradientSum += std::fabs(b.backgroundGradientX[i] - b.currentGradientX[i]) +
                                  std::fabs(b.backgroundGradientY[i] - b.currentGradientY[i]);
            change.chromaSum += b.cbDifference[i] + b.crDifference[i];
        }
    return change;
}

}  // namespace

double LogLuma(std::uint8_t luma) {
    static const std::array<double, 256> table = MakeLogTable();
    return table[luma];
}

void MarkShadowSearch(const std::uint8_t* isObject, std::uint8_t* zoneResultMap, std::uint8_t* searchMask, Grid grid) {
    std::fill_n(searchMask, static_cast<std::ptrdiff_t>(grid.columns) * grid.rows, std::uint8_t{0});
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y) {
        for (std::ptrdiff_t x = 0; x < grid.columns; ++x) {
            const std::ptrdiff_t i = y * grid.columns + x;
            zoneResultMap[i] = isObject[i] ? 1 : 0;
            if (!isObject[i]) continue;
            const std::ptrdiff_t left = std::max<std::ptrdiff_t>(x - 1, 0);
            const std::ptrdiff_t width = std::min<std::ptrdiff_t>(x + 2, grid.columns) - left;
            for (std::ptrdiff_t row = std::max<std::ptrdiff_t>(y - 1, 0); row < std::min<std::ptrdiff_t>(y + 2, grid.rows); ++row)
                std::fill_n(searchMask + row * grid.columns + left, width, std::uint8_t{1});
        }
    }
}

void MeasureShadowFeatures(ShadowFeatureBlocks b, Grid grid) {
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y) {
        for (std::ptrdiff_t x = 0; x < grid.columns; ++x) {
            const std::ptrdiff_t i = y * grid.columns + x;
            if (!b.isBackground[i] || !b.searchMask[i]) continue;
            if (grid.columns > 1) {  // a single column has no neighbour, and no window reads it
                const bool isLast = x == grid.columns - 1;
                b.backgroundGradientX[i] = LogGradient(b.backgroundY, i, 1, isLast);
                b.currentGradientX[i] = LogGradient(b.currentY, i, 1, isLast);
            }
            if (grid.rows > 1) {
                const bool isLast = y == grid.rows - 1;
                b.backgroundGradientY[i] = LogGradient(b.backgroundY, i, grid.columns, isLast);
                b.currentGradientY[i] = LogGradient(b.currentY, i, grid.columns, isLast);
            }
            b.cbDifference[i] = ChromaChange(b.currentCb[i], b.backgroundCb[i]);
            b.crDifference[i] = ChromaChange(b.currentCr[i], b.backgroundCr[i]);
        }
    }
}

void DecideShadows(ShadowDecisionBlocks b, float shadowThreshold, Grid grid) {
    for (std::ptrdiff_t y = 0; y < grid.rows; ++y) {
        for (std::ptrdiff_t x = 0; x < grid.columns; ++x) {
            const std::ptrdiff_t i = y * grid.columns + x;
            b.isObject[i] = b.zoneResultMap[i] == 1 ? 255 : 0;
            if (!b.isBackground[i] || b.zoneResultMap[i] != 1) continue;
            const WindowChange change = SumWindow(b, x, y, grid);
            b.gradientSum[i] = change.gradientSum;
            b.chromaSum[i] = change.chromaSum;
            if (ShadowScore(change.gradientSum, change.chromaSum) < shadowThreshold) {  // scores are never negative
                b.isObject[i] = 0;
                b.zoneResultMap[i] = 2;
            }
        }
    }
}

}  // namespace MD::Kernels
