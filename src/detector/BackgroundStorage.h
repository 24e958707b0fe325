// What does a saved background hold?  Filled and read by the detector's snapshot operations.
#pragma once

#include <cstdint>

#include "coreMD.h"

namespace MD {

// Copies of the detector's arrays of the same names, [block] each, owned. A snapshot belongs to the block grid that was
// current when it was allocated. Last change times and motion flags are not part of it.
class COREMD_API BackgroundStorage {
public:
    BackgroundStorage();  // holds nothing, of no grid
    ~BackgroundStorage();
    BackgroundStorage(const BackgroundStorage&) = delete;
    BackgroundStorage& operator=(const BackgroundStorage&) = delete;

    // Whether arrays and mask are those of a grid of columns x rows blocks. One that a host put together by itself
    // tells of no grid and is taken at its word; a grid without blocks touches none of them.
    bool Suits(int columns, int rows) const {
        return blockCountX < 0 || columns * rows == 0 || (blockCountX == columns && blockCountY == rows);
    }

    float* _noiseLevel;
    unsigned char* _isStable;
    unsigned char* _backgroundY;
    unsigned char* _backgroundCb;
    unsigned char* _backgroundCr;
    unsigned char* _isBackground;
    float* _sampleValue;
    int maskWidthStep;    // bytes per row of `mask`; -1 while none is stored
    unsigned char* mask;  // maskWidthStep * rows bytes; non-zero: the block is restored
    std::int64_t* _backgroundTime;
    std::int64_t* _sampleTime;
    int blockCountX;  // of the grid it was allocated for; -1: of none
    int blockCountY;
};

}  // namespace MD
