// When did a live source show nothing, and why?
#pragma once

#include <string>

#include "video/time/TickTime.h"

namespace Video {

// A hole in what a live source has shown.
struct Gap {
    Ticks start;  // time of the last picture before
    Ticks end;    // time of the first one after, or of the end of the scan
    std::string reason;
};

}  // namespace Video
