// How is a box drawn into a frame?
#pragma once

#include <gst/video/video.h>

#include "video/base/Box.h"

namespace Gst {

// A bright green line of two pixels along its inside. The frame is mapped for writing; the box lies within it.
void DrawBox(GstVideoFrame& frame, const Video::Box& box);

}  // namespace Gst
