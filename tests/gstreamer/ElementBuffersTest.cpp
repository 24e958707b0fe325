// Does the element believe what buffers and events say of themselves: crops, strides, times or none, gaps, lateness?
// And what does it write on them?
#include <gst/check/gstharness.h>
#include <gst/video/gstvideometa.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>

#include <unistd.h>

#include "ElementStream.h"

namespace {

using namespace ElementTest;
using Json = nlohmann::json;

constexpr int stillPictures = 15, walkedPictures = 10;

int LeftOf(int picture) { return picture < stillPictures ? -1 : 32 + 16 * (picture - stillPictures); }

// What its boxes are from the corner of an area: "x,y widthxheight; ...".
std::string BoxesIn(const Message& message, const Area& area = {}) {
    const GValue* const boxes = gst_structure_get_value(gst_message_get_structure(message.get()), "boxes");
    std::string text;
    for (guint i = 0; i < gst_value_array_get_size(boxes); ++i) {
        guint x = 0, y = 0, across = 0, down = 0;
        EXPECT_TRUE(gst_structure_get(gst_value_get_structure(gst_value_array_get_value(boxes, i)), "x", G_TYPE_UINT, &x,
                                      "y", G_TYPE_UINT, &y, "width", G_TYPE_UINT, &across, "height", G_TYPE_UINT, &down,
                                      nullptr));
        text += std::to_string(static_cast<int>(x) - area.x) + "," + std::to_string(static_cast<int>(y) - area.y) + " " +
                std::to_string(across) + "x" + std::to_string(down) + "; ";
    }
    return text;
}

// A detector draws by rand() which pictures it begins with: two that are to find the same must draw the same.
void DrawTheSame() { std::srand(1); }

std::string BoxesOfPlainWalk(const char* format) {
    DrawTheSame();
    Stream stream("condition=false", format);
    stream.ShowStill(stillPictures);
    stream.ShowWalk(walkedPictures);
    const Message begin = stream.Take("motion-begin");
    return begin ? BoxesIn(begin) : "";
}

// What began is what the same walk shows where pictures are laid out as usual.
void ExpectThePlainWalk(Stream& stream, const char* format, const Area& area = {}) {
    const Message begin = stream.Take("motion-begin");
    ASSERT_TRUE(begin);
    EXPECT_EQ(BoxesIn(begin, area), BoxesOfPlainWalk(format));
}

guint64 NumberOf(Stream& stream, const char* property) {
    guint64 number = 0;
    g_object_get(stream.Element(), property, &number, nullptr);
    return number;
}

// A buffer of the stream's whose every byte is another than the one before it had, but for the area.
GstBuffer* FlickeringBuffer(Stream& stream, int picture, const Area& area) {
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, stream.Info().size, nullptr);
    gst_buffer_memset(buffer, 0, static_cast<guint8>(picture % 2 == 0 ? 40 : 200), gst_buffer_get_size(buffer));
    GstVideoFrame frame;
    EXPECT_TRUE(gst_video_frame_map(&frame, &stream.Info(), buffer, GST_MAP_WRITE));
    Paint(frame, LeftOf(picture), area);
    gst_video_frame_unmap(&frame);
    return buffer;
}

void Crop(GstBuffer* buffer, const Area& area) {
    GstVideoCropMeta* const crop = gst_buffer_add_video_crop_meta(buffer);
    crop->x = static_cast<guint>(area.x);
    crop->y = static_cast<guint>(area.y);
    crop->width = static_cast<guint>(area.width);
    crop->height = static_cast<guint>(area.height);
}

class Layouts : public testing::TestWithParam<const char*> {};

