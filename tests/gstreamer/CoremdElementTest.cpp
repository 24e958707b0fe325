// Does the element tell what moves, when and where, whatever the stream does, and does it leave the pictures alone?
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr int width = 320, height = 240;
constexpr GstClockTime period = GST_SECOND / 5;

struct Free {
    void operator()(GstMessage* message) const { gst_message_unref(message); }
};
using Message = std::unique_ptr<GstMessage, Free>;

// A wall, and in front of it a bright square of 48 pixels, 96 from the top, whose left edge is told; -1: none.
void Paint(GstVideoFrame& frame, int left) {
    for (guint component = 0; component < GST_VIDEO_FRAME_N_COMPONENTS(&frame); ++component) {
        const gint columns = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
        const gint rows = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component);
        const gint across = GST_VIDEO_FRAME_WIDTH(&frame) / columns, down = GST_VIDEO_FRAME_HEIGHT(&frame) / rows;
        auto* const first = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component));
        for (gint y = 0; y < rows; ++y) {
            for (gint x = 0; x < columns; ++x) {
                const gint column = x * across, row = y * down;
                const bool isSquare = left >= 0 && column >= left && column < left + 48 && row >= 96 && row < 144;
                const int wall = component == 0 ? 60 + 20 * ((column / 16 + row / 16) % 2) : 128;
                const gint upper = GST_VIDEO_FRAME_COMP_DEPTH(&frame, component) > 8 ? 1 : 0;  // byte, of ten bits
                first[upper + y * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component) +
                      x * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component)] =
                    static_cast<std::uint8_t>(isSquare && component == 0 ? 220 : wall);
            }
        }
    }
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

guint64 TimeIn(const Message& message, const char* field) {
    guint64 time = GST_CLOCK_TIME_NONE;
    EXPECT_TRUE(gst_structure_get_uint64(gst_message_get_structure(message.get()), field, &time)) << field;
    return time;
}

std::string TextIn(const Message& message, const char* field) {
    const gchar* const text = gst_structure_get_string(gst_message_get_structure(message.get()), field);
    return text ? text : "";
}

// "a,b"
std::string ZonesIn(const GstStructure* structure) {
    const GValue* const zones = gst_structure_get_value(structure, "zones");
    std::string names;
    for (guint i = 0; zones && i < gst_value_array_get_size(zones); ++i) {
        names += (names.empty() ? "" : ",") + std::string(g_value_get_string(gst_value_array_get_value(zones, i)));
    }
    return names;
}

class Formats : public testing::TestWithParam<const char*> {};

TEST_P(Formats, TellsBeginAndEndOfAWalk) {
    Stream stream("condition=false", GetParam());
    stream.ShowStill(15);
    stream.ShowWalk(10);
    const Message begin = stream.Take("motion-begin");
    ASSERT_TRUE(begin);
    const GstStructure* const told = gst_message_get_structure(begin.get());
    EXPECT_GE(TimeIn(begin, "running-time"), 15 * period);
    EXPECT_LE(TimeIn(begin, "running-time"), 18 * period);
    EXPECT_EQ(TimeIn(begin, "running-time"), TimeIn(begin, "stream-time"));
    EXPECT_EQ(TimeIn(begin, "running-time"), TimeIn(begin, "timestamp"));
    const GValue* const boxes = gst_structure_get_value(told, "boxes");
    ASSERT_GE(gst_value_array_get_size(boxes), 1u);
    guint left = width, right = 0, top = height, bottom = 0;  // of all: what the square left behind may be one of its own
    for (guint i = 0; i < gst_value_array_get_size(boxes); ++i) {
        const GstStructure* const box = gst_value_get_structure(gst_value_array_get_value(boxes, i));
        guint x = 0, y = 0, across = 0, down = 0;
        ASSERT_TRUE(gst_structure_get(box, "x", G_TYPE_UINT, &x, "y", G_TYPE_UINT, &y, "width", G_TYPE_UINT, &across,
                                      "height", G_TYPE_UINT, &down, nullptr));
        left = std::min(left, x);
        right = std::max(right, x + across);
        top = std::min(top, y);
        bottom = std::max(bottom, y + down);
    }
    EXPECT_GE(left, 16u);
    EXPECT_LE(left, 128u);
    EXPECT_GE(right, 96u);
    EXPECT_LE(right, 240u);
    EXPECT_GE(top, 80u);
    EXPECT_LE(bottom, 160u);

    stream.ShowStill(15);
    const Message end = stream.Take("motion-end");
    ASSERT_TRUE(end);
    EXPECT_EQ(TimeIn(end, "begin-running-time"), TimeIn(begin, "running-time"));
    EXPECT_GE(TimeIn(end, "running-time"), 23 * period);
    EXPECT_LE(TimeIn(end, "running-time"), 30 * period);
    EXPECT_EQ(TextIn(end, "reason"), "still");
    EXPECT_FALSE(stream.Take("motion-begin"));
}

