// What was wrong with the contents of an input?
#pragma once

#include <string>

#include "video/time/TickTime.h"

namespace Video {

// What was wrong with the file's contents. Decoding goes on behind a damaged place where that is possible.
struct Damage {
    int count = 0;     // packets and pictures with an error
    std::string what;  // the first one
    Ticks time = 0;    // about where it was
};

}  // namespace Video