TEST_P(Layouts, AnalyseWhatTheCropMetaLeavesAndTellItOfTheWholeFrame) {
    DrawTheSame();
    const Area area{48, 20, width, height};
    Stream stream("condition=false", GetParam());
    stream.SetCaps(GetParam(), 400, 280);
    int marked = 0;
    for (int i = 0; i < stillPictures + walkedPictures; ++i) {
        GstBuffer* const buffer = FlickeringBuffer(stream, i, area);
        Crop(buffer, area);
        GstBuffer* const out = stream.Push(buffer);
        if (GstVideoRegionOfInterestMeta* const meta = gst_buffer_get_video_region_of_interest_meta_id(out, 1)) {
            ++marked;
            EXPECT_GE(meta->y, 20u + 80u);  // the square's first row, less a block
            EXPECT_LE(meta->y + meta->h, 20u + 160u);
        }
        gst_buffer_unref(out);
    }
    EXPECT_GE(marked, 6);
    ExpectThePlainWalk(stream, GetParam(), area);
}

TEST_P(Layouts, ReadStridesAndOffsetsOfTheVideoMeta) {
    DrawTheSame();
    Stream stream("condition=false", GetParam());
    const GstVideoInfo& info = stream.Info();
    gsize offset[GST_VIDEO_MAX_PLANES] = {}, size = 256;
    gint stride[GST_VIDEO_MAX_PLANES] = {};
    for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&info); ++plane) {  // further apart in both directions
        offset[plane] = size;
        stride[plane] = GST_VIDEO_INFO_PLANE_STRIDE(&info, plane) + 64 + 32 * static_cast<gint>(plane);
        size += static_cast<gsize>(stride[plane]) * (height + 10);
    }
    for (int i = 0; i < stillPictures + walkedPictures; ++i) {
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, size, nullptr);
        gst_buffer_memset(buffer, 0, static_cast<guint8>(i % 2 == 0 ? 40 : 200), size);  // no part of it
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&info), width, height,
                                       GST_VIDEO_INFO_N_PLANES(&info), offset, stride);
        GstVideoFrame frame;
        ASSERT_TRUE(gst_video_frame_map(&frame, &info, buffer, GST_MAP_WRITE));
        Paint(frame, LeftOf(i));
        gst_video_frame_unmap(&frame);
        gst_buffer_unref(stream.Push(buffer));
    }
    ExpectThePlainWalk(stream, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, Layouts, testing::Values("I420", "YV12", "NV12", "P010_10LE", "GRAY8"));

TEST(ElementBuffers, AnotherCropIsAnotherScene) {
    Stream stream;
    stream.SetCaps("I420", 400, 280);
    for (int i = 0; i < stillPictures + walkedPictures + 1; ++i) {
        const bool isLast = i == stillPictures + walkedPictures;
        const Area area{isLast ? 40 : 48, 20, width, height};
        GstBuffer* const buffer = FlickeringBuffer(stream, i, area);
        Crop(buffer, area);
        gst_buffer_unref(stream.Push(buffer));
    }
    const Message end = stream.Take("motion-end");
    ASSERT_TRUE(end);
    EXPECT_EQ(TextIn(end, "reason"), "caps");
    gboolean isReady = TRUE;
    g_object_get(stream.Element(), "last-ready", &isReady, nullptr);
    EXPECT_FALSE(isReady);
}

TEST(ElementBuffers, CropsOutsideOfTheFrameAreNone) {
    DrawTheSame();
    Stream stream;
    for (int i = 0; i < stillPictures + walkedPictures; ++i) {
        GstBuffer* const buffer = stream.NewBuffer(LeftOf(i));
        Crop(buffer, {width + 2, 0, 16, 16});
        gst_buffer_unref(stream.Push(buffer));
    }
    ExpectThePlainWalk(stream, "I420");
}

TEST(ElementBuffers, WithoutTimesFollowOneAnother) {
    for (const bool areSteady : {true, false}) {
        Stream stream;
        if (!areSteady) {
            GstCaps* const caps = gst_caps_from_string(
                "video/x-raw,format=I420,width=320,height=240,framerate=0/1,interlace-mode=progressive");
            gst_harness_set_caps(stream.Harness(), gst_caps_ref(caps), caps);
        }
        const GstClockTime apart = areSteady ? period : GST_SECOND / 25;
        for (int i = 0; i < 60; ++i) {
            GstBuffer* const buffer = stream.NewBuffer(i < 15 ? -1 : 32 + 4 * (i - 15));
            gst_buffer_unref(gst_harness_push_and_pull(stream.Harness(), buffer));
        }
        const Message begin = stream.Take("motion-begin");
        ASSERT_TRUE(begin);
        EXPECT_GE(TimeIn(begin, "running-time"), 15 * apart);
        EXPECT_LE(TimeIn(begin, "running-time"), 25 * apart);
        EXPECT_EQ(TimeIn(begin, "running-time") % apart, 0u);
        EXPECT_EQ(TimeIn(begin, "timestamp"), GST_CLOCK_TIME_NONE);
        EXPECT_EQ(NumberOf(stream, "last-running-time"), 59 * apart);
    }
}

