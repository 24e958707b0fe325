// What does a host get that calls in the agreed order, and what if it does not?  Frames, statuses and results through the C
// interface alone, but for a look behind the handle where a host could not look.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "BlockFrames.h"
#include "detector/MotionDetector.h"

namespace {

using CoreKit::Frames;
using CoreKit::Handle;
using CoreKit::ObjectsOf;

constexpr int columns = 12, rows = 9;
constexpr int framesOfHistory = 11;
constexpr int framesUntilBackground = 45;  // nine seconds; quiet blocks are background after more than five

// A handle with one zone and a learned background of grey 100.
struct Settled {
    Settled() {
        handle.AddWholeFrame();
        frames.Feed(handle, framesUntilBackground);
    }

    Handle handle;
    Frames frames{columns, rows};
};

// One object of 3 x 2 blocks at (2, 1).
void ExpectTheObject(DetectorHandle* handle) {
    const std::vector<MDObjectInfo> objects = ObjectsOf(handle);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0].left, 2);
    EXPECT_EQ(objects[0].right, 4);
    EXPECT_EQ(objects[0].top, 1);
    EXPECT_EQ(objects[0].bottom, 2);
    ASSERT_EQ(objects[0].pixelsCount, 6);
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(objects[0].pixelsX[i] >= 2 && objects[0].pixelsX[i] <= 4) << objects[0].pixelsX[i];
        EXPECT_TRUE(objects[0].pixelsY[i] >= 1 && objects[0].pixelsY[i] <= 2) << objects[0].pixelsY[i];
    }
}

void DrawTheObject(Frames& frames) { frames.Fill(2, 1, 3, 2, 200); }

}  // namespace

TEST(CallingOrderTest, NothingIsReadyBeforeTheFirstFrame) {
    Handle handle;
    handle.AddWholeFrame();
    MDResultInfo summary = {7, 7, 7};
    EXPECT_EQ(h17(handle, &summary), COREMD_NOT_READY);
    EXPECT_EQ(summary.zoneResultsCount, 0);
    EXPECT_EQ(summary.isIFrame, 0);
    EXPECT_EQ(summary.passThroughFlag, 0);
    MDZoneDetectionInfo zone = {7, nullptr, nullptr};
    EXPECT_EQ(h19(handle, &zone), COREMD_NOT_READY);
    EXPECT_EQ(zone.objectsCount, 7);  // not written
}

TEST(CallingOrderTest, BackgroundBeforeTheFirstFrameIsNegativeAndWritesNothing) {
    Handle handle;
    std::vector<std::uint8_t> image(300, 0x5A);
    std::vector<std::int32_t> mask(100, 77);
    EXPECT_LT(h33(handle, image.data(), mask.data()), 0);
    EXPECT_EQ(image, std::vector<std::uint8_t>(300, 0x5A));
    EXPECT_EQ(mask, std::vector<std::int32_t>(100, 77));
}

TEST(CallingOrderTest, ResultsStartWithTheEleventhFrame) {
    Handle handle;
    handle.AddWholeFrame();
    Frames frames(columns, rows);
    frames.info.isIFrame = -1;  // any value but 0 is true, and comes back as 1
    frames.info.passThroughFlag = 256;
    for (int frame = 1; frame <= 20; ++frame) {
        frames.Feed(handle);
        MDResultInfo summary = {7, 7, 7};
        MDZoneDetectionInfo zone = {7, nullptr, nullptr};
        MDObjectInfo object = {};
        const bool isReady = frame >= framesOfHistory;
        EXPECT_EQ(h17(handle, &summary), isReady ? COREMD_DELIVERED : COREMD_NOT_READY) << frame;
        EXPECT_EQ(summary.zoneResultsCount, isReady ? 1 : 0);
        EXPECT_EQ(summary.isIFrame, 1);
        EXPECT_EQ(summary.passThroughFlag, 1);
        EXPECT_EQ(h19(handle, &zone), isReady ? COREMD_DELIVERED : COREMD_NOT_READY) << frame;
        EXPECT_EQ(zone.objectsCount, isReady ? 0 : 7);
        EXPECT_EQ(zone.objectsMap != nullptr, isReady);
        EXPECT_EQ(zone.zoneMap != nullptr, isReady);
        EXPECT_EQ(h18(handle, &object), COREMD_EXHAUSTED);
    }
}

