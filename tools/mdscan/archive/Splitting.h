// Where is a long video split?  Where nothing moves, as far as its keyframes tell; else at even distances. Each part begins
// to look before it begins to tell.
#pragma once

#include <string>
#include <vector>

#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/time/TickTime.h"

namespace Scan {

// How much of a keyframe differs from the one before?
struct KeyframeChange {
    Video::Ticks time;
    bool isQuiet;  // hardly anything does
};

struct Cut {
    Video::Ticks at;
    bool isQuiet;  // nothing moves for as long before as a part learns, nor right after
};

// Of the keyframes around a border, in order: where nothing has moved for long, as close to the border as can be.
Cut CutNear(Video::Ticks border, const std::vector<KeyframeChange>& keyframes);

// The parts of a video, in order. Empty: it remains in one piece, since it is no longer than one and a half parts, does not
// say how long it is, or cannot be read, which its scan will tell. Where the user has had enough: some of them. part: ticks.
// Throws Failure where it is long, and cannot be begun in the middle.
std::vector<JobPart> PartsOf(const std::string& path, const ScanSettings& scan, Video::Ticks part);

}  // namespace Scan
