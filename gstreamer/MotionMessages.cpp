// Which fields has a message?
#include "gstreamer/MotionMessages.h"

#include <cstddef>
#include <cstdint>

#include "gstreamer/ClockTimes.h"

namespace Gst {

namespace {

class Value {
public:
    explicit Value(GType type) { g_value_init(&_value, type); }
    ~Value() {
        if (G_IS_VALUE(&_value)) {
            g_value_unset(&_value);
        }
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    GValue* Get() { return &_value; }

private:
    GValue _value = G_VALUE_INIT;
};

// Hands the list over.
void Take(GstStructure* structure, const char* field, Value& value) {
    gst_structure_take_value(structure, field, value.Get());
    *value.Get() = G_VALUE_INIT;
}

void SetZones(GstStructure* structure, std::uint64_t zones, const Scene& scene) {
    Value list(GST_TYPE_ARRAY);
    for (std::size_t i = 0; i < scene.zones->size(); ++i) {
        if ((zones >> i & 1) != 0) {
            Value name(G_TYPE_STRING);
            g_value_set_string(name.Get(), (*scene.zones)[i].c_str());
            gst_value_array_append_value(list.Get(), name.Get());
        }
    }
    Take(structure, "zones", list);
}

GstStructure* BoxOf(const Video::MovingObject& object, const Scene& scene) {
    GstStructure* const box =
        gst_structure_new("box", "x", G_TYPE_UINT, static_cast<guint>(object.box.x + scene.part.x), "y", G_TYPE_UINT,
                          static_cast<guint>(object.box.y + scene.part.y), "width", G_TYPE_UINT,
                          static_cast<guint>(object.box.width), "height", G_TYPE_UINT, static_cast<guint>(object.box.height),
                          "blocks", G_TYPE_UINT, static_cast<guint>(object.blocks), nullptr);
    SetZones(box, object.zones, scene);
    return box;
}

// Boxes, moving blocks of all, and the zones that any of them touches.
void SetObjects(GstStructure* structure, const std::vector<Video::MovingObject>& objects, std::uint64_t zones,
                const Scene& scene) {
    Value boxes(GST_TYPE_ARRAY);
    guint blocks = 0;
    for (const Video::MovingObject& object : objects) {
        Value box(GST_TYPE_STRUCTURE);
        g_value_take_boxed(box.Get(), BoxOf(object, scene));
        gst_value_array_append_value(boxes.Get(), box.Get());
        blocks += static_cast<guint>(object.blocks);
        zones |= object.zones;
    }
    gst_structure_set(structure, "blocks", G_TYPE_UINT, blocks, nullptr);
    SetZones(structure, zones, scene);
    Take(structure, "boxes", boxes);
}

// "running-time", "stream-time" and "timestamp", of the begin "begin-running-time" and so on.
void SetTimes(GstStructure* structure, const std::string& which, GstClockTime running, GstClockTime timestamp,
              const GstSegment& segment) {
    const auto set = [&](const char* what, GstClockTime time) {
        gst_structure_set(structure, (which + what).c_str(), G_TYPE_UINT64, time, nullptr);
    };
    const bool isTime = segment.format == GST_FORMAT_TIME;
    const GstClockTime position =
        isTime ? gst_segment_position_from_running_time(&segment, GST_FORMAT_TIME, running) : GST_CLOCK_TIME_NONE;
    set("running-time", running);
    set("stream-time",
        position == GST_CLOCK_TIME_NONE ? position : gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, position));
    set("timestamp", timestamp);
}

void SetTimes(GstStructure* structure, const std::string& which, const PictureTime& time, const Scene& scene) {
    SetTimes(structure, which, time.runningTime, time.timestamp, *scene.segment);
}

}  // namespace

GstStructure* MessageOf(const MotionBegin& begin, const Scene& scene) {
    GstStructure* const message =
        gst_structure_new("motion-begin", "id", G_TYPE_UINT, static_cast<guint>(begin.id), nullptr);
    SetTimes(message, "", begin.start, scene);
    SetTimes(message, "told-", begin.now, scene);
    SetObjects(message, begin.objects, 0, scene);
    return message;
}

GstStructure* MessageOf(const MotionEnd& end, const Scene& scene) {
    GstStructure* const message = gst_structure_new(
        "motion-end", "id", G_TYPE_UINT, static_cast<guint>(end.id), "reason", G_TYPE_STRING, end.reason, "void",
        G_TYPE_BOOLEAN, end.isVoid ? TRUE : FALSE, "flash", G_TYPE_BOOLEAN, end.event.onlyFlash ? TRUE : FALSE, "frames",
        G_TYPE_UINT, static_cast<guint>(end.event.frames), nullptr);
    SetTimes(message, "", end.end, scene);
    SetTimes(message, "begin-", end.start, scene);
    SetTimes(message, "peak-", end.peak, scene);
    SetObjects(message, end.event.objects, end.event.zones, scene);
    return message;
}

GstStructure* MessageOf(const Video::Condition& condition, bool isOver, const Scene& scene) {
    const std::string kind(Video::NameOf(condition.kind));
    GstStructure* const message =
        gst_structure_new("condition", "kind", G_TYPE_STRING, kind.c_str(), "active", G_TYPE_BOOLEAN, isOver ? FALSE : TRUE,
                          "hides-motion", G_TYPE_BOOLEAN, Video::HidesMotion(condition.kind) ? TRUE : FALSE, nullptr);
    SetTimes(message, "", ClockTimeOf(isOver ? condition.end : condition.start), GST_CLOCK_TIME_NONE, *scene.segment);
    SetTimes(message, "begin-", ClockTimeOf(condition.start), GST_CLOCK_TIME_NONE, *scene.segment);
    return message;
}

GstStructure* ParamsOf(const Video::MovingObject& object, int event, bool isFresh, const Scene& scene) {
    GstStructure* const params =
        gst_structure_new("coremd", "blocks", G_TYPE_UINT, static_cast<guint>(object.blocks), "event", G_TYPE_UINT,
                          static_cast<guint>(event), "fresh", G_TYPE_BOOLEAN, isFresh ? TRUE : FALSE, nullptr);
    SetZones(params, object.zones, scene);
    return params;
}

}  // namespace Gst
