// Which pictures does a scan hand on beside its records?  A small one of each event, and what was learned of an input's
// ground, where heat maps and pages need them.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/watch/Events.h"
#include "video/watch/HeatMap.h"

namespace Scan {

inline constexpr int widestEventPicture = 256;  // pixels

// What a page shows of an event.
struct EventPicture {
    int event;                                  // number within the input
    std::string jpeg;                           // bytes of a file
    std::vector<Video::TrackPoint> track = {};  // of its largest object, whether records tell it or not
};

struct GroundPicture {
    Video::HeatMap heat;
    Video::BgrPicture background = {};  // one pixel per block; empty: of an earlier grid only
};

using ScanPicture = std::variant<EventPicture, GroundPicture>;

}  // namespace Scan