TEST(CallingOrderTest, SpareFieldsHaveNoEffect) {
    Settled plain;
    Settled spare;
    spare.frames.info.extraFlag1 = spare.frames.info.extraFlag2 = 1;
    spare.frames.info.reserved = -7;
    spare.frames.info.timestamp = plain.frames.info.timestamp = 0;  // starts afresh, and takes the flags
    for (Settled* s : {&plain, &spare}) {
        s->frames.Feed(s->handle, framesUntilBackground);
        DrawTheObject(s->frames);
        s->frames.Feed(s->handle);
        ExpectTheObject(s->handle);
    }
    EXPECT_TRUE(GetDetector(spare.handle)->_extraFlag1);
    std::vector<std::uint8_t> image(3 * columns * rows), other(image.size());
    h33(plain.handle, image.data(), nullptr);
    h33(spare.handle, other.data(), nullptr);
    EXPECT_EQ(image, other);
}

TEST(CallingOrderTest, ExhaustedObjectsAreNotWritten) {
    Settled s;
    DrawTheObject(s.frames);
    s.frames.Feed(s.handle);
    ExpectTheObject(s.handle);
    MDObjectInfo object;
    std::memset(&object, 0x5A, sizeof object);
    MDObjectInfo untouched = object;
    EXPECT_EQ(h18(s.handle, &object), COREMD_EXHAUSTED);
    EXPECT_EQ(std::memcmp(&object, &untouched, sizeof object), 0);
    ExpectTheObject(s.handle);  // asked again from the summary on, it comes again
}

TEST(CallingOrderTest, ObjectIsLabelledInTheMapsOfItsZone) {
    Settled s;
    DrawTheObject(s.frames);
    s.frames.Feed(s.handle);
    MDResultInfo summary = {};
    MDZoneDetectionInfo zone = {};
    ASSERT_EQ(h17(s.handle, &summary), COREMD_DELIVERED);
    ASSERT_EQ(h19(s.handle, &zone), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 1);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            EXPECT_EQ(zone.objectsMap[y * columns + x], x >= 2 && x <= 4 && y >= 1 && y <= 2 ? 1 : 0) << x << " " << y;
}

TEST(CallingOrderTest, ObjectWithoutBlocksHasBoundsOfZero) {
    Settled s;
    GetDetector(s.handle)->_mergedPool.AddWorkingObjects(1);  // its box is the empty one
    MDResultInfo summary = {};
    MDZoneDetectionInfo zone = {};
    ASSERT_EQ(h17(s.handle, &summary), COREMD_DELIVERED);
    ASSERT_EQ(h19(s.handle, &zone), COREMD_DELIVERED);
    ASSERT_EQ(zone.objectsCount, 1);
    MDObjectInfo object;
    std::memset(&object, 0x5A, sizeof object);
    ASSERT_EQ(h18(s.handle, &object), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 0);
    EXPECT_EQ(object.left, 0);
    EXPECT_EQ(object.right, 0);
    EXPECT_EQ(object.top, 0);
    EXPECT_EQ(object.bottom, 0);
    EXPECT_EQ(object.index, 0);
    EXPECT_EQ(object.secondIndex, 0);
}

TEST(CallingOrderTest, UnknownBackgroundIsMagenta) {
    Handle handle;
    handle.AddWholeFrame();
    Frames frames(columns, rows);
    frames.Feed(handle);
    std::vector<std::uint8_t> image(3 * columns * rows);
    std::vector<std::int32_t> mask(columns * rows, 77);
    EXPECT_EQ(h33(handle, image.data(), mask.data()), 0);
    for (std::size_t i = 0; i < image.size(); ++i) ASSERT_EQ(image[i], i % 3 == 1 ? 0 : 255) << i;
    EXPECT_EQ(mask, std::vector<std::int32_t>(columns * rows, 0));
}