TEST(ElementBuffers, WithoutTimesFollowWhatTheirDurationsSay) {
    Stream stream;
    GstSegment segment = Stream::NewSegment();
    segment.base = 7 * GST_SECOND;
    stream.SendSegment(segment);
    for (const int milliseconds : {300, 700, 100}) {
        GstBuffer* const buffer = stream.NewBuffer(-1);
        GST_BUFFER_DURATION(buffer) = static_cast<GstClockTime>(milliseconds) * GST_MSECOND;
        gst_buffer_unref(gst_harness_push_and_pull(stream.Harness(), buffer));
    }
    EXPECT_EQ(NumberOf(stream, "last-running-time"), 8 * GST_SECOND);
}

TEST(ElementBuffers, OfASegmentOfBytesAreAnalysedAllTheSame) {
    Stream stream("condition=false qos=true");
    GstSegment segment = Stream::NewSegment(GST_FORMAT_BYTES);
    stream.SendSegment(segment);
    gst_harness_push_upstream_event(stream.Harness(), gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2, 100 * GST_MSECOND, 0));
    for (int i = 0; i < stillPictures + walkedPictures; ++i) {
        gst_buffer_unref(gst_harness_push_and_pull(stream.Harness(), stream.NewBuffer(LeftOf(i))));
    }
    const Message begin = stream.Take("motion-begin");
    ASSERT_TRUE(begin);
    EXPECT_EQ(TimeIn(begin, "stream-time"), GST_CLOCK_TIME_NONE);
    EXPECT_EQ(NumberOf(stream, "skipped"), 1u);
}

TEST(ElementBuffers, OutsideOfTheirSegmentPassUnseen) {
    Stream stream;
    GstSegment segment = Stream::NewSegment();
    segment.start = 3 * period;
    stream.SendSegment(segment);
    stream.ShowStill(5);
    EXPECT_EQ(NumberOf(stream, "analysed"), 2u);
    EXPECT_EQ(gst_harness_buffers_received(stream.Harness()), 5u);
}

TEST(ElementBuffers, FlaggedAsGapsPassUnseenAndUnmarked) {
    Stream stream;
    stream.ShowStill(stillPictures);
    stream.ShowWalk(walkedPictures);
    GstBuffer* const buffer = stream.NewBuffer(-1);
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_GAP);
    GstBuffer* const out = stream.Push(buffer);
    EXPECT_TRUE(GST_BUFFER_FLAG_IS_SET(out, GST_BUFFER_FLAG_GAP));
    EXPECT_FALSE(gst_buffer_get_video_region_of_interest_meta_id(out, 1));
    gst_buffer_unref(out);
    EXPECT_EQ(NumberOf(stream, "analysed"), 25u);
}

