// Which blocks does an object hold, and is its box right?  Used by the tests of objects and pools.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "zones/MotionObject.h"

namespace Kit {

using Blocks = std::vector<std::pair<short, short>>;  // (column, row)

inline Blocks BlocksOf(const MD::MotionObject& object) {
    Blocks blocks;
    for (int i = 0; i < object.objectPixelsCount; ++i) blocks.emplace_back(object.motionX[i], object.motionY[i]);
    return blocks;
}

// The box, from scratch; without blocks the empty one.
inline bool BoxIsAround(const MD::MotionObject& object, const Blocks& blocks) {
    short minX = 32767, maxX = -32768, minY = 32767, maxY = -32768;
    for (const auto& [x, y] : blocks) {
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    return object.minX == minX && object.maxX == maxX && object.minY == minY && object.maxY == maxY;
}

}  // namespace Kit
