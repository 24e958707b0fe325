// Which zones do a file, a mask and rectangles make together?
#pragma once

#include <string>
#include <vector>

#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Video {

struct ZoneSources {
    std::string file;                      // empty: none
    std::string mask;                      // PNG file, a zone like the others; empty: none
    std::vector<RelativeZone> rectangles;  // "zone 1", "zone 2"
};

// In this order. Throws Failure.
std::vector<Zone> ReadZones(const ZoneSources& sources);

}  // namespace Video
