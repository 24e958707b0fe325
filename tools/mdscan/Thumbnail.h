// What did an event look like at its peak?  A small JPEG of one frame; Job writes one per event when asked to.
#pragma once

#include <string>

#include "Libav.h"
#include "ResultFile.h"

namespace Scan {

inline constexpr int widestThumbnail = 480;        // pixels

// A JPEG file of the frame, no wider than this. Empty where FFmpeg cannot make one.
std::string JpegOf(const AVFrame& frame, int widest);

// The frame, no wider than a thumbnail may be, under the file's passing name. Throws Failure.
void WriteThumbnail(const AVFrame& frame, const ResultFile& file);

// "DIR/front-door-3.jpg": of event 3 of recordings/front-door.mp4. distinct: with a mark of the whole path, which keeps files
// of one name in several folders apart.
std::string ThumbnailPath(const std::string& folder, const std::string& input, bool distinct, int event);

}  // namespace Scan
