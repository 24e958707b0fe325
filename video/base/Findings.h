// What moved in one analysed frame?
#pragma once

#include <cstdint>
#include <vector>

#include "video/base/Box.h"
#include "video/time/TickTime.h"

namespace Video {

struct MovingObject {
    Box box;                  // pixels
    int blocks;               // moving blocks
    std::uint64_t zones = 0;  // bit i: its blocks touch the i-th watched zone
};

// One analysed frame.
struct Findings {
    Ticks time;
    std::vector<MovingObject> objects;  // largest first
};

// In all of its objects.
inline int MovingBlocks(const Findings& frame) {
    int blocks = 0;
    for (const MovingObject& object : frame.objects) {
        blocks += object.blocks;
    }
    return blocks;
}

}  // namespace Video
