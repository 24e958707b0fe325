// Where is the video of an event?
#pragma once

#include <string>

#include "video/time/TickTime.h"

namespace Video {

struct Clip {
    std::string path;
    Ticks start;  // time of its first picture
};

}  // namespace Video
