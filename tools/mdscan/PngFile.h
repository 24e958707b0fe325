// How does a picture become a PNG file?  Used for the learned background, zones, heat maps and pages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ResultFile.h"

namespace Scan {

struct BgrPicture {
    int width = 0;                          // pixels
    int height = 0;                         // pixels
    std::vector<std::uint8_t> pixels = {};  // blue, green, red; rows without padding
};

// Every pixel becomes a square of `factor` pixels; what lies beyond width and height is cut off.
BgrPicture Enlarged(const BgrPicture& picture, int factor, int width, int height);

// Writes under the file's passing name. Throws Failure.
void WritePng(const BgrPicture& picture, const ResultFile& file);

// The same in memory, and back. Both throw std::exception.
std::string PngBytes(const BgrPicture& picture);
BgrPicture ReadPngBytes(const std::string& bytes);

}  // namespace Scan
