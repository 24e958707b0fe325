// Do the checks of coreMD.h say what the calls do?  Every condition of the interface, broken on purpose, in a child that the
// call must end with the very text; a million random calls, of which those that pass are made. Built against the public
// headers and the shared library alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "CallsEnd.h"
#include "ForkedEnd.h"
#include "RandomHost.h"
#include "coreMD.hpp"

namespace {

using Kit::EndOf;
using Kit::EndsWith;
using Kit::Text;

// A camera of a few blocks: its detector, and a frame of its own memory.
struct Camera {
    DetectorHandle handle = nullptr;
    std::vector<std::uint8_t> planes;
    DetectionInfo info{};

    Camera(int columns, int rows) : planes(3 * static_cast<std::size_t>(columns * rows), 100) {
        h15(&handle);
        info.width = columns;
        info.height = rows;
        info.bgr24stride = 3 * columns;
        info.bgr24ForEachBlock = info.ycbcrForEachBlock = planes.data();
        info.fps = 25;  // frames are 0.2 s apart: none is skipped
    }
    ~Camera() { h14(&handle); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    void AddZone(float minWidth = 0, float minHeight = 0) {
        std::uint8_t cell = 1;
        MDZoneInfo zone{&cell, 1, 1, 0.3f, minWidth, minHeight};
        ASSERT_EQ(Text(coreMD_CheckZone(&handle, &zone)), "");
        h12(&handle, &zone);
    }
    void Watch(int frames) {
        for (int i = 0; i < frames; ++i) {
            info.timestamp += 2000000;
            ASSERT_EQ(Text(coreMD_CheckFrame(&handle, &info)), "") << i;
            h13(&handle, &info);
        }
    }
    // With one zone, and as much history as results need.
    void Settle() {
        AddZone();
        Watch(11);
    }

    void ExpectFrameEndsWith(const std::string& condition, const DetectionInfo* frame) {
        EXPECT_EQ(Text(coreMD_CheckFrame(&handle, frame)), condition);
        EXPECT_TRUE(EndsWith(condition, [&] { h13(&handle, const_cast<DetectionInfo*>(frame)); }));
    }
    void ExpectZoneEndsWith(const std::string& condition, MDZoneInfo* zone) {
        EXPECT_EQ(Text(coreMD_CheckZone(&handle, zone)), condition);
        EXPECT_TRUE(EndsWith(condition, [&] { h12(&handle, zone); }));
    }
};

std::vector<std::uint8_t> StateOf(DetectorHandle* handle) {
    std::vector<std::uint8_t> state(static_cast<std::size_t>(coreMD_StateSize(handle)));
    coreMD_SaveState(handle, state.data(), static_cast<std::int64_t>(state.size()));
    return state;
}

// Every fourth block, every second row moved by two: as many objects as a grid can hold.
void LightMostObjects(Camera& camera) {
    for (int y = 0; y < camera.info.height; ++y)
        for (int x = y % 2 * 2; x < camera.info.width; x += 4)
            camera.planes[static_cast<std::size_t>(y * camera.info.width + x)] = 250;
}

}  // namespace

// ---- Every condition by itself ------------------------------------------------------------------------------------------

TEST(CallCheckTest, HandlesAreCheckedForEveryFunction) {
    void* noDetector = nullptr;
    DetectorHandle empty = nullptr, hollow = &noDetector;
    DetectionInfo info{};
    MDZoneInfo zone{};
    const std::pair<DetectorHandle*, const char*> cases[] = {{nullptr, "ptr"}, {&empty, "*ptr"}, {&hollow, "res"}};
    for (const auto& [handle, condition] : cases) {
        EXPECT_EQ(Text(coreMD_CheckHandle(handle)), condition);
        EXPECT_EQ(Text(coreMD_CheckFrame(handle, &info)), condition);
        EXPECT_EQ(Text(coreMD_CheckZone(handle, &zone)), condition);
        EXPECT_EQ(Text(coreMD_CheckObject(handle)), condition);
        EXPECT_EQ(Text(coreMD_CheckFrame(handle, nullptr)), condition);  // before the record
        EXPECT_EQ(Text(coreMD_CheckZone(handle, nullptr)), condition);
        DetectorHandle* const h = handle;
        const std::function<void()> calls[] = {
            [h] { h11(h); },
            [h] { h12(h, nullptr); },
            [h] { h13(h, nullptr); },
            [h] { h17(h, nullptr); },
            [h] { h18(h, nullptr); },
            [h] { h19(h, nullptr); },
            [h] { h33(h, nullptr, nullptr); },
            [h] { h35(h, 0); },
            [h] { h36(h, 0); },
            [h] { coreMD_StateSize(h); },
            [h] { coreMD_SaveState(h, nullptr, 0); },
            [h] { coreMD_LoadState(h, nullptr, 0, nullptr, nullptr); },
        };
        for (const auto& call : calls) EXPECT_TRUE(EndsWith(condition, call)) << &call - calls;
    }
}

// The other way round for h15; h14 needs the address alone.
TEST(CallCheckTest, CreationAndDestructionFollowFromTheHandle) {
    DetectorHandle handle = nullptr;
    EXPECT_EQ(Text(coreMD_CheckHandle(&handle)), "*ptr");
    h14(&handle);
    h15(&handle);
    EXPECT_EQ(coreMD_CheckHandle(&handle), nullptr);
    EXPECT_TRUE(EndsWith("!*ptr", [&] { h15(&handle); }));
    h14(&handle);
    EXPECT_EQ(Text(coreMD_CheckHandle(nullptr)), "ptr");
    EXPECT_TRUE(EndsWith("ptr", [] { h15(nullptr); }));
    EXPECT_FALSE(EndOf([] { h14(nullptr); }).hasReturned);
}

TEST(CallCheckTest, EveryConditionOfAFrameIsFound) {
    Camera camera(4, 3);
    camera.AddZone();
    camera.ExpectFrameEndsWith("info", nullptr);
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    for (const int bad : {0, -1, 10000, least, most}) {
        DetectionInfo frame = camera.info;
        frame.width = bad;
        camera.ExpectFrameEndsWith("info->width > 0 && info->width < 10000", &frame);
        frame = camera.info;
        frame.height = bad;
        camera.ExpectFrameEndsWith("info->height > 0 && info->height < 10000", &frame);
    }
    for (const int bad : {0, -1, least}) {
        DetectionInfo frame = camera.info;
        frame.bgr24stride = bad;
        camera.ExpectFrameEndsWith("info->bgr24stride > 0", &frame);
    }
    DetectionInfo frame = camera.info;
    frame.bgr24ForEachBlock = nullptr;
    camera.ExpectFrameEndsWith("info->bgr24ForEachBlock", &frame);
    frame = camera.info;
    frame.ycbcrForEachBlock = nullptr;
    camera.ExpectFrameEndsWith("source", &frame);
    camera.Watch(1);  // as long as the grid stays, too
    frame.timestamp = camera.info.timestamp;
    camera.ExpectFrameEndsWith("source", &frame);
}

TEST(CallCheckTest, AFreshStartWithoutAZoneIsFound) {
    Camera camera(4, 3);
    camera.ExpectFrameEndsWith("first", &camera.info);
    camera.Settle();
    h11(&camera.handle);
    camera.Watch(2);  // frames go on
    DetectionInfo earlier = camera.info, other = camera.info;
    earlier.timestamp -= 1;
    other.width = 3;
    for (DetectionInfo* frame : {&earlier, &other}) {
        camera.ExpectFrameEndsWith("first", frame);
        frame->ycbcrForEachBlock = nullptr;
        camera.ExpectFrameEndsWith("first", frame);  // comes before the planes are read
    }
}

TEST(CallCheckTest, ALateZoneIsFoundOnceItMatters) {
    Camera camera(4, 3);
    camera.AddZone();
    camera.Watch(2);
    camera.AddZone();
    camera.Watch(8);  // without history nobody looks into zones
    DetectionInfo frame = camera.info;
    camera.ExpectFrameEndsWith("currentZone->pixelMapWidth == blockCountX", &frame);
    frame.isH264Partly = 1;  // outside the ring: no history yet
    EXPECT_EQ(coreMD_CheckFrame(&camera.handle, &frame), nullptr);
    h13(&camera.handle, &frame);
    frame.isH264PartlyIFrame = 1;
    camera.ExpectFrameEndsWith("currentZone->pixelMapWidth == blockCountX", &frame);
    frame.timestamp -= 1;  // afresh, with both
    EXPECT_EQ(coreMD_CheckFrame(&camera.handle, &frame), nullptr);
    camera.info.timestamp = frame.timestamp - 2000000;
    camera.Watch(12);
}

TEST(CallCheckTest, EveryConditionOfAZoneIsFound) {
    Camera camera(4, 3);
    std::uint8_t cells[4] = {1, 1, 1, 1};
    camera.ExpectZoneEndsWith("zone", nullptr);
    MDZoneInfo zone{nullptr, 2, 2, 0, 0, 0};
    camera.ExpectZoneEndsWith("source", &zone);
    for (const auto& [width, height] : {std::pair{-1, 1}, {1, -1}, {-1, std::numeric_limits<int>::max()}}) {
        zone = {cells, width, height, 0, 0, 0};
        camera.ExpectZoneEndsWith("maskWidth * maskHeight >= 0", &zone);
        zone.mask = nullptr;
        camera.ExpectZoneEndsWith("maskWidth * maskHeight >= 0", &zone);  // found before the mask
    }
    for (const auto& [width, height] : {std::pair{2, 2}, {0, 0}, {0, -1}, {-1, 0}, {-2, -2}}) {
        zone = {cells, width, height, NAN, INFINITY, -1};
        EXPECT_EQ(coreMD_CheckZone(&camera.handle, &zone), nullptr);
        h12(&camera.handle, &zone);
    }
}

TEST(CallCheckTest, ObjectsBeforeTheFirstFrameAreFound) {
    Camera camera(4, 3);
    MDObjectInfo object;
    EXPECT_EQ(Text(coreMD_CheckObject(&camera.handle)), "_isObject");
    EXPECT_TRUE(EndsWith("_isObject", [&] { h18(&camera.handle, &object); }));
    camera.AddZone();
    camera.Watch(1);
    EXPECT_EQ(coreMD_CheckObject(&camera.handle), nullptr);
    EXPECT_EQ(h18(&camera.handle, &object), COREMD_EXHAUSTED);
}

// Zones are looked into one after another: a late one comes after one that asks for too much.
TEST(CallCheckTest, AnObjectThatFillsTheGridAndIsTooSmallIsFound) {
    Camera camera(4, 3);
    camera.AddZone();
    camera.AddZone(1.25f, 0);
    camera.Watch(12);
    std::fill_n(camera.planes.begin(), 11, std::uint8_t{250});
    camera.Watch(1);
    const std::vector<std::uint8_t> shown = camera.planes;
    std::fill_n(camera.planes.begin(), 12, std::uint8_t{10});
    camera.info.timestamp += 2000000;
    camera.ExpectFrameEndsWith("mOBlocksCount > 0 && mOBlocksCount < blockCount", &camera.info);
    camera.AddZone();
    camera.ExpectFrameEndsWith("mOBlocksCount > 0 && mOBlocksCount < blockCount", &camera.info);
    camera.planes = shown;
    camera.info.bgr24ForEachBlock = camera.info.ycbcrForEachBlock = camera.planes.data();
    camera.ExpectFrameEndsWith("currentZone->pixelMapWidth == blockCountX", &camera.info);
}

TEST(CallCheckTest, MoreObjectsThanLabelsAreFound) {
    Camera camera(512, 256);
    camera.AddZone();
    for (int i = 0; i < 10; ++i) camera.Watch(1);
    LightMostObjects(camera);
    camera.info.timestamp += 2000000;
    camera.ExpectFrameEndsWith("motionObjectsCount >= 0", &camera.info);
    camera.planes[0] = 100;  // one object less
    EXPECT_EQ(coreMD_CheckFrame(&camera.handle, &camera.info), nullptr);
    h13(&camera.handle, &camera.info);
}

// ---- What a check leaves alone ------------------------------------------------------------------------------------------

TEST(CallCheckTest, NothingChanges) {
    for (const float minWidth : {0.0f, 2.0f}) {  // by conditions alone, and by showing the frame to a copy
        Camera camera(5, 4);
        camera.AddZone(minWidth);
        camera.Watch(15);
        camera.planes[7] = 250;
        camera.Watch(1);
        MDResultInfo summary;
        MDZoneDetectionInfo result;
        ASSERT_EQ(h17(&camera.handle, &summary), COREMD_DELIVERED);
        ASSERT_EQ(h19(&camera.handle, &result), COREMD_DELIVERED);
        ASSERT_EQ(result.objectsCount, minWidth == 0.0f ? 1 : 0);
        const std::vector<std::uint8_t> before = StateOf(&camera.handle);
        const std::vector<std::uint16_t> labels(result.objectsMap, result.objectsMap + 20);

        std::srand(7);
        const int drawn = std::rand();
        std::srand(7);
        DetectionInfo next = camera.info, afresh = camera.info, bad = camera.info;
        next.timestamp += 2000000;
        next.isIFrame = next.passThroughFlag = 1;
        afresh.timestamp = 0;
        bad.height = 0;
        MDZoneInfo zone{camera.planes.data(), 5, 4, 0, 0, 0};
        for (const DetectionInfo* frame : {&next, &afresh, &bad}) coreMD_CheckFrame(&camera.handle, frame);
        coreMD_CheckZone(&camera.handle, &zone);
        coreMD_CheckObject(&camera.handle);
        EXPECT_EQ(std::rand(), drawn);

        EXPECT_EQ(StateOf(&camera.handle), before);
        EXPECT_EQ(std::vector<std::uint16_t>(result.objectsMap, result.objectsMap + 20), labels);
        MDObjectInfo object;  // the cursor is where it was
        EXPECT_EQ(h18(&camera.handle, &object), minWidth == 0.0f ? COREMD_DELIVERED : COREMD_EXHAUSTED);
    }
}

// ---- The same in C++ ----------------------------------------------------------------------------------------------------

// Shaped like std::expected<void, const char*>.
TEST(CallCheckTest, AnAttemptIsMadeOrSaysWhyNot) {
    constexpr coremd::Attempt made, refused("why");
    static_assert(made && made.has_value() && !refused && !refused.has_value() && refused.error()[0] == 'w');
    static_assert(!std::is_convertible_v<coremd::Attempt, bool> && !std::is_convertible_v<const char*, coremd::Attempt>);

    const std::vector<std::uint8_t> planes(3 * 6, 100);
    coremd::Frame frame{.columns = 3, .rows = 2, .ycbcr = planes};
    const coremd::Zone zone{.mask = planes, .columns = 3, .rows = 2};
    coremd::Detector detector;
    EXPECT_STREQ(detector.TryDetect(frame).error(), "first");
    EXPECT_STREQ(detector.TryAddZone({}).error(), "source");
    EXPECT_STREQ(detector.TryAddZone({.mask = planes, .columns = -1, .rows = 1}).error(), "maskWidth * maskHeight >= 0");
    EXPECT_TRUE(detector.TryAddZone(zone));
    EXPECT_STREQ(detector.TryDetect({}).error(), "info->width > 0 && info->width < 10000");
    EXPECT_STREQ(detector.TryDetect({.columns = 2'000'000'000, .rows = -1}).error(),
                 "info->width > 0 && info->width < 10000");
    for (int i = 0; i < 15; ++i, frame.time += std::chrono::milliseconds(200)) ASSERT_TRUE(detector.TryDetect(frame)) << i;
    EXPECT_TRUE(detector.TryAddZone(zone));
    EXPECT_STREQ(detector.TryDetect(frame).error(), "currentZone->pixelMapWidth == blockCountX");
    EXPECT_EQ(detector.Columns(), 3);

    coremd::Detector elsewhere = std::move(detector);
    EXPECT_STREQ(detector.TryDetect(frame).error(), "*ptr");
    EXPECT_STREQ(detector.TryAddZone(zone).error(), "*ptr");
    EXPECT_TRUE(elsewhere.TryDetect({.columns = 2, .rows = 1, .ycbcr = planes}));  // afresh, with both zones
    EXPECT_EQ(elsewhere.Columns(), 2);
}

// What ends Detect and AddZone before they reach the library.
TEST(CallCheckTest, SpansThatAreTooShortAreRefused) {
    const std::vector<std::uint8_t> planes(3 * 6, 100);
    const std::span<const std::uint8_t> all(planes);
    coremd::Detector detector;
    detector.AddWholePicture();
    detector.Detect({.columns = 3, .rows = 2, .ycbcr = planes});
    const std::vector<std::uint8_t> before = detector.SaveState();
    EXPECT_STREQ(detector.TryDetect({.columns = 3, .rows = 2, .ycbcr = all.first(17)}).error(),
                 "ycbcr holds fewer than 3 * columns * rows bytes");
    EXPECT_STREQ(detector.TryDetect({.columns = 3, .rows = 2, .ycbcr = all, .mpeg4ReferenceLuma = all.first(5)}).error(),
                 "mpeg4ReferenceLuma holds fewer than columns * rows bytes");
    EXPECT_STREQ(detector.TryAddZone({.mask = all.first(5), .columns = 3, .rows = 2}).error(),
                 "mask holds fewer than columns * rows bytes");
    EXPECT_STREQ(detector.TryAddZone({.mask = all.first(5), .columns = -3, .rows = -2}).error(),
                 "mask holds fewer than columns * rows bytes");  // h12 reads six cells
    EXPECT_EQ(detector.SaveState(), before);
    EXPECT_TRUE(detector.TryDetect({.columns = 3, .rows = 2, .ycbcr = planes}));
}

// ---- A million random calls ---------------------------------------------------------------------------------------------

namespace {

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr int randomCalls = 50000;
#else
constexpr int randomCalls = 1000000;
#endif

}  // namespace

TEST(CallCheckTest, AMillionRandomCallsDoWhatTheirChecksSay) {
    Kit::RandomHost host(20);
    for (int i = 0; i < randomCalls && !testing::Test::HasFailure(); ++i) host.Call();
    // None of the conditions was left out, and both kinds of outcome were frequent.
    for (const char* condition :
         {"", "ptr", "*ptr", "res", "!*ptr", "info", "info->width > 0 && info->width < 10000",
          "info->height > 0 && info->height < 10000", "info->bgr24stride > 0", "info->bgr24ForEachBlock", "first", "source",
          "currentZone->pixelMapWidth == blockCountX", "mOBlocksCount > 0 && mOBlocksCount < blockCount", "zone",
          "maskWidth * maskHeight >= 0", "_isObject"})
        EXPECT_GT(host.counts[condition], 0) << condition;
    EXPECT_GT(host.counts[""], randomCalls / 4);
    EXPECT_LT(host.counts[""], randomCalls * 3 / 4);
    EXPECT_EQ(host.counts.size(), 17u);
}