TEST(CallingOrderTest, LearnedBackgroundIsDrawn) {
    Settled s;
    std::vector<std::uint8_t> image(3 * columns * rows);
    std::vector<std::int32_t> mask(columns * rows, 77);
    EXPECT_EQ(h33(s.handle, image.data(), mask.data()), 0);
    EXPECT_EQ(image, std::vector<std::uint8_t>(3 * columns * rows, 100));  // neutral chroma: grey
    EXPECT_EQ(mask, std::vector<std::int32_t>(columns * rows, 255));
}

// Standing still, the object has no block that moves: it is found only where that does not matter.
TEST(CallingOrderTest, H35TakesEffectWithTheNextFrame) {
    Settled s;
    DrawTheObject(s.frames);
    s.frames.Feed(s.handle, 6);
    EXPECT_TRUE(ObjectsOf(s.handle).empty());
    h35(s.handle, 1);
    EXPECT_TRUE(ObjectsOf(s.handle).empty());
    s.frames.Feed(s.handle);
    ExpectTheObject(s.handle);
    h35(s.handle, 2);
    s.frames.Feed(s.handle);
    EXPECT_TRUE(ObjectsOf(s.handle).empty());
}

TEST(CallingOrderTest, H36CountsAllBlocksOfAnObject) {
    Settled s;
    DrawTheObject(s.frames);
    s.frames.Feed(s.handle, 6);
    EXPECT_TRUE(ObjectsOf(s.handle).empty());
    h36(s.handle, 1);
    s.frames.Feed(s.handle);
    ExpectTheObject(s.handle);
    h36(s.handle, 256);
    s.frames.Feed(s.handle);
    EXPECT_TRUE(ObjectsOf(s.handle).empty());
}

// With a reference picture the very same frames show the object.
TEST(CallingOrderTest, MPEG4WithoutReferenceMarksNothing) {
    for (const bool hasReference : {false, true}) {
        Handle handle;
        handle.AddWholeFrame();
        Frames frames(columns, rows);
        std::vector<std::uint8_t> reference(columns * rows, 100);
        frames.info.isMPEG4 = 1;
        frames.info.mpeg4ReferenceLuma = hasReference ? reference.data() : nullptr;
        frames.Feed(handle, 15);
        DrawTheObject(frames);
        frames.Feed(handle);
        const MD::MotionDetector& detector = *GetDetector(handle);
        int marked = 0;
        for (int i = 0; i < columns * rows; ++i) marked += detector._isObject[i] != 0;
        EXPECT_EQ(marked, hasReference ? 6 : 0);
        if (hasReference) ExpectTheObject(handle);
        else EXPECT_TRUE(ObjectsOf(handle).empty());
    }
}

TEST(CallingOrderTest, LargestAndSmallestGridsAreAccepted) {
    for (const auto& [width, height] : {std::pair{9999, 1}, {1, 9999}, {1, 1}}) {
        Handle handle;
        handle.AddWholeFrame();
        Frames frames(width, height);
        frames.info.bgr24stride = 1;
        frames.Feed(handle, 12);
        MDResultInfo summary = {};
        EXPECT_EQ(h17(handle, &summary), COREMD_DELIVERED) << width << " x " << height;
    }
}

TEST(CallingOrderTest, FramesGoOnWithoutZones) {
    Settled s;
    DrawTheObject(s.frames);
    h11(s.handle);
    s.frames.Feed(s.handle);
    MDResultInfo summary = {};
    MDZoneDetectionInfo zone = {};
    EXPECT_EQ(h17(s.handle, &summary), COREMD_DELIVERED);
    EXPECT_EQ(h19(s.handle, &zone), COREMD_DELIVERED);
    EXPECT_EQ(zone.objectsCount, 0);
}

