// How is what was found in one picture written as text, and how does the text travel with its buffer?
//
// GStreamer 1.22 has no meta for what an analysis found but boxes. Its custom metas hold a structure, which any language
// reads; this one has a single field, "json". Having no tags, it survives scaling and encoding, so it tells the size it
// speaks of.
#pragma once

#include <gst/gst.h>

#include <string>
#include <vector>

#include "gstreamer/FramePicture.h"
#include "gstreamer/MotionListener.h"
#include "gstreamer/MotionMessages.h"

namespace Gst {

#define COREMD_JSON_META "GstCoremdMeta"

struct FrameFindings {
    GstClockTime runningTime;  // of the picture itself
    int width, height;         // of the whole frame, in pixels
    bool isFresh;              // it was analysed itself; otherwise an earlier one was
    bool isReady;              // enough was seen to find anything
    int event;                 // number of the running one; 0: none that was told
    const std::vector<Video::MovingObject>* objects;
    std::vector<Video::Condition> conditions;  // that go on
};

// Once, before any buffer gets one.
void RegisterJsonMeta();

// One object, in one line.
std::string JsonOf(const FrameFindings& findings, const Scene& scene);

// The buffer is writable.
void AttachJson(GstBuffer* buffer, const std::string& json);

}  // namespace Gst
