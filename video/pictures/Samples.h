// What does a video look like from its beginning to its end?  A few of its pictures, without decoding what lies between.
#pragma once

#include <string>
#include <vector>

#include "video/media/Decoder.h"
#include "video/time/TickTime.h"

namespace Video {

struct Sample {
    Ticks time;        // since the start of the file
    std::string jpeg;  // a file
};

// At most so many, evenly apart, each that of a keyframe, no wider than this; the first is the first picture. Of what is
// read once, like a pipe or a camera, that is all. begun: has just decoded the first picture of path. Throws Failure.
std::vector<Sample> SamplesOf(const std::string& path, const Decoder& begun, int most, int widest);

}  // namespace Video
