// What decides what is found in an input, and what is said of it?
#pragma once

#include <optional>
#include <vector>

#include "video/time/WallClock.h"
#include "video/zones/Zone.h"

namespace Scan {

struct ScanSettings {
    double rate = 6;                            // pictures analysed per second; 0: all
    bool fast = false;                          // decode only where keyframes differ
    int blockSize = 0;                          // pixels; 0: chosen from the picture's size
    bool shadows = false;                       // drop shadows
    double minSize = 0.03;                      // smallest object, as a fraction of the picture's width and of its height
    double mergeGap = 2;                        // seconds
    double minDuration = 0.5;                   // seconds
    double preRoll = 0;                         // seconds
    double postRoll = 0;                        // seconds
    int minBlocks = 1;                          // moving blocks, for a frame to count
    std::vector<Video::Zone> zones;             // none: the whole picture
    bool frames = false;                        // one line per analysed frame, too
    bool track = false;                         // where the largest object went, in every event
    std::optional<Video::WallTicks> startTime;  // wall clock at the start of the one input
};

}  // namespace Scan
