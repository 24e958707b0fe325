// What did an event look like at its peak?  A small JPEG of one frame.
#pragma once

#include <string>

#include "video/files/AtomicFile.h"

struct AVFrame;

namespace Video {

inline constexpr int widestThumbnail = 480;  // pixels

// A JPEG file of the frame, no wider than this. Empty where FFmpeg cannot make one.
std::string JpegOf(const AVFrame& frame, int widest);

// The frame, no wider than a thumbnail may be, under the file's passing name. Throws Failure.
void WriteThumbnail(const AVFrame& frame, const AtomicFile& file);

}  // namespace Video
