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
    int pictureBlocks = 0;              // of the whole picture, moving or not; 0: not known
    int changedBlocks = 0;              // moving blocks that look other than in the frame before
    bool isFlash = false;               // nearly all of the picture got brighter at once, or darker
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
