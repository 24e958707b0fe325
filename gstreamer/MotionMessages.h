// How is what was found written as GStreamer's structures?  docs/gstreamer.md has every field.
#pragma once

#include <gst/gst.h>

#include <string>
#include <vector>

#include "gstreamer/FramePicture.h"
#include "gstreamer/MotionListener.h"

namespace Gst {

// Where messages come from: what it takes to tell their times and places.
struct Scene {
    const GstSegment* segment;
    const std::vector<std::string>* zones;  // names, in the order of the bits
    FramePart part;                         // boxes are told as of the whole frame
};

// To be freed by whoever gets them.
GstStructure* MessageOf(const MotionBegin& begin, const Scene& scene);
GstStructure* MessageOf(const MotionEnd& end, const Scene& scene);
GstStructure* MessageOf(const Video::Condition& condition, bool isOver, const Scene& scene);

// "coremd", with the meta of an object.
GstStructure* ParamsOf(const Video::MovingObject& object, int event, bool isFresh, const Scene& scene);

}  // namespace Gst
