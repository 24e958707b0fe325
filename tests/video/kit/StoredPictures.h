// What does any player see in this video?  Every picture with its own time, straight from FFmpeg; for tests of what mdscan
// writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/media/Libav.h"

namespace Video {

struct StoredPicture {
    double time;                     // seconds, as the container has it
    bool isKey;                      // can be decoded by itself
    int width;                       // pixels
    int height;                      // pixels
    std::vector<std::uint8_t> luma;  // row after row
};

struct StoredPictures {
    std::vector<StoredPicture> pictures;  // in the order of showing
    std::vector<std::string> errors;      // of reading and decoding
    AVRational sampleAspect;
    int rotation;     // degrees that players turn it by
    int headerWidth;  // pixels; what the container says
};

StoredPictures ReadPictures(const std::string& path);

}  // namespace Video