TEST(ElementBuffers, LatePicturesPassUnseenWhereQosIsAskedFor) {
    for (const bool isAsked : {true, false}) {
        Stream stream(isAsked ? "condition=false qos=true" : "condition=false");
        // A picture of 1 s came 1 s late: up to 3 s, there is no use in looking.
        gst_harness_push_upstream_event(stream.Harness(),
                                        gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2, GST_SECOND, GST_SECOND));
        stream.ShowStill(20);
        EXPECT_EQ(gst_harness_buffers_received(stream.Harness()), 20u);
        EXPECT_EQ(NumberOf(stream, "analysed"), isAsked ? 5u : 20u);
        EXPECT_EQ(NumberOf(stream, "skipped"), isAsked ? 15u : 0u);
        guint64 told = 0;
        while (const Message message{gst_bus_pop_filtered(stream.Bus(), GST_MESSAGE_QOS)}) {
            guint64 running = 0, dropped = 0;
            gst_message_parse_qos(message.get(), nullptr, &running, nullptr, nullptr, nullptr);
            gst_message_parse_qos_stats(message.get(), nullptr, nullptr, &dropped);
            EXPECT_EQ(running, told * period);
            EXPECT_EQ(dropped, ++told);
        }
        EXPECT_EQ(told, isAsked ? 15u : 0u);
        bool wentOn = false;  // upstream hears of it in any case
        while (GstEvent* const event = gst_harness_try_pull_upstream_event(stream.Harness())) {
            wentOn |= GST_EVENT_TYPE(event) == GST_EVENT_QOS;
            gst_event_unref(event);
        }
        EXPECT_TRUE(wentOn);
    }
}

TEST(ElementBuffers, AfterAFlushNoneIsLate) {
    Stream stream("condition=false qos=true");
    gst_harness_push_upstream_event(stream.Harness(),
                                    gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2, GST_SECOND, 100 * GST_SECOND));
    stream.ShowStill(1);
    stream.Flush();
    stream.SendSegment(Stream::NewSegment());
    stream.ShowStill(1);
    EXPECT_EQ(NumberOf(stream, "skipped"), 1u);
    EXPECT_EQ(NumberOf(stream, "analysed"), 1u);
}

TEST(ElementBuffers, AreNotHeldBack) {
    Stream stream;
    stream.ShowStill(1);
    gst_harness_set_upstream_latency(stream.Harness(), 30 * GST_MSECOND);
    EXPECT_EQ(gst_harness_query_latency(stream.Harness()), 30 * GST_MSECOND);
}

TEST(ElementEvents, TheSameSegmentAgainEndsNothing) {
    Stream stream;
    GstSegment segment = Stream::NewSegment();
    stream.SendSegment(segment);
    stream.ShowStill(stillPictures);
    stream.ShowWalk(walkedPictures);
    ASSERT_TRUE(stream.Take("motion-begin"));
    stream.SendSegment(segment);
    EXPECT_FALSE(stream.Take("motion-end"));
}

// A zone is void where it says "exclude": nothing in it counts, whatever other zones say.
TEST(ElementZones, NothingCountsInVoidOnes) {
    const char* const rest = R"({"name": "all", "polygon": [[0, 0], [1, 0], [1, 1], [0, 1]]})";
    for (const auto& [bottom, isFound] : {std::pair{"1", false}, std::pair{"0.2", true}}) {
        Stream stream;
        const std::string zones = std::string(R"({"zones": [)") + rest +
                                  R"(, {"name": "tree", "exclude": true, "polygon": [[0, 0], [1, 0], [1, )" + bottom +
                                  "], [0, " + bottom + "]]}]}";
        g_object_set(stream.Element(), "zones", zones.c_str(), nullptr);
        stream.ShowStill(stillPictures);
        stream.ShowWalk(walkedPictures);
        const Message begin = stream.Take("motion-begin");
        EXPECT_EQ(begin != nullptr, isFound) << bottom;
        if (begin) {
            EXPECT_EQ(ZonesIn(gst_message_get_structure(begin.get())), "all");
        }
    }
}

TEST(ElementZones, OnesWithoutRoomForAnObjectAreWarnedOf) {
    Stream stream;
    g_object_set(stream.Element(), "zones",
                 R"({"zones": [{"name": "strip", "min_size": 0.5, "polygon": [[0, 0.3], [1, 0.3], [1, 0.7], [0, 0.7]]}]})",
                 nullptr);
    stream.ShowStill(stillPictures);
    const Message warning(gst_bus_pop_filtered(stream.Bus(), GST_MESSAGE_WARNING));
    ASSERT_TRUE(warning);
    GError* error = nullptr;
    gst_message_parse_warning(warning.get(), &error, nullptr);
    EXPECT_NE(std::string(error->message).find("strip"), std::string::npos) << error->message;
    g_error_free(error);
    stream.ShowWalk(walkedPictures);
    EXPECT_FALSE(stream.Take("motion-begin"));
}