INSTANTIATE_TEST_SUITE_P(All, Formats, testing::Values("NV12", "I420", "YV12", "Y42B", "Y444", "GRAY8", "P010_10LE"));

TEST(CoremdElement, LeavesPicturesAlone) {
    Stream stream;
    stream.ShowStill(15);
    for (int i = 0; i < 8; ++i) {
        GstBuffer* const buffer = stream.NewBuffer(32 + 16 * i);
        GstBuffer* const shared = gst_buffer_ref(buffer);  // as behind a tee: must not get metas
        GstMemory* const memory = gst_buffer_peek_memory(buffer, 0);
        GstBuffer* const before = gst_buffer_copy_deep(buffer);
        GstBuffer* const out = stream.Push(buffer);
        EXPECT_NE(out, shared);
        EXPECT_EQ(gst_buffer_peek_memory(out, 0), memory);
        GstMapInfo map;
        ASSERT_TRUE(gst_buffer_map(before, &map, GST_MAP_READ));
        EXPECT_EQ(gst_buffer_memcmp(out, 0, map.data, map.size), 0);
        gst_buffer_unmap(before, &map);
        EXPECT_FALSE(gst_buffer_get_video_region_of_interest_meta_id(shared, 1));
        for (GstBuffer* used : {out, before, shared}) {
            gst_buffer_unref(used);
        }
    }
}

TEST(CoremdElement, MarksRegionsAndDrawsOnlyWhereAsked) {
    for (const bool draws : {false, true}) {
        Stream stream(draws ? "condition=false draw=true" : "condition=false");
        stream.ShowStill(15);
        int marked = 0, changed = 0;
        for (int i = 0; i < 10; ++i) {
            GstBuffer* const buffer = stream.NewBuffer(32 + 16 * i);
            GstBuffer* const shared = gst_buffer_copy(buffer);  // the same memory
            GstBuffer* const before = gst_buffer_copy_deep(buffer);
            GstBuffer* const out = stream.Push(buffer);
            if (GstVideoRegionOfInterestMeta* const meta = gst_buffer_get_video_region_of_interest_meta_id(out, 1)) {
                ++marked;
                EXPECT_EQ(std::string(g_quark_to_string(meta->roi_type)), "motion");
                const GstStructure* const params = gst_video_region_of_interest_meta_get_param(meta, "coremd");
                ASSERT_TRUE(params);
                guint blocks = 0;
                EXPECT_TRUE(gst_structure_get_uint(params, "blocks", &blocks));
                EXPECT_GE(blocks, 4u);
                EXPECT_LE(meta->x + meta->w, static_cast<guint>(width));
            }
            GstMapInfo map;
            ASSERT_TRUE(gst_buffer_map(before, &map, GST_MAP_READ));
            changed += gst_buffer_memcmp(out, 0, map.data, map.size) != 0 ? 1 : 0;
            EXPECT_EQ(gst_buffer_memcmp(shared, 0, map.data, map.size), 0);  // of others, nothing is drawn into
            gst_buffer_unmap(before, &map);
            for (GstBuffer* used : {out, before, shared}) {
                gst_buffer_unref(used);
            }
        }
        EXPECT_GE(marked, 6);
        EXPECT_EQ(changed, draws ? marked : 0);
    }
}

