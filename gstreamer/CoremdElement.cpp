// How does the element meet GStreamer?  Pads, description, and the calls of its base class, handed on to its state.
//
// It is in passthrough mode for good: whoever is downstream answers for allocation, latency and metas, and buffers go on as
// they came. Only the buffer itself has to be writable, for metas, so one that is shared is copied without its memory.
#include "gstreamer/CoremdElement.h"

#include <gst/video/video.h>

#include "gstreamer/ElementProperties.h"
#include "gstreamer/ElementState.h"
#include "gstreamer/FramePicture.h"

G_DEFINE_TYPE(GstCoremd, gst_coremd, GST_TYPE_BASE_TRANSFORM)

namespace {

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE(COREMD_FORMATS)));
GstStaticPadTemplate sourceTemplate =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE(COREMD_FORMATS)));

Gst::ElementState& StateOf(GstBaseTransform* transform) { return *GST_COREMD(transform)->state; }

GstBaseTransformClass* Parent() { return GST_BASE_TRANSFORM_CLASS(gst_coremd_parent_class); }

gboolean Start(GstBaseTransform* transform) { return StateOf(transform).Start(); }

gboolean Stop(GstBaseTransform* transform) {
    StateOf(transform).Stop();
    return TRUE;
}

gboolean SetCaps(GstBaseTransform* transform, GstCaps* caps, GstCaps*) {
    GstVideoInfo info;
    return gst_video_info_from_caps(&info, caps) && StateOf(transform).SetInfo(info);
}

GstFlowReturn PrepareOutput(GstBaseTransform*, GstBuffer* input, GstBuffer** output) {
    *output = gst_buffer_is_writable(input) ? input : gst_buffer_copy(input);
    return GST_FLOW_OK;
}

GstFlowReturn Transform(GstBaseTransform* transform, GstBuffer* buffer) { return StateOf(transform).OnBuffer(buffer); }

gboolean OnSinkEvent(GstBaseTransform* transform, GstEvent* event) {
    Gst::ElementState& state = StateOf(transform);
    switch (GST_EVENT_TYPE(event)) {
        case GST_EVENT_STREAM_START: state.Restart("stream"); break;
        case GST_EVENT_FLUSH_STOP: state.Restart("flush"); break;
        case GST_EVENT_EOS: state.Restart("eos"); break;
        case GST_EVENT_SEGMENT: {
            const GstSegment* next = nullptr;
            gst_event_parse_segment(event, &next);
            state.OnSegment(*next);
            break;
        }
        case GST_EVENT_GAP: {
            GstClockTime timestamp = GST_CLOCK_TIME_NONE, duration = GST_CLOCK_TIME_NONE;
            gst_event_parse_gap(event, &timestamp, &duration);
            state.OnGap(timestamp, duration);
            break;
        }
        default: break;
    }
    return Parent()->sink_event(transform, event);
}

gboolean OnSourceEvent(GstBaseTransform* transform, GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_QOS) {
        GstClockTimeDiff late = 0;
        GstClockTime time = GST_CLOCK_TIME_NONE;
        gst_event_parse_qos(event, nullptr, nullptr, &late, &time);
        const bool isLate = GST_CLOCK_TIME_IS_VALID(time) && late > 0;
        StateOf(transform).SetEarliest(isLate ? time + 2 * static_cast<GstClockTime>(late) : 0);
        // Past the base class, which would drop what is late: that is for those downstream to decide.
        return gst_pad_push_event(GST_BASE_TRANSFORM_SINK_PAD(transform), event);
    }
    return Parent()->src_event(transform, event);
}

void Finalize(GObject* object) {
    delete GST_COREMD(object)->state;
    G_OBJECT_CLASS(gst_coremd_parent_class)->finalize(object);
}

}  // namespace

static void gst_coremd_class_init(GstCoremdClass* type) {
    GObjectClass* const objects = G_OBJECT_CLASS(type);
    objects->finalize = Finalize;
    Gst::InstallProperties(objects);

    GstElementClass* const elements = GST_ELEMENT_CLASS(type);
    gst_element_class_set_static_metadata(
        elements, "Motion detector", "Filter/Analyzer/Video",
        "Tells when and where something moves: posts motion-begin, motion-end and condition, attaches regions of interest; "
        "pictures pass through unchanged",
        "the coreMD developers");
    gst_element_class_add_static_pad_template(elements, &sinkTemplate);
    gst_element_class_add_static_pad_template(elements, &sourceTemplate);

    GstBaseTransformClass* const transforms = GST_BASE_TRANSFORM_CLASS(type);
    transforms->start = Start;
    transforms->stop = Stop;
    transforms->set_caps = SetCaps;
    transforms->prepare_output_buffer = PrepareOutput;
    transforms->transform_ip = Transform;
    transforms->transform_ip_on_passthrough = TRUE;
    transforms->passthrough_on_same_caps = TRUE;
    transforms->sink_event = OnSinkEvent;
    transforms->src_event = OnSourceEvent;
}

static void gst_coremd_init(GstCoremd* element) {
    element->state = new Gst::ElementState(element);
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(element), TRUE);
}
