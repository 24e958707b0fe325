// Is a foreground block only a shadow?  A shadow darkens a surface but keeps its texture and its colour.
// Rules for one block and loops over a grid. Called by MotionDetector-Shadow.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "utils/Blocks.h"
#include "utils/Levels.h"

namespace MD::Kernels {

// ---- Rules for one block ------------------------------------------------------------------------------------------

// log(luma + 1) in double precision; the table behind it is filled with the very call.
double LogLuma(std::uint8_t luma);
const double* LogLumaTable();  // of all 256

// Deliberate: a difference of 6 counts 6, one of 7 counts 1 (ShadowTest, ChromaDeadZoneJumps).
constexpr float ChromaChange(int chroma, int background) {
    const int difference = chroma > background ? chroma - background : background - chroma;
    return static_cast<float>(difference > 6 ? difference - 6 : difference) * 0.01f;
}

constexpr float ShadowScore(float gradientSum, float chromaSum) { return 75.0f * gradientSum + 150.0f * chromaSum; }

// ---- Loops over the grid -------------------------------------------------------------------------------------------

struct RowRange {  // rows first to last - 1
    int first;
    int last;
};

// zoneResultMap[i] = 1 for foreground, else 0; searchMask[i] = 1 for foreground and its up to 8 neighbours, else 0.
// Returns the rows around all search marks.
extern const Loop<RowRange(const std::uint8_t* isObject, std::uint8_t* zoneResultMap, std::uint8_t* searchMask, Grid grid)>
    MarkShadowSearch;

// Gradients of the logarithm of the luma, in background and frame, and change of the chroma. Blocks without background
// and blocks that are not searched keep the zeros that the caller put there.
struct ShadowFeatureBlocks {
    const std::uint8_t* searchMask;
    const std::uint8_t* isBackground;
    const std::uint8_t* backgroundY;
    const std::uint8_t* backgroundCb;
    const std::uint8_t* backgroundCr;
    const std::uint8_t* currentY;
    const std::uint8_t* currentCb;
    const std::uint8_t* currentCr;
    float* backgroundGradientX;
    float* backgroundGradientY;
    float* currentGradientX;
    float* currentGradientY;
    float* cbDifference;
    float* crDifference;

    ShadowFeatureBlocks From(std::size_t first) const {
        return {searchMask + first,          isBackground + first,     backgroundY + first,
                backgroundCb + first,        backgroundCr + first,     currentY + first,
                currentCb + first,           currentCr + first,        backgroundGradientX + first,
                backgroundGradientY + first, currentGradientX + first, currentGradientY + first,
                cbDifference + first,        crDifference + first};
    }
};
extern const Loop<void(ShadowFeatureBlocks b, Grid grid)> MeasureShadowFeatures;

// Foreground blocks on known background that score below `shadowThreshold` leave the foreground: isObject 0,
// zoneResultMap 2. All other blocks: isObject 255 where zoneResultMap is 1, else 0.
struct ShadowDecisionBlocks {
    const std::uint8_t* isBackground;
    const float* backgroundGradientX;
    const float* backgroundGradientY;
    const float* currentGradientX;
    const float* currentGradientY;
    const float* cbDifference;
    const float* crDifference;
    float* gradientSum;
    float* chromaSum;
    std::uint8_t* isObject;
    std::uint8_t* zoneResultMap;
};
extern const Loop<void(ShadowDecisionBlocks b, float shadowThreshold, Grid grid)> DecideShadows;

}  // namespace MD::Kernels
