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

#include "ElementStream.h"

namespace {

using namespace ElementTest;

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

class Lines : public testing::TestWithParam<const char*> {};

TEST_P(Lines, AreGreen) {
    Stream stream("condition=false draw=true", GetParam());
    stream.ShowStill(15);
    int drawn = 0;
    for (int i = 0; i < 10; ++i) {
        GstBuffer* const out = stream.Push(stream.NewBuffer(32 + 16 * i));
        if (GstVideoRegionOfInterestMeta* const meta = gst_buffer_get_video_region_of_interest_meta_id(out, 1)) {
            ++drawn;
            GstVideoFrame frame;
            ASSERT_TRUE(gst_video_frame_map(&frame, &stream.Info(), out, GST_MAP_READ));
            const gint pixel = static_cast<gint>(meta->x), line = static_cast<gint>(meta->y);  // even: blocks of 8 pixels
            const auto* const luma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
            const auto* const chroma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 1));
            const bool isDeep = stream.Info().finfo->format == GST_VIDEO_FORMAT_P010_10LE;
            const gint bytes = isDeep ? 2 : 1;
            EXPECT_EQ(luma[line * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0) + pixel * bytes + bytes - 1], 173);
            const auto* const pair = chroma + line / 2 * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 1) + pixel * bytes;
            EXPECT_EQ(pair[bytes - 1], 42);      // Cb
            EXPECT_EQ(pair[2 * bytes - 1], 26);  // Cr
            gst_video_frame_unmap(&frame);
        }
        gst_buffer_unref(out);
    }
    EXPECT_GE(drawn, 6);
}

INSTANTIATE_TEST_SUITE_P(Interleaved, Lines, testing::Values("NV12", "P010_10LE"));

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
        stream.Flush();
    } else if (reason == "caps") {
        stream.SetCaps("I420", width, height / 2);
    } else if (reason == "segment") {
        GstSegment segment = Stream::NewSegment();
        segment.base = stream.Time();
        stream.SendSegment(segment);
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
    gst_bus_set_flushing(bus, TRUE);
    gst_object_unref(element);
    gst_object_unref(bus);
}

TEST(CoremdElement, TellsTimesOfTheSegment) {
    Stream stream;
    GstSegment segment = Stream::NewSegment();
    segment.start = 100 * GST_SECOND;
    segment.time = 30 * GST_SECOND;
    segment.base = 7 * GST_SECOND;
    stream.SendSegment(segment);
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
                stream.Flush();
                stream.SendSegment(Stream::NewSegment());
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
