// What does the element do with a buffer, and with all that may come between two?
#include "gstreamer/ElementState.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideometa.h>

#include <exception>
#include <utility>

#include "gstreamer/BoxDrawing.h"
#include "gstreamer/ClockTimes.h"
#include "gstreamer/CoremdElement.h"
#include "gstreamer/FrameJson.h"

namespace Gst {

namespace {

constexpr GstClockTime usualInterval = GST_SECOND / 25;  // where neither buffers nor caps tell one

}  // namespace

bool ElementState::Start() {
    MotionSettings now;
    {
        const std::lock_guard lock(mutex);
        now = settings;
        isChanged = true;
        last = {};
    }
    try {
        _analysis = std::make_unique<MotionAnalysis>(now, *this);
    } catch (const std::exception& failure) {
        GST_ELEMENT_ERROR(_element, RESOURCE, SETTINGS, ("%s", failure.what()), (nullptr));
        return false;
    }
    _zones = _analysis->ZoneNames();
    _newest.reset();
    _info.reset();
    _earliest = 0;
    return true;
}

void ElementState::Stop() {
    Restart("stop");
    _analysis.reset();
}

bool ElementState::SetInfo(const GstVideoInfo& info) {
    if (_info && gst_video_info_is_equal(&*_info, &info)) {
        return true;
    }
    Restart("caps");
    _info = info;
    _part = {};
    const bool isSteady = info.fps_n > 0 && info.fps_d > 0;
    _interval = isSteady ? gst_util_uint64_scale_int(GST_SECOND, info.fps_d, info.fps_n) : 0;
    _analysis->SetInterval(isSteady ? TicksOf(_interval) : Video::oneSecond / 1000);
    return true;
}

// Absent: it is outside of its segment, and nobody will see it.
std::optional<PictureTime> ElementState::TimeOf(GstBuffer* buffer) {
    const GstSegment& segment = GST_BASE_TRANSFORM(_element)->segment;
    const GstClockTime timestamp = GST_BUFFER_PTS(buffer);
    const bool isTimed = segment.format == GST_FORMAT_TIME;
    GstClockTime running = _newest ? *_newest + _duration : isTimed ? segment.base : 0;  // of one that has no time
    _duration = GST_BUFFER_DURATION_IS_VALID(buffer) && GST_BUFFER_DURATION(buffer) > 0 ? GST_BUFFER_DURATION(buffer)
                : _interval > 0                                                         ? _interval
                                                                                        : usualInterval;
    if (isTimed && GST_CLOCK_TIME_IS_VALID(timestamp)) {
        running = gst_segment_to_running_time(&segment, GST_FORMAT_TIME, timestamp);
        if (!GST_CLOCK_TIME_IS_VALID(running)) {
            return std::nullopt;
        }
    }
    return PictureTime{TicksOf(running), running, timestamp};
}

void ElementState::TakeSettings() {
    MotionSettings now;
    {
        const std::lock_guard lock(mutex);
        if (!std::exchange(isChanged, false)) {
            return;
        }
        now = settings;
        _draws = draws;
        _marks = marks;
        _writes = writes;
    }
    try {
        _analysis->Change(now);
        _zones = _analysis->ZoneNames();
    } catch (const std::exception& failure) {
        OnWarning(failure.what());
    }
}

GstFlowReturn ElementState::OnBuffer(GstBuffer* buffer) {
    TakeSettings();
    const std::optional<PictureTime> time = TimeOf(buffer);
    if (!_info || !time) {
        return GST_FLOW_OK;
    }
    if (_newest && time->runningTime < *_newest) {
        Restart("time");
    }
    const bool isLater = !_newest || time->runningTime > *_newest;
    _newest = time->runningTime;
    bool isFresh = false;
    if (GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_GAP)) {  // nothing is shown, so nothing is in it
        _analysis->Pause(time->running);
        return GST_FLOW_OK;
    }
    if (isLater && _analysis->Wants(time->running) && !IsLate(*time)) {
        try {
            Analyse(buffer, *time);
        } catch (const std::exception& failure) {
            GST_ELEMENT_ERROR(_element, STREAM, FORMAT, ("%s", failure.what()), (nullptr));
            return GST_FLOW_ERROR;
        }
        isFresh = true;
    }
    if (_marks) {
        Mark(buffer, isFresh);
    }
    if (_writes) {
        Write(buffer, *time, isFresh);
    }
    if (_draws) {
        Draw(buffer);
    }
    return GST_FLOW_OK;
}

bool ElementState::IsLate(const PictureTime& time) {
    if (!gst_base_transform_is_qos_enabled(GST_BASE_TRANSFORM(_element)) || time.runningTime >= _earliest) {
        return false;
    }
    guint64 analysed = 0, skipped = 0;
    {
        const std::lock_guard lock(mutex);
        skipped = ++last.skipped;
        analysed = last.analysed;
    }
    const GstSegment& segment = GST_BASE_TRANSFORM(_element)->segment;
    const GstClockTime stream = segment.format == GST_FORMAT_TIME
                                    ? gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, time.timestamp)
                                    : GST_CLOCK_TIME_NONE;
    GstMessage* const message =
        gst_message_new_qos(GST_OBJECT(_element), FALSE, time.runningTime, stream, time.timestamp, GST_CLOCK_TIME_NONE);
    gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, analysed, skipped);
    gst_element_post_message(GST_ELEMENT(_element), message);
    return true;
}

