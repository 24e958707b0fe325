// What does a picture file show?  Decodes JPEG, PNG and BMP with FFmpeg.
#pragma once

#include <string>

#include "BlockMasks.h"
#include "video/media/Libav.h"

namespace Accuracy {

// As it is stored, whatever its pixel format. Throws Video::Failure.
Video::FramePointer ReadPicture(const std::string& file);

// Of a picture of labels: grey, with a palette, or in colours that are all grey. Throws Video::Failure.
GreyPicture ReadLabels(const std::string& file);

// Another pixel format, of full range. The rows have FFmpeg's padding: its converters write in whole vectors, beyond the
// width. Throws Video::Failure.
Video::FramePointer Converted(const AVFrame& frame, AVPixelFormat format);

}  // namespace Accuracy
