// What is a picture that people look at?  Blue, green and red of every pixel; made of blocks, maps and zones.
#pragma once

#include <cstdint>
#include <vector>

namespace Video {

struct BgrPicture {
    int width = 0;                          // pixels
    int height = 0;                         // pixels
    std::vector<std::uint8_t> pixels = {};  // blue, green, red; rows without padding
};

// Every pixel becomes a square of `factor` pixels; what lies beyond width and height is cut off.
BgrPicture Enlarged(const BgrPicture& picture, int factor, int width, int height);

}  // namespace Video
