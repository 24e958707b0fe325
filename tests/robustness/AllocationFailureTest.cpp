// What is left of a detector when memory runs out inside a call of the C interface?  Every allocation of every call fails
// once; std::bad_alloc arrives, nothing leaks, results can be read, and the next frames give what they give without the
// failure.
#include <cstdint>
#include <vector>

#include "OutOfMemory.h"
#include "OutputDigest.h"
#include "StreamScene.h"
#include "detector/MotionDetector.h"

namespace {

using Kit::Picture;
using OutOfMemory::FailOneByOne;

constexpr int columns = 24, rows = 18;
constexpr std::int64_t interval = Kit::oneSecond / 5;

// A handle with a known phase; the phase drawn by the constructor would be 0 or 1.
struct Host {
    Host() {
        h15(&handle);
        GetDetector(&handle)->_skipPhase = 0;
    }
    ~Host() { h14(&handle); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    MD::MotionDetector& Detector() { return *GetDetector(&handle); }

    void AddZone(std::vector<std::uint8_t> mask) {
        MDZoneInfo zone{mask.data(), static_cast<int>(mask.size()), 1, 0.3f, 0.0f, 0.0f};
        h12(&handle, &zone);
    }

    DetectorHandle handle = nullptr;
};

// Frames for several detectors at once: the same record for all.
struct Stream {
    explicit Stream(Kit::InputKind kind, int width = columns, int height = rows, std::int64_t first = 0)
        : random(7), feed(kind, interval, first), ground(Kit::Texture(width, height, random, 60, 180)) {}

    DetectionInfo Next(const Picture& picture) { return feed.Next(picture); }
    void ShowGround(Host& host, int frames) {
        for (; frames > 0; --frames) {
            DetectionInfo info = Next(ground);
            h13(&host.handle, &info);
        }
    }

