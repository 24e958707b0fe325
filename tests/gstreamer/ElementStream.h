// How does a test show pictures to the element, and read what it tells?
#pragma once

#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace ElementTest {

inline constexpr int width = 320, height = 240;
inline constexpr GstClockTime period = GST_SECOND / 5;

struct Free {
    void operator()(GstMessage* message) const { gst_message_unref(message); }
};
using Message = std::unique_ptr<GstMessage, Free>;

// Of a frame, in pixels; even, so that chroma begins there, too.
struct Area {
    int x, y, width, height;
};

// A wall, and in front of it a bright square of 48 pixels, 96 from the top, whose left edge is told; -1: none. Of a frame,
// only the area is painted, and everything is told from its corner.
inline void Paint(GstVideoFrame& frame, int left, const Area& area) {
    for (guint component = 0; component < GST_VIDEO_FRAME_N_COMPONENTS(&frame); ++component) {
        const gint across = 1 << GST_VIDEO_FORMAT_INFO_W_SUB(frame.info.finfo, component);
        const gint down = 1 << GST_VIDEO_FORMAT_INFO_H_SUB(frame.info.finfo, component);
        auto* const first = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component));
        for (gint row = 0; row < area.height; row += down) {
            for (gint column = 0; column < area.width; column += across) {
                const bool isSquare = left >= 0 && column >= left && column < left + 48 && row >= 96 && row < 144;
                const int wall = component == 0 ? 60 + 20 * ((column / 16 + row / 16) % 2) : 128;
                auto* sample = first + (area.y + row) / down * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component) +
                               (area.x + column) / across * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component);
                if (GST_VIDEO_FRAME_COMP_DEPTH(&frame, component) > 8) {
                    sample += GST_VIDEO_FORMAT_INFO_POFFSET(frame.info.finfo, component) & 1;  // Cr of P010: 2, told as 1
                    *sample++ = 0;                                                             // the lower bits come first
                }
                *sample = static_cast<std::uint8_t>(isSquare && component == 0 ? 220 : wall);
            }
        }
    }
}

inline void Paint(GstVideoFrame& frame, int left) {
    Paint(frame, left, {0, 0, GST_VIDEO_FRAME_WIDTH(&frame), GST_VIDEO_FRAME_HEIGHT(&frame)});
}

class Stream {
public:
    explicit Stream(const std::string& settings = "condition=false", const char* format = "I420") : _bus(gst_bus_new()) {
        _harness = gst_harness_new_parse(("coremd name=it rate=0 block=8 merge-gap=1 " + settings).c_str());
        _element = gst_bin_get_by_name(GST_BIN(_harness->element), "it");
        gst_element_set_bus(_harness->element, _bus);
        SetCaps(format);
    }
    ~Stream() {
        gst_harness_teardown(_harness);
        gst_bus_set_flushing(_bus, TRUE);  // messages hold the element that holds the bus
        gst_object_unref(_element);
        gst_object_unref(_bus);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void SetCaps(const char* format, int columns = width, int rows = height) {
        gst_video_info_set_format(&_info, gst_video_format_from_string(format), static_cast<guint>(columns),
                                  static_cast<guint>(rows));
        _info.fps_n = 5;
        _info.fps_d = 1;
        gst_harness_set_caps(_harness, gst_video_info_to_caps(&_info), gst_video_info_to_caps(&_info));
    }

    GstBuffer* NewBuffer(int left) {
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, _info.size, nullptr);
        GstVideoFrame frame;
        EXPECT_TRUE(gst_video_frame_map(&frame, &_info, buffer, GST_MAP_WRITE));
        Paint(frame, left);
        gst_video_frame_unmap(&frame);
        return buffer;
    }

    // What came out. Every picture is a fifth of a second later than the one before.
    GstBuffer* Push(GstBuffer* buffer) {
        GST_BUFFER_PTS(buffer) = _time;
        GST_BUFFER_DURATION(buffer) = period;
        _time += period;
        return gst_harness_push_and_pull(_harness, buffer);
    }
    void Show(int left) { gst_buffer_unref(Push(NewBuffer(left))); }

    void ShowStill(int pictures) {
        for (int i = 0; i < pictures; ++i) {
            Show(-1);
        }
    }
    // Walks to the right; ends with it in the picture.
    void ShowWalk(int pictures) {
        for (int i = 0; i < pictures; ++i) {
            Show(32 + 16 * i);
        }
    }

    void Send(GstEvent* event) { EXPECT_TRUE(gst_harness_push_event(_harness, event)); }
    void SendSegment(const GstSegment& segment) { Send(gst_event_new_segment(&segment)); }
    static GstSegment NewSegment(GstFormat format = GST_FORMAT_TIME) {
        GstSegment segment;
        gst_segment_init(&segment, format);
        return segment;
    }
    void Flush() {
        Send(gst_event_new_flush_start());
        Send(gst_event_new_flush_stop(TRUE));
    }
    void SetTime(GstClockTime time) { _time = time; }
    GstClockTime Time() const { return _time; }

    // The oldest of them that nobody took; null: there is none.
    Message Take(const char* name) {
        while (GstMessage* const message = gst_bus_pop_filtered(_bus, GST_MESSAGE_ELEMENT)) {
            if (gst_message_has_name(message, name)) {
                return Message(message);
            }
            gst_message_unref(message);
        }
        return nullptr;
    }

    GstElement* Element() { return _element; }
    GstHarness* Harness() { return _harness; }
    GstVideoInfo& Info() { return _info; }
    GstBus* Bus() { return _bus; }

private:
    GstHarness* _harness;
    GstElement* _element;
    GstBus* _bus;
    GstVideoInfo _info = {};
    GstClockTime _time = 0;
};

inline guint64 TimeIn(const Message& message, const char* field) {
    guint64 time = GST_CLOCK_TIME_NONE;
    EXPECT_TRUE(gst_structure_get_uint64(gst_message_get_structure(message.get()), field, &time)) << field;
    return time;
}

inline std::string TextIn(const Message& message, const char* field) {
    const gchar* const text = gst_structure_get_string(gst_message_get_structure(message.get()), field);
    return text ? text : "";
}

// "a,b"
inline std::string ZonesIn(const GstStructure* structure) {
    const GValue* const zones = gst_structure_get_value(structure, "zones");
    std::string names;
    for (guint i = 0; zones && i < gst_value_array_get_size(zones); ++i) {
        names += (names.empty() ? "" : ",") + std::string(g_value_get_string(gst_value_array_get_value(zones, i)));
    }
    return names;
}

}  // namespace ElementTest
