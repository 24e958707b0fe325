// Do the shadow work planes start from zeros, whatever they held?  A host that has only the handle cannot write to them, and
// is spared the work; one that asked for the detector could, from then on.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "StreamScene.h"
#include "detector/MotionDetector.h"

namespace {

constexpr int columns = 12, rows = 10, blocks = columns * rows;

std::array<float*, 8> WorkPlanes(MD::MotionDetector& d) {
    return {d._backgroundLogGradientX, d._backgroundLogGradientY, d._currentLogGradientX, d._currentLogGradientY,
            d._shadowGradientSum,      d._shadowCbDifference,     d._shadowCrDifference,  d._shadowChromaSum};
}

// A textured scene over which a thing moves, seen by a detector behind a handle.
class Stream {
public:
    Stream() : _random(7), _feed(Kit::InputKind::StandardWithShadows, Kit::oneSecond / 5) {
        _ground = std::make_unique<Kit::Picture>(Kit::Texture(columns, rows, _random, 60, 180));
        h15(&handle);
        std::uint8_t cell = 1;
        MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
        h12(&handle, &zone);
    }
    ~Stream() { h14(&handle); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // One more frame, the thing in this row, in none below 0.
    void Show(int row) {
        Kit::Picture picture = *_ground;
        if (row >= 0) Kit::Fill(picture, {3, row, 4, 1}, 20);
        DetectionInfo info = _feed.Next(picture);
        h13(&handle, &info);
    }
    void Learn() {
        for (int frame = 0; frame < 60; ++frame) Show(-1);
    }

    DetectorHandle handle = nullptr;

private:
    Kit::SeededRandom _random;
    Kit::FrameFeed _feed;
    std::unique_ptr<Kit::Picture> _ground;
};

bool IsZero(const float* plane) {
    for (int i = 0; i < blocks; ++i)
        if (plane[i] != 0.0f) return false;
    return true;
}

}  // namespace

TEST(ShadowReachTest, WhatAHostWroteIsCleared) {
    Stream stream;
    stream.Learn();
    MD::MotionDetector& detector = *GetDetector(&stream.handle);
    for (int round = 0; round < 2; ++round) {
        for (float* plane : WorkPlanes(detector)) std::fill_n(plane, blocks, 7.0f);
        std::fill_n(detector._shadowSearchMask, blocks, std::uint8_t{7});
        stream.Show(-1);
        for (const float* plane : WorkPlanes(detector)) EXPECT_TRUE(IsZero(plane)) << round;
        EXPECT_EQ(std::count(detector._shadowSearchMask, detector._shadowSearchMask + blocks, 0), blocks);
    }
}

TEST(ShadowReachTest, WhatTheMakerOfADetectorWroteIsCleared) {
    Stream stream;
    stream.Learn();
    MD::MotionDetector detector;  // behind no handle
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    detector.AddMDZone(&zone);
    Kit::FrameFeed feed(Kit::InputKind::StandardWithShadows, Kit::oneSecond / 5);
    const Kit::Picture ground(columns, rows);
    for (int frame = 0; frame < 12; ++frame) {
        DetectionInfo info = feed.Next(ground);
        if (frame > 0)
            for (float* plane : WorkPlanes(detector)) std::fill_n(plane, blocks, 7.0f);
        detector.Detect(&info, true);
    }
    for (const float* plane : WorkPlanes(detector)) EXPECT_TRUE(IsZero(plane));
}

// Nobody looked until the end: the planes hold what they hold for a host that could have written all the time.
TEST(ShadowReachTest, PlanesOfADetectorOutOfReachAreClearedToo) {
    int examined = 0;
    for (const int shownLast : {-1, 0, 4, 9}) {
        Stream unseen, seen;
        GetDetector(&seen.handle);
        unseen.Learn();
        seen.Learn();
        for (const int row : {9, 0, 5, 2, shownLast}) {
            unseen.Show(row);
            seen.Show(row);
        }
        const auto planes = WorkPlanes(*GetDetector(&seen.handle)), others = WorkPlanes(*GetDetector(&unseen.handle));
        for (std::size_t i = 0; i < planes.size(); ++i) {
            EXPECT_TRUE(std::equal(planes[i], planes[i] + blocks, others[i])) << shownLast << ' ' << i;
            examined += !IsZero(planes[i]);
        }
    }
    EXPECT_GT(examined, 12);  // of 32: there was something to clear
}