    Kit::SeededRandom random;
    Kit::FrameFeed feed;
    Picture ground;
};

// Things all over the picture, `distance` columns apart from each other.
Picture WithThings(Picture picture, int distance) {
    for (int y = 0; y < picture.Rows(); y += distance)
        for (int x = 0; x < picture.Columns(); x += distance)
            Kit::Fill(picture, {x, y, distance / 2, distance / 2}, picture.Y(x, y) > 120 ? 20 : 240);
    return picture;
}

// Reads in calling order, whatever there is.
void ReadEverything(Host& host) {
    MDResultInfo summary{};
    h17(&host.handle, &summary);
    MDZoneDetectionInfo zone{};
    if (h19(&host.handle, &zone) == COREMD_DELIVERED) {
        MDObjectInfo object{};
        int objects = 0;
        while (h18(&host.handle, &object) == COREMD_DELIVERED) {
            ++objects;
            for (int i = 0; i < object.pixelsCount; ++i)
                ASSERT_LT(object.pixelsY[i] * columns + object.pixelsX[i], columns * rows);
        }
        ASSERT_EQ(objects, zone.objectsCount);
    }
    std::vector<std::uint8_t> image(3 * columns * rows);
    std::vector<std::int32_t> mask(columns * rows);
    h33(&host.handle, image.data(), mask.data());
}

// Do both detectors give the same for the frames to come: still ones, then things?
void ExpectSameFuture(Host& survivor, Host& other, int width, int height, std::int64_t from, Kit::InputKind kind) {
    Stream stream(kind, width, height, from);
    Kit::OutputDigest ours, theirs;
    int objects = 0;
    for (int frame = 0; frame < 24; ++frame) {
        DetectionInfo info =
            stream.Next(frame < 14 || frame % 3 == 0 ? stream.ground : WithThings(stream.ground, 4 + frame % 3));
        h13(&survivor.handle, &info);
        h13(&other.handle, &info);
        ours.AddFrame(&survivor.handle, width * height);
        theirs.AddFrame(&other.handle, width * height);
        objects += survivor.Detector()._mergedPool._busyList._objectsCount;
    }
    EXPECT_EQ(ours.Value(), theirs.Value());
    EXPECT_GT(objects, 0);  // else it proves little
}

// What a detector keeps when it starts afresh: the place in the cycle of frame skipping.
void CarryOver(Host& from, Host& to) {
    to.Detector()._skipPhase = from.Detector()._skipPhase;
    to.Detector()._skipFrameCounter = from.Detector()._skipFrameCounter;
    to.Detector()._lastFrameTime = from.Detector()._lastFrameTime;
}

// The next frames after a failure: on the same grid, and on a smaller one.
struct Next {
    int width, height;
    Kit::InputKind kind;
};
constexpr Next nextGrids[] = {{columns, rows, Kit::InputKind::Standard}, {7, 5, Kit::InputKind::StandardWithShadows}};

TEST(AllocationFailureTest, CreatingLeavesTheVariableNull) {
    const int allocations = FailOneByOne("h15", [](auto fails) {
        DetectorHandle handle = nullptr;
        if (fails([&] { h15(&handle); })) {
            EXPECT_EQ(handle, nullptr);
            h15(&handle);
        }
        EXPECT_NE(handle, nullptr);
        h14(&handle);
    });
    EXPECT_GE(allocations, 4);  // detector, its table, the table of its statistics, the cell
}

TEST(AllocationFailureTest, ZoneIsAddedOrNot) {
    FailOneByOne("h12", [](auto fails) {
        Host host, fresh;
        host.AddZone({0, 1, 1});
        fresh.AddZone({0, 1, 1});
        std::uint8_t mask[] = {1, 0, 0};
        MDZoneInfo second{mask, 3, 1, 0.3f, 0.0f, 0.0f};
        const bool failed = fails([&] { h12(&host.handle, &second); });
        EXPECT_EQ(host.Detector()._zones._count, failed ? 1 : 2);
        if (failed) h12(&host.handle, &second);
        h12(&fresh.handle, &second);
        ExpectSameFuture(host, fresh, columns, rows, 0, Kit::InputKind::Standard);
    });
}

TEST(AllocationFailureTest, FirstFrame) {
    for (const Next next : nextGrids) {
        const int allocations = FailOneByOne("h13, first frame", [&](auto fails) {
            Host host, fresh;
            host.AddZone({1});
            host.AddZone({1, 0});
            fresh.AddZone({1});
            fresh.AddZone({1, 0});
            Stream stream(next.kind);
            DetectionInfo info = stream.Next(stream.ground);
            if (!fails([&] { h13(&host.handle, &info); })) return;
            EXPECT_EQ(host.Detector().blockCount, 0);
            ReadEverything(host);
            ExpectSameFuture(host, fresh, next.width, next.height, 0, next.kind);
        });
        EXPECT_EQ(allocations, 38 + 12 + 1 + 2);  // both tables, the foreground groups and two zones
    }
}

// Learned state is lost: what follows equals a fresh detector.
TEST(AllocationFailureTest, NewGrid) {
    for (const Next next : nextGrids)
        FailOneByOne("h13, new grid", [&](auto fails) {
            Host host, fresh;
            host.AddZone({1});
            fresh.AddZone({1});
            Stream stream(next.kind, columns, rows - 1);
            stream.ShowGround(host, 30);
            CarryOver(host, fresh);
            Stream larger(next.kind, columns, rows, stream.feed.nextTime);
            DetectionInfo info = larger.Next(larger.ground);
            if (!fails([&] { h13(&host.handle, &info); })) return;
            ReadEverything(host);
            ExpectSameFuture(host, fresh, next.width, next.height, stream.feed.nextTime, next.kind);
        });
}

TEST(AllocationFailureTest, TimeRunsBackwards) {
    for (const Next next : nextGrids)
        FailOneByOne("h13, time runs backwards", [&](auto fails) {
            Host host, fresh;
            host.AddZone({1});
            fresh.AddZone({1});
            Stream stream(Kit::InputKind::Standard);
            stream.ShowGround(host, 20);
            DetectionInfo things = stream.Next(WithThings(stream.ground, 6));
            h13(&host.handle, &things);
            EXPECT_GT(host.Detector()._mergedPool._busyList._objectsCount, 0);
            CarryOver(host, fresh);
            Stream earlier(Kit::InputKind::Standard);
            DetectionInfo info = earlier.Next(earlier.ground);
            if (!fails([&] { h13(&host.handle, &info); })) return;
            ReadEverything(host);
            ExpectSameFuture(host, fresh, next.width, next.height, 0, Kit::InputKind::Standard);
        });
}

// What was there is lost, but for zones and settings; what was to be loaded is not there either.
TEST(AllocationFailureTest, LoadingAState) {
    Host saved;
    saved.AddZone({1, 0});
    saved.AddZone({0, 1});
    Stream stream(Kit::InputKind::Standard);
    stream.ShowGround(saved, 20);
    DetectionInfo things = stream.Next(WithThings(stream.ground, 6));
    h13(&saved.handle, &things);
    std::vector<std::uint8_t> state(static_cast<std::size_t>(coreMD_StateSize(&saved.handle)));
    const auto size = static_cast<std::int64_t>(state.size());
    ASSERT_EQ(coreMD_SaveState(&saved.handle, state.data(), size), COREMD_STATE_DONE);
    for (const Next next : nextGrids) {
        const int allocations = FailOneByOne("coreMD_LoadState", [&](auto fails) {
            Host host, fresh;
            host.AddZone({1});
            fresh.AddZone({1});
            Stream own(next.kind, columns, rows - 1);
            own.ShowGround(host, 30);
            CarryOver(host, fresh);
            int status = -1;
            if (!fails([&] { status = coreMD_LoadState(&host.handle, state.data(), size, nullptr, nullptr); })) {
                EXPECT_EQ(status, COREMD_STATE_DONE);
                return;
            }
            ReadEverything(host);
            EXPECT_EQ(host.Detector()._zones._count, 1);
            if (host.Detector().blockCount == 0)  // else it failed before anything changed
                ExpectSameFuture(host, fresh, next.width, next.height, own.feed.nextTime, next.kind);
        });
        EXPECT_GT(allocations, 38 + 12 + 1 + 4);
    }
}

TEST(AllocationFailureTest, ReplacingZonesLeavesEverythingAsItWas) {
    Host host;
    host.AddZone({1, 0});
    Stream stream(Kit::InputKind::Standard);
    stream.ShowGround(host, 20);
    DetectionInfo things = stream.Next(WithThings(stream.ground, 6));
    h13(&host.handle, &things);
    const auto size = coreMD_StateSize(&host.handle);
    std::vector<std::uint8_t> before(static_cast<std::size_t>(size)), after(before.size());
    coreMD_SaveState(&host.handle, before.data(), size);
    std::uint8_t masks[] = {0, 1};
    const MDZoneInfo zones[] = {{masks, 2, 1, 0.3f, 0.0f, 0.0f}, {masks, 1, 2, 0.3f, 0.0f, 0.0f}};
    const int allocations = FailOneByOne("coreMD_ReplaceZones", [&](auto fails) {
        DetectorHandle successor = nullptr;
        const bool failed = fails([&] { coreMD_ReplaceZones(&host.handle, zones, 2, &successor); });
        EXPECT_EQ(successor == nullptr, failed);
        EXPECT_EQ(coreMD_SaveState(&host.handle, after.data(), size), COREMD_STATE_DONE);
        EXPECT_EQ(after, before);
        h14(&successor);
    });
    EXPECT_GT(allocations, 38 + 12 + 2 * 3);
}

// Only the objects of the frame are lost: what follows equals a detector that went through.
class AllocationFailureObjectsTest : public testing::TestWithParam<int> {};

TEST_P(AllocationFailureObjectsTest, NothingLearnedIsLost) {
    const int distance = GetParam();
    for (const Next next : nextGrids) {
        const int allocations = FailOneByOne("h13, objects", [&](auto fails) {
            Host host, twin;
            for (Host* each : {&host, &twin}) {
                each->AddZone({1, 0});  // the middle column of objects is cut, and merged again
                each->AddZone({0, 1});
            }
            Stream stream(Kit::InputKind::Standard);
            for (int frame = 0; frame < 20; ++frame) {
                DetectionInfo info = stream.Next(stream.ground);
                h13(&host.handle, &info);
                h13(&twin.handle, &info);
            }
            DetectionInfo info = stream.Next(WithThings(stream.ground, distance));
            h13(&twin.handle, &info);
            EXPECT_GT(twin.Detector()._mergedPool._busyList._objectsCount, 0);
            if (!fails([&] { h13(&host.handle, &info); })) return;
            ReadEverything(host);
            ExpectSameFuture(host, twin, next.width, next.height, stream.feed.nextTime, Kit::InputKind::Standard);
        });
        EXPECT_GT(allocations, 4);
    }
}

// Two blocks apart in squares of two: everything becomes one. Three and more: few to many separate things.
INSTANTIATE_TEST_SUITE_P(Distances, AllocationFailureObjectsTest, testing::Values(3, 4, 5, 6, 11, 40));

// Zones processed one by one while they are read: the failure comes out of h19.
TEST(AllocationFailureTest, ZoneProcessedWhileItIsRead) {
    const int allocations = FailOneByOne("h19, zone processed there", [](auto fails) {
        Host host, twin;
        for (Host* each : {&host, &twin}) {
            each->Detector()._processZones = false;
            each->AddZone({1, 1, 0});
            each->AddZone({0, 1, 1});
        }
        Stream stream(Kit::InputKind::Standard);
        for (int frame = 0; frame < 21; ++frame) {
            DetectionInfo info = stream.Next(frame < 20 ? stream.ground : WithThings(stream.ground, 6));
            h13(&host.handle, &info);
            h13(&twin.handle, &info);
        }
        MDResultInfo summary{};
        MDZoneDetectionInfo zone{}, expected{};
        h17(&host.handle, &summary);
        h17(&twin.handle, &summary);
        EXPECT_EQ(summary.zoneResultsCount, 2);
        EXPECT_EQ(h19(&twin.handle, &expected), COREMD_DELIVERED);
        EXPECT_GT(expected.objectsCount, 0);
        if (fails([&] { h19(&host.handle, &zone); })) {  // the cursor stayed: the zone can be asked for again
            EXPECT_EQ(h19(&host.handle, &zone), COREMD_DELIVERED);
        }
        EXPECT_EQ(zone.objectsCount, expected.objectsCount);
    });
    EXPECT_GT(allocations, 1);
}

// As before the first frame: by calling order h18 follows a successful h19 only.
TEST(AllocationFailureDeathTest, ObjectWithoutAZoneResultIsFatalAfterwards) {
    Host host;
    host.AddZone({1});
    Stream stream(Kit::InputKind::Standard);
    DetectionInfo info = stream.Next(stream.ground);
    ASSERT_FALSE(AllocationGate::WithFailure(9, AllocationGate::Memory::IsBack, [&] { h13(&host.handle, &info); }));
    MDObjectInfo object{};
    EXPECT_DEATH(h18(&host.handle, &object), "_isObject");
}

}  // namespace