Json JsonIn(GstBuffer* buffer) {
    GstCustomMeta* const meta = gst_buffer_get_custom_meta(buffer, "GstCoremdMeta");
    const gchar* const text = meta ? gst_structure_get_string(gst_custom_meta_get_structure(meta), "json") : nullptr;
    return text ? Json::parse(text) : Json();
}

TEST(ElementJson, TellsWhatTheMetasTellAndMore) {
    Stream stream("condition=false json=true ! identity");  // metas go on, without this element's doing
    g_object_set(stream.Element(), "zones", R"({"zones": [{"name": "gate", "polygon": [[0, 0], [1, 0], [1, 1], [0, 1]]}]})",
                 nullptr);
    int moving = 0, running = 0;
    for (int i = 0; i < stillPictures + walkedPictures; ++i) {
        GstBuffer* const out = stream.Push(stream.NewBuffer(LeftOf(i)));
        const Json json = JsonIn(out);
        ASSERT_TRUE(json.is_object());
        EXPECT_EQ(json["running-time"], GST_BUFFER_PTS(out));
        EXPECT_EQ(json["width"], width);
        EXPECT_EQ(json["height"], height);
        EXPECT_EQ(json["fresh"], true);
        EXPECT_EQ(json["ready"], i >= 10) << i;
        EXPECT_EQ(json["conditions"], Json::array());
        std::size_t marked = 0;
        while (GstVideoRegionOfInterestMeta* const meta =
                   gst_buffer_get_video_region_of_interest_meta_id(out, static_cast<gint>(marked) + 1)) {
            ASSERT_GT(json["objects"].size(), marked);
            const Json& object = json["objects"][marked];
            EXPECT_EQ(object["id"], ++marked);
            EXPECT_EQ(object["x"], meta->x);
            EXPECT_EQ(object["y"], meta->y);
            EXPECT_EQ(object["width"], meta->w);
            EXPECT_EQ(object["height"], meta->h);
            EXPECT_GE(object["blocks"], 4);
            EXPECT_EQ(object["zones"], Json::array({"gate"}));
        }
        EXPECT_EQ(json["objects"].size(), marked);
        moving += marked > 0 ? 1 : 0;
        running += json["event"] == 1 ? 1 : 0;
        gst_buffer_unref(out);
    }
    EXPECT_GE(moving, 6);
    EXPECT_GE(running, 4);
    EXPECT_LT(running, moving);  // before the event counted, it had no number
}

TEST(ElementJson, TellsConditionsAndComesWhereAskedFor) {
    Stream stream("condition=true");
    stream.ShowStill(59);  // the same picture again and again
    for (const bool isAsked : {false, true}) {
        g_object_set(stream.Element(), "json", isAsked, nullptr);
        GstBuffer* const out = stream.Push(stream.NewBuffer(-1));
        const Json json = JsonIn(out);
        EXPECT_EQ(json.is_object(), isAsked);
        EXPECT_TRUE(!isAsked || json["conditions"] == Json::array({"frozen"})) << json;
        gst_buffer_unref(out);
    }
}

TEST(ElementJson, OfPicturesInBetweenIsNotFresh) {
    Stream stream("condition=false rate=2.5 json=true");
    for (int i = 0; i < 6; ++i) {
        GstBuffer* const out = stream.Push(stream.NewBuffer(-1));
        EXPECT_EQ(JsonIn(out)["fresh"], i % 2 == 0) << i;
        gst_buffer_unref(out);
    }
}

// Kilobytes that the process holds.
long HeldKilobytes() {
    long pages = 0;
    std::ifstream("/proc/self/statm").ignore(64, ' ') >> pages;
    return pages * sysconf(_SC_PAGESIZE) / 1024;
}

