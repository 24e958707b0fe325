// How does a picture become a PNG file?
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/files/AtomicFile.h"

namespace Video {

// Files that are called other than they are help nobody. option: that asks for it. path: empty: none is asked for; ends in
// .png, or has no ending. Throws Failure.
void RefuseUnlessPng(const std::string& option, const std::string& path);

// Writes under the file's passing name. Throws Failure.
void WritePng(const BgrPicture& picture, const AtomicFile& file);

// The same in memory, and back. Both throw std::exception.
std::string PngBytes(const BgrPicture& picture);
BgrPicture ReadPngBytes(const std::string& bytes);

}  // namespace Video