class Interruptions : public testing::TestWithParam<const char*> {};

TEST_P(Interruptions, EndTheRunningEvent) {
    const std::string reason = GetParam();
    Stream stream;
    stream.ShowStill(15);
    stream.ShowWalk(10);
    ASSERT_TRUE(stream.Take("motion-begin"));
    if (reason == "eos") {
        stream.Send(gst_event_new_eos());
    } else if (reason == "flush") {
        stream.Send(gst_event_new_flush_start());
        stream.Send(gst_event_new_flush_stop(TRUE));
    } else if (reason == "caps") {
        stream.SetCaps("I420", width, height / 2);
    } else if (reason == "segment") {
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        segment.base = stream.Time();
        stream.Send(gst_event_new_segment(&segment));
    } else if (reason == "gap") {
        stream.Send(gst_event_new_gap(stream.Time(), GST_SECOND / 2));
        EXPECT_FALSE(stream.Take("motion-end"));
        stream.Send(gst_event_new_gap(stream.Time() + GST_SECOND, 9 * GST_SECOND));
    } else if (reason == "settings") {
        g_object_set(stream.Element(), "block", 16, nullptr);
        stream.Show(-1);
    } else if (reason == "time") {
        stream.SetTime(0);
        stream.Show(-1);
    } else if (reason == "stop") {
        gst_element_set_state(stream.Harness()->element, GST_STATE_READY);
    }
    const Message end = stream.Take("motion-end");
    ASSERT_TRUE(end);
    EXPECT_EQ(TextIn(end, "reason"), reason);
    EXPECT_GE(TimeIn(end, "running-time"), 20 * period);
    EXPECT_LE(TimeIn(end, "running-time"), 25 * period);
    EXPECT_EQ(TimeIn(end, "stream-time"), TimeIn(end, "running-time"));
}

INSTANTIATE_TEST_SUITE_P(All, Interruptions,
                         testing::Values("eos", "flush", "caps", "segment", "gap", "settings", "time", "stop"));

TEST(CoremdElement, TellsZonesByName) {
    Stream stream;
    g_object_set(stream.Element(), "zones",
                 R"({"zones": [{"name": "left", "polygon": [[0, 0], [1, 0], [1, 1], [0, 1]]},
                     {"name": "sky", "polygon": [[0, 0], [1, 0], [1, 0.2], [0, 0.2]]}]})",
                 nullptr);
    stream.ShowStill(15);
    stream.ShowWalk(10);
    const Message begin = stream.Take("motion-begin");
    ASSERT_TRUE(begin);
    EXPECT_EQ(ZonesIn(gst_message_get_structure(begin.get())), "left");
}

TEST(CoremdElement, FindsNothingOutsideOfZones) {
    Stream stream;
    g_object_set(stream.Element(), "zones",
                 R"({"zones": [{"name": "sky", "polygon": [[0, 0], [1, 0], [1, 0.2], [0, 0.2]]}]})", nullptr);
    stream.ShowStill(15);
    stream.ShowWalk(10);
    EXPECT_FALSE(stream.Take("motion-begin"));
}

TEST(CoremdElement, WarnsOfZonesThatCannotBeReadAndGoesOn) {
    Stream stream;
    stream.ShowStill(15);
    g_object_set(stream.Element(), "zones", "{\"zones\": 3}", nullptr);
    stream.ShowWalk(10);
    EXPECT_TRUE(Message(gst_bus_pop_filtered(stream.Bus(), GST_MESSAGE_WARNING)));
    EXPECT_TRUE(stream.Take("motion-begin"));
}

TEST(CoremdElement, DoesNotStartWithZonesThatCannotBeRead) {
    GstElement* const element = gst_element_factory_make("coremd", nullptr);
    GstBus* const bus = gst_bus_new();
    gst_element_set_bus(element, bus);
    g_object_set(element, "zones", "/nowhere/zones.json", nullptr);
    EXPECT_EQ(gst_element_set_state(element, GST_STATE_PAUSED), GST_STATE_CHANGE_FAILURE);
    EXPECT_TRUE(Message(gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR)));
    gst_element_set_state(element, GST_STATE_NULL);
    gst_object_unref(element);
    gst_object_unref(bus);
}

