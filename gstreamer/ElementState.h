// What does the element know between two calls of GStreamer's?  Its settings, its stream, and what was found last.
#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "gstreamer/FramePicture.h"
#include "gstreamer/MotionAnalysis.h"
#include "gstreamer/MotionListener.h"
#include "gstreamer/MotionMessages.h"
#include "gstreamer/MotionSettings.h"

struct _GstCoremd;

namespace Gst {

struct FreeStructure {
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
};

// For those who poll.
struct LastResults {
    GstClockTime runningTime = GST_CLOCK_TIME_NONE;
    bool isReady = false;
    bool isMoving = false;
    guint objects = 0;
    guint blocks = 0;
    std::unique_ptr<GstStructure, FreeStructure> begin, end, condition;  // null: none yet
    guint64 analysed = 0;
    guint64 skipped = 0;
    guint events = 0;
};

class ElementState : public MotionListener {
public:
    explicit ElementState(_GstCoremd* element) : _element(element) {}

    // Between READY and PAUSED. False: an error was posted.
    bool Start();
    void Stop();

    // In the streaming thread.
    bool SetInfo(const GstVideoInfo& info);
    GstFlowReturn OnBuffer(GstBuffer* buffer);
    void OnSegment(const GstSegment& next);
    void OnGap(GstClockTime timestamp, GstClockTime duration);
    void Restart(const char* reason);  // with a falling time, too

    // What is later than that may be left out.
    void SetEarliest(GstClockTime runningTime) { _earliest = runningTime; }

    void OnBegin(const MotionBegin& begin) override;
    void OnEnd(const MotionEnd& end) override;
    void OnCondition(const Video::Condition& condition, bool isOver) override;
    void OnWarning(const std::string& text) override;

    std::mutex mutex;  // of what follows
    MotionSettings settings;
    bool draws = false;
    bool marks = true;
    bool writes = false;
    bool isChanged = false;  // since the analysis looked at it
    LastResults last;

private:
    std::optional<PictureTime> TimeOf(GstBuffer* buffer);
    void TakeSettings();
    void Analyse(GstBuffer* buffer, const PictureTime& time);
    bool IsLate(const PictureTime& time);
    void Mark(GstBuffer* buffer, bool isFresh);
    void Draw(GstBuffer* buffer);
    void Write(GstBuffer* buffer, const PictureTime& time, bool isFresh);
    Scene SceneNow();
    void Post(GstStructure* structure, std::unique_ptr<GstStructure, FreeStructure> LastResults::*kept);

    _GstCoremd* const _element;
    std::unique_ptr<MotionAnalysis> _analysis;
    std::vector<std::string> _zones;  // names
    std::optional<GstVideoInfo> _info;
    FramePart _part = {};
    std::optional<GstClockTime> _newest;                  // running time
    GstClockTime _interval = 0;                           // between two pictures, by the caps; 0: not known
    GstClockTime _duration = 0;                           // of the newest picture, or what is taken for it
    bool _draws = false, _marks = true, _writes = false;  // as the streaming thread has them
    std::atomic<GstClockTime> _earliest{0};
};

}  // namespace Gst
