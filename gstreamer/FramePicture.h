// Where do a mapped frame's samples lie, as the reducer wants to know it?
#pragma once

#include <gst/video/video.h>

#include "BlockReducer.h"

namespace Gst {

// The caps of both pads, without sizes and rates.
#define COREMD_FORMATS "{ NV12, I420, YV12, Y42B, Y444, GRAY8, P010_10LE }"

// A part of a frame, in pixels: all of it, or what a crop meta leaves.
struct FramePart {
    int x, y, width, height;
};

// Of the buffer: what its crop meta leaves, begun where chroma begins. All of it without one.
FramePart VisiblePart(GstBuffer* buffer, const GstVideoInfo& info);

Host::PictureFormat FormatOf(const GstVideoInfo& info, const FramePart& part);

// Valid as long as the frame is mapped.
Host::PictureView ViewOf(const GstVideoFrame& frame, const FramePart& part);

}  // namespace Gst