TEST(CoremdElement, ReadsStridesAndOffsetsOfTheMeta) {
    Stream plain, padded;
    guint64 begins[2] = {};
    for (int which = 0; which < 2; ++which) {
        Stream& stream = which == 0 ? plain : padded;
        for (int i = 0; i < 25; ++i) {
            const int left = i < 15 ? -1 : 32 + 16 * (i - 15);
            if (which == 0) {
                stream.Show(left);
                continue;
            }
            gsize offset[GST_VIDEO_MAX_PLANES] = {256, 256 + 384 * 250, 256 + 384 * 250 + 192 * 130, 0};
            gint stride[GST_VIDEO_MAX_PLANES] = {384, 192, 192, 0};
            GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 256 + 384 * 250 + 2 * 192 * 130, nullptr);
            gst_buffer_memset(buffer, 0, static_cast<guint8>(31 * i), gst_buffer_get_size(buffer));  // no part of it
            gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_I420, width, height, 3,
                                           offset, stride);
            GstVideoFrame frame;
            ASSERT_TRUE(gst_video_frame_map(&frame, &stream.Info(), buffer, GST_MAP_WRITE));
            Paint(frame, left);
            gst_video_frame_unmap(&frame);
            gst_buffer_unref(stream.Push(buffer));
        }
        const Message begin = stream.Take("motion-begin");
        ASSERT_TRUE(begin);
        begins[which] = TimeIn(begin, "running-time");
    }
    EXPECT_EQ(begins[0], begins[1]);
}

TEST(CoremdElement, TellsTimesOfTheSegment) {
    Stream stream;
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = 100 * GST_SECOND;
    segment.time = 30 * GST_SECOND;
    segment.base = 7 * GST_SECOND;
    stream.Send(gst_event_new_segment(&segment));
    stream.SetTime(segment.start);
    stream.ShowStill(15);
    stream.ShowWalk(10);
    const Message begin = stream.Take("motion-begin");
    ASSERT_TRUE(begin);
    const guint64 timestamp = TimeIn(begin, "timestamp");
    EXPECT_GE(timestamp, segment.start + 15 * period);
    EXPECT_EQ(TimeIn(begin, "running-time"), timestamp - segment.start + segment.base);
    EXPECT_EQ(TimeIn(begin, "stream-time"), timestamp - segment.start + segment.time);
}

TEST(CoremdElement, CanBePolled) {
    Stream stream;
    stream.ShowStill(15);
    gboolean isReady = FALSE, isMoving = TRUE;
    guint64 analysed = 0, running = 0;
    GstStructure* begin = nullptr;
    g_object_get(stream.Element(), "last-ready", &isReady, "last-moving", &isMoving, "analysed", &analysed,
                 "last-running-time", &running, "last-begin", &begin, nullptr);
    EXPECT_TRUE(isReady);
    EXPECT_FALSE(isMoving);
    EXPECT_EQ(analysed, 15u);
    EXPECT_EQ(running, 14 * period);
    EXPECT_FALSE(begin);
    stream.ShowWalk(10);
    guint objects = 0;
    g_object_get(stream.Element(), "last-moving", &isMoving, "last-objects", &objects, "last-begin", &begin, nullptr);
    EXPECT_TRUE(isMoving);
    EXPECT_GE(objects, 1u);
    ASSERT_TRUE(begin);
    EXPECT_STREQ(gst_structure_get_name(begin), "motion-begin");
    gst_structure_free(begin);
}

TEST(CoremdElement, AnalysesAtItsRate) {
    Stream stream("rate=2.5 condition=false");  // the later one counts
    stream.ShowStill(20);
    guint64 analysed = 0;
    g_object_get(stream.Element(), "analysed", &analysed, nullptr);
    EXPECT_EQ(analysed, 10u);
}

