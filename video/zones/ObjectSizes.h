// Which sizes does an object have that counts?  As fractions, where somebody states them; in blocks, as they are compared.
#pragma once

#include <cmath>

#include "video/base/PictureGrid.h"
#include "video/zones/Zone.h"

namespace Video {

// Of the picture's width, and likewise of its height.
struct ObjectSizes {
    double smallest = 0;
    double largest = 1;
};

// usual: what holds where a zone states nothing of its own.
inline ObjectSizes SizesIn(const Zone& zone, const ObjectSizes& usual) {
    return {zone.minSize.value_or(usual.smallest), zone.maxSize.value_or(usual.largest)};
}

struct Extent {
    int columns;
    int rows;
};

// Of a size on the grid, in blocks: what is smaller, or larger, in one of them has not that size. Rounded as the detector
// rounds what it is told.
inline Extent ExtentOf(double size, const PictureGrid& grid) {
    const auto blocks = [&](int across) {
        return static_cast<int>(std::trunc(static_cast<float>(across) * static_cast<float>(size)));
    };
    return {blocks(grid.columns), blocks(grid.rows)};
}

}  // namespace Video