TEST(CallingOrderTest, LateZoneIsFittedWhenTheDetectorStartsAfresh) {
    Settled s;
    h11(s.handle);
    s.handle.AddWholeFrame();
    const MD::MDZone& zone = *GetDetector(s.handle)->_zones._first;
    EXPECT_EQ(zone.pixelMapWidth, 0);
    EXPECT_EQ(zone.pixelMapHeight, 0);
    s.frames.info.timestamp = 0;  // before the last frame
    s.frames.Feed(s.handle, framesUntilBackground);
    EXPECT_EQ(zone.pixelMapWidth, columns);
    EXPECT_EQ(zone.pixelMapHeight, rows);
    DrawTheObject(s.frames);
    s.frames.Feed(s.handle);
    ExpectTheObject(s.handle);
}

// Alone or side by side with a handle of another grid, settings and scene: the same results.
TEST(CallingOrderTest, HandlesShareNothing) {
    Settled alone;
    DrawTheObject(alone.frames);
    alone.frames.Feed(alone.handle);

    Handle first, second;
    first.AddWholeFrame();
    second.AddWholeFrame();
    h35(second, 1);
    h36(second, 1);
    Frames firstFrames(columns, rows), secondFrames(5, 4);
    for (int frame = 0; frame < framesUntilBackground; ++frame) {
        firstFrames.Feed(first);
        secondFrames.Fill(0, 0, 5, 4, 37 * frame % 256);
        secondFrames.Feed(second);
    }
    EXPECT_TRUE(GetDetector(first)->_limitObjectsToMask);
    EXPECT_FALSE(GetDetector(first)->_longBackgroundTimes);
    DrawTheObject(firstFrames);
    firstFrames.Feed(first);
    h11(second);
    h14(second);
    ExpectTheObject(alone.handle);
    ExpectTheObject(first);
    std::vector<std::uint8_t> image(3 * columns * rows), imageAlone(3 * columns * rows);
    std::vector<std::int32_t> mask(columns * rows), maskAlone(columns * rows);
    EXPECT_EQ(h33(first, image.data(), mask.data()), 0);
    EXPECT_EQ(h33(alone.handle, imageAlone.data(), maskAlone.data()), 0);
    EXPECT_EQ(image, imageAlone);
    EXPECT_EQ(mask, maskAlone);
}

TEST(CallingOrderDeathTest, FrameWithoutZoneIsFatal) {
    Handle handle;
    Frames frames(columns, rows);
    EXPECT_DEATH(frames.Feed(handle), "Assertion `first' failed");
    Settled s;
    h11(s.handle);
    Frames otherGrid(columns + 1, rows);
    otherGrid.info.timestamp = s.frames.info.timestamp;
    EXPECT_DEATH(otherGrid.Feed(s.handle), "Assertion `first' failed");
}

TEST(CallingOrderDeathTest, LateZoneIsFatalUntilTheDetectorStartsAfresh) {
    Settled s;
    s.handle.AddWholeFrame();
    EXPECT_DEATH(s.frames.Feed(s.handle), "Assertion `currentZone->pixelMapWidth == blockCountX' failed");
}

TEST(CallingOrderDeathTest, RecordOutsideItsRangesIsFatal) {
    Handle handle;
    handle.AddWholeFrame();
    Frames frames(columns, rows);
    EXPECT_DEATH(h13(handle, nullptr), "Assertion `info' failed");
    const DetectionInfo good = frames.info;
    for (const int bad : {0, 10000, -1}) {
        frames.info.width = bad;
        EXPECT_DEATH(frames.Feed(handle), "Assertion `info->width > 0 && info->width < 10000' failed") << bad;
        frames.info = good;
        frames.info.height = bad;
        EXPECT_DEATH(frames.Feed(handle), "Assertion `info->height > 0 && info->height < 10000' failed") << bad;
        frames.info = good;
    }
    frames.info.bgr24stride = 0;
    EXPECT_DEATH(frames.Feed(handle), "Assertion `info->bgr24stride > 0' failed");
    frames.info = good;
    frames.info.bgr24ForEachBlock = nullptr;
    EXPECT_DEATH(frames.Feed(handle), "Assertion `info->bgr24ForEachBlock' failed");
}

TEST(CallingOrderDeathTest, ObjectsBeforeTheFirstFrameAreFatal) {
    Handle handle;
    MDObjectInfo object = {};
    EXPECT_DEATH(h18(handle, &object), "Assertion `_isObject' failed");
}
