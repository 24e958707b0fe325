// Which pictures does a scan hand on beside its records?  A small one of each event, and what was learned of an input's
// ground, where heat maps and pages need them.
#pragma once

#include <string>
#include <variant>

#include "video/base/BgrPicture.h"
#include "video/watch/HeatMap.h"

namespace Scan {

inline constexpr int widestEventPicture = 256;  // pixels

struct EventPicture {
    int event;         // number within the input
    std::string jpeg;  // bytes of a file
};

struct GroundPicture {
    Video::HeatMap heat;
    Video::BgrPicture background = {};  // one pixel per block; empty: of an earlier grid only
};

using ScanPicture = std::variant<EventPicture, GroundPicture>;

}  // namespace Scan
