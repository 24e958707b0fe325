// What does a scan amount to?
#pragma once

#include <cstdint>

#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"

namespace Video {

// What became of the GOPs of an input.
struct GopTally {
    int gops = 0;       // 0: the input was not taken apart
    int decoded = 0;    // whole; of the others, the first picture only
    int tooLong = 0;    // decoded because of their length alone
    int bySize = 0;     // decoded because more is stored of them than of others in which nothing moves
    int unscouted = 0;  // decoded because looking at keyframes had saved nothing
    Ticks longest = 0;  // from the start of a GOP to the start of the next one
};

// What a scan amounts to.
struct Tally {
    std::int64_t pictures = 0;  // decoded
    std::int64_t analysed = 0;
    Ticks length = 0;    // time of the last picture
    double elapsed = 0;  // seconds that the scan took
    int events = 0;
    int dropped = 0;                  // too short
    int flashes = 0;                  // dropped, where flashes are ignored
    int gaps = 0;                     // of a live source
    std::int64_t droppedPackets = 0;  // of a live source, because the scan was too slow
    GopTally gops = {};               // with --fast
    PictureGrid grid = {};            // of the last picture analysed
    int rotation = 0;                 // degrees by which pictures are turned clockwise to be shown
    bool mirrored = false;            // left and right are exchanged then
};

// Seconds of video in a second of scanning.
inline double SpeedOf(const Tally& tally) { return tally.elapsed > 0 ? ToSeconds(tally.length) / tally.elapsed : 0; }

}  // namespace Video
