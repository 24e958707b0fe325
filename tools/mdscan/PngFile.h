// How does a picture become a PNG file?  Used by main for the learned background.
#pragma once

#include <cstdint>
#include <vector>

#include "ResultFile.h"

namespace Scan {

struct BgrPicture {
    int width;                         // pixels
    int height;                        // pixels
    std::vector<std::uint8_t> pixels;  // blue, green, red; rows without padding
};

// Every pixel becomes a square of `factor` pixels; what lies beyond width and height is cut off.
BgrPicture Enlarged(const BgrPicture& picture, int factor, int width, int height);

// Writes under the file's passing name. Throws Failure.
void WritePng(const BgrPicture& picture, const ResultFile& file);

}  // namespace Scan
