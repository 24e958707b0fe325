// How does a decoded frame become an array of colours?
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "video/media/Libav.h"

namespace Python {

// Red, green and blue of every pixel; rows without padding.
struct RgbPicture {
    int width = 0, height = 0;  // pixels
    std::vector<std::uint8_t> pixels;
};

// Throws Video::Failure where FFmpeg cannot convert it.
RgbPicture RgbOf(const AVFrame& frame);

}  // namespace Python