TEST(CoremdElement, TellsConditionsWhileTheyLastAndAtTheirEnd) {
    Stream stream("condition=true");
    stream.ShowStill(60);  // the same picture again and again
    const Message begin = stream.Take("condition");
    ASSERT_TRUE(begin);
    EXPECT_EQ(TextIn(begin, "kind"), "frozen");
    gboolean isActive = FALSE;
    EXPECT_TRUE(gst_structure_get_boolean(gst_message_get_structure(begin.get()), "active", &isActive));
    EXPECT_TRUE(isActive);
    EXPECT_FALSE(stream.Take("condition"));
    stream.Send(gst_event_new_eos());
    const Message end = stream.Take("condition");
    ASSERT_TRUE(end);
    EXPECT_EQ(TextIn(end, "kind"), "frozen");
    EXPECT_TRUE(gst_structure_get_boolean(gst_message_get_structure(end.get()), "active", &isActive));
    EXPECT_FALSE(isActive);
    EXPECT_EQ(TimeIn(end, "running-time"), 59 * period);
    EXPECT_EQ(TimeIn(end, "begin-running-time"), TimeIn(begin, "running-time"));
}

TEST(CoremdElement, KeepsTheBackgroundInAFile) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("coremd-element-" + std::to_string(getpid()) + ".background");
    {
        Stream stream("memory=" + file.string());
        stream.ShowStill(30);
    }
    EXPECT_TRUE(std::filesystem::exists(file));
    {
        Stream stream("memory=" + file.string());
        stream.ShowStill(2);
        EXPECT_FALSE(Message(gst_bus_pop_filtered(stream.Bus(), GST_MESSAGE_WARNING)));
    }
    {
        Stream stream("memory=" + file.string());
        stream.SetCaps("I420", width / 2, height);
        stream.ShowStill(2);
        EXPECT_TRUE(Message(gst_bus_pop_filtered(stream.Bus(), GST_MESSAGE_WARNING)));
    }
    std::filesystem::remove(file);
}

// COREMD_STREAM_CHANGES says how many; every begin has its end, in turn.
TEST(CoremdElement, SurvivesChangesAtRandom) {
    const char* const wish = std::getenv("COREMD_STREAM_CHANGES");
    const int changes = wish ? std::atoi(wish) : 100;
    static constexpr const char* formats[] = {"NV12", "I420", "YV12", "Y42B", "Y444", "GRAY8"};
    std::mt19937 random(11);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    Stream stream("condition=true min-duration=0");
    int open = 0, told = 0;
    for (int i = 0; i < changes; ++i) {
        switch (below(5)) {
            case 0: stream.SetCaps(formats[below(6)], 1 + below(200), 1 + below(150)); break;
            case 1:
                stream.Send(gst_event_new_flush_start());
                stream.Send(gst_event_new_flush_stop(TRUE));
                {
                    GstSegment segment;
                    gst_segment_init(&segment, GST_FORMAT_TIME);
                    stream.Send(gst_event_new_segment(&segment));
                }
                stream.SetTime(0);
                break;
            case 2: stream.SetTime(static_cast<GstClockTime>(below(100)) * GST_SECOND); break;
            case 3:
                g_object_set(stream.Element(), "block", below(65), "condition", below(2), "rate", 1.0 * below(7), nullptr);
                break;
            default: stream.SetCaps(formats[below(6)]); break;
        }
        const int pictures = below(8) == 0 ? 24 : below(4);
        for (int k = 0; k < pictures; ++k) {
            stream.Show(k < 14 ? -1 : 16 * k);
        }
        while (GstMessage* const message = gst_bus_pop(stream.Bus())) {
            open += gst_message_has_name(message, "motion-begin") ? 1 : 0;
            open -= gst_message_has_name(message, "motion-end") ? 1 : 0;
            told += gst_message_has_name(message, "motion-begin") ? 1 : 0;
            gst_message_unref(message);
            ASSERT_TRUE(open == 0 || open == 1);
        }
    }
    EXPECT_GT(told, 0);
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    gst_init(nullptr, nullptr);
    return RUN_ALL_TESTS();
}