void ElementState::Analyse(GstBuffer* buffer, const PictureTime& time) {
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &*_info, buffer, GST_MAP_READ)) {
        OnWarning("a picture could not be read");
        return;
    }
    const std::unique_ptr<GstVideoFrame, decltype(&gst_video_frame_unmap)> unmap(&frame, &gst_video_frame_unmap);
    const FramePart part = VisiblePart(buffer, *_info);
    if (part.x != _part.x || part.y != _part.y || part.width != _part.width || part.height != _part.height) {
        if (_part.width > 0) {  // the boxes so far are those of another part
            _analysis->Restart("caps");
        }
        _part = part;
    }
    _analysis->See(FormatOf(*_info, part), ViewOf(frame, part), time);
    const std::vector<Video::MovingObject>& objects = _analysis->Objects();
    const bool isReady = _analysis->IsReady();
    const std::lock_guard lock(mutex);
    ++last.analysed;
    last.runningTime = time.runningTime;
    last.isReady = isReady;
    last.isMoving = _analysis->RunningEvent() > 0;
    last.objects = static_cast<guint>(objects.size());
    last.blocks = 0;
    for (const Video::MovingObject& object : objects) {
        last.blocks += static_cast<guint>(object.blocks);
    }
}

void ElementState::Mark(GstBuffer* buffer, bool isFresh) {
    gint id = 0;
    for (const Video::MovingObject& object : _analysis->Objects()) {
        GstVideoRegionOfInterestMeta* const meta = gst_buffer_add_video_region_of_interest_meta(
            buffer, "motion", static_cast<guint>(object.box.x + _part.x), static_cast<guint>(object.box.y + _part.y),
            static_cast<guint>(object.box.width), static_cast<guint>(object.box.height));
        meta->id = ++id;
        gst_video_region_of_interest_meta_add_param(meta, ParamsOf(object, _analysis->RunningEvent(), isFresh, SceneNow()));
    }
}

void ElementState::Write(GstBuffer* buffer, const PictureTime& time, bool isFresh) {
    const FrameFindings findings{.runningTime = time.runningTime,
                                 .width = GST_VIDEO_INFO_WIDTH(&*_info),
                                 .height = GST_VIDEO_INFO_HEIGHT(&*_info),
                                 .isFresh = isFresh,
                                 .isReady = _analysis->IsReady(),
                                 .event = _analysis->RunningEvent(),
                                 .objects = &_analysis->Objects(),
                                 .conditions = _analysis->RunningConditions()};
    AttachJson(buffer, JsonOf(findings, SceneNow()));
}

void ElementState::Draw(GstBuffer* buffer) {
    if (_analysis->Objects().empty()) {
        return;
    }
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &*_info, buffer, GST_MAP_READWRITE)) {
        OnWarning("a picture could not be drawn into");
        return;
    }
    for (const Video::MovingObject& object : _analysis->Objects()) {
        const Video::Box& box = object.box;
        DrawBox(frame, {box.x + _part.x, box.y + _part.y, box.width, box.height});
    }
    gst_video_frame_unmap(&frame);
}

// Times of what began in it cannot be told by the one that follows. One that is sent again, as after a relinking, is the
// same: only the base class wrote how far it got.
void ElementState::OnSegment(const GstSegment& next) {
    GstSegment segment = GST_BASE_TRANSFORM(_element)->segment;
    segment.position = next.position;
    if (_analysis && !gst_segment_is_equal(&segment, &next)) {
        _analysis->EndEvent("segment");
    }
}

void ElementState::OnGap(GstClockTime timestamp, GstClockTime duration) {
    const GstSegment& segment = GST_BASE_TRANSFORM(_element)->segment;
    const GstClockTime end = timestamp + (GST_CLOCK_TIME_IS_VALID(duration) ? duration : 0);
    if (!_analysis || segment.format != GST_FORMAT_TIME || !GST_CLOCK_TIME_IS_VALID(timestamp)) {
        return;
    }
    const GstClockTime running = gst_segment_to_running_time(&segment, GST_FORMAT_TIME, end);
    if (GST_CLOCK_TIME_IS_VALID(running)) {
        _analysis->Pause(TicksOf(running));
    }
}

void ElementState::Restart(const char* reason) {
    if (_analysis) {
        _analysis->Restart(reason);
    }
    _newest.reset();
    _earliest = 0;
    const std::lock_guard lock(mutex);
    last.isReady = last.isMoving = false;
    last.objects = last.blocks = 0;
}

Scene ElementState::SceneNow() { return {&GST_BASE_TRANSFORM(_element)->segment, &_zones, _part}; }

void ElementState::Post(GstStructure* structure, std::unique_ptr<GstStructure, FreeStructure> LastResults::*kept) {
    {
        const std::lock_guard lock(mutex);
        (last.*kept).reset(gst_structure_copy(structure));
    }
    gst_element_post_message(GST_ELEMENT(_element), gst_message_new_element(GST_OBJECT(_element), structure));
}

void ElementState::OnBegin(const MotionBegin& begin) {
    {
        const std::lock_guard lock(mutex);
        ++last.events;
        last.isMoving = true;
    }
    Post(MessageOf(begin, SceneNow()), &LastResults::begin);
}

void ElementState::OnEnd(const MotionEnd& end) {
    {
        const std::lock_guard lock(mutex);
        last.isMoving = false;
    }
    Post(MessageOf(end, SceneNow()), &LastResults::end);
}

void ElementState::OnCondition(const Video::Condition& condition, bool isOver) {
    Post(MessageOf(condition, isOver, SceneNow()), &LastResults::condition);
}

void ElementState::OnWarning(const std::string& text) {
    GST_ELEMENT_WARNING(_element, RESOURCE, SETTINGS, ("%s", text.c_str()), (nullptr));
}

}  // namespace Gst
