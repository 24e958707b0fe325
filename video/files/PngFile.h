// How does a picture become a PNG file?
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/files/AtomicFile.h"

namespace Video {

// Writes under the file's passing name. Throws Failure.
void WritePng(const BgrPicture& picture, const AtomicFile& file);

// The same in memory, and back. Both throw std::exception.
std::string PngBytes(const BgrPicture& picture);
BgrPicture ReadPngBytes(const std::string& bytes);

}  // namespace Video