// COREMD_STREAM_HOURS says of how many hours of stream time; with an event every 20 s.
TEST(ElementMemory, StaysFlat) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer keeps what is given back";
#endif
    const char* const wish = std::getenv("COREMD_STREAM_HOURS");
    const int minutes = wish ? std::atoi(wish) * 60 : 3;
    Stream stream("condition=true json=true min-duration=0");
    stream.SetCaps("I420", 160, 160);
    long early = 0;
    for (int minute = 0; minute < minutes; ++minute) {
        for (int i = 0; i < 60 * 5; ++i) {
            stream.Show(i % 100 < 15 ? 8 * (i % 100) : -1);
        }
        while (const Message message{gst_bus_pop(stream.Bus())}) {
        }
        if (minute == minutes / 10) {
            early = HeldKilobytes();
        }
    }
    const long late = HeldKilobytes();
    EXPECT_EQ(NumberOf(stream, "analysed"), static_cast<guint64>(minutes) * 300);
    EXPECT_LE(late, early + 1024) << early << " kB after a tenth of it, " << late << " kB at its end";
    RecordProperty("kilobytes", (std::to_string(early) + " to " + std::to_string(late)).c_str());
    if (wish) {
        std::printf("%s hours: %ld kB after a tenth of them, %ld kB at their end\n", wish, early, late);
    }
}

// What GStreamer logs as an error, a warning or something to be mended, while one of these lives.
class Complaints {
public:
    Complaints() {
        gst_debug_remove_log_function(nullptr);  // which would print it
        gst_debug_set_active(TRUE);
        gst_debug_set_threshold_from_string("*:4", TRUE);
        gst_debug_add_log_function(&Complaints::Add, this, nullptr);
    }
    ~Complaints() {
        gst_debug_remove_log_function_by_data(this);
        gst_debug_set_threshold_from_string("*:0", TRUE);
        gst_debug_add_log_function(nullptr, nullptr, nullptr);
    }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    const std::string& Text() const { return _text; }

private:
    static void Add(GstDebugCategory*, GstDebugLevel level, const gchar* file, const gchar*, gint line, GObject*,
                    GstDebugMessage* message, gpointer self) {
        auto* const complaints = static_cast<Complaints*>(self);
        if (level <= GST_LEVEL_FIXME) {
            complaints->_text +=
                std::string(file) + ":" + std::to_string(line) + ": " + gst_debug_message_get(message) + "\n";
        }
    }

    std::string _text;
};

TEST(ElementLog, HoldsNoComplaintOfAnOrdinaryStream) {
    const Complaints complaints;
    Stream stream("json=true draw=true");
    for (const char* const format : {"I420", "NV12"}) {
        stream.SetCaps(format);
        stream.ShowStill(stillPictures);
        stream.ShowWalk(walkedPictures);
        stream.Flush();
        stream.SendSegment(Stream::NewSegment());
    }
    stream.ShowStill(stillPictures);
    EXPECT_EQ(complaints.Text(), "");
    g_object_set(stream.Element(), "zones", "[", nullptr);
    stream.Show(-1);
    EXPECT_NE(complaints.Text(), "") << "it is heard where there is one";
    const std::size_t heard = complaints.Text().size();
    stream.Send(gst_event_new_eos());
    EXPECT_EQ(complaints.Text().size(), heard) << complaints.Text();
}

// Whoever sets and polls need not be who shows pictures.
TEST(ElementThreads, PropertiesChangeWhilePicturesPass) {
    Stream stream;
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        for (int i = 0; !isOver; ++i) {
            const char* const zones =
                i % 3 == 0 ? "" : R"({"zones": [{"name": "all", "polygon": [[0, 0], [1, 0], [1, 1], [0, 1]]}]})";
            g_object_set(stream.Element(), "zones", zones, "rate", i % 5 * 1.0, "draw", i % 2, "metas", i % 7 != 0, nullptr);
            GstStructure *begin = nullptr, *end = nullptr;
            g_object_get(stream.Element(), "last-begin", &begin, "last-end", &end, nullptr);
            g_clear_pointer(&begin, gst_structure_free);
            g_clear_pointer(&end, gst_structure_free);
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 3; ++i) {
        stream.ShowStill(stillPictures);
        stream.ShowWalk(walkedPictures);
    }
    isOver = true;
    other.join();
    EXPECT_EQ(gst_harness_buffers_received(stream.Harness()), 75u);
}

}  // namespace
