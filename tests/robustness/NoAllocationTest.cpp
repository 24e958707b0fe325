// Does a running detector ask for memory?  Not once the grid is known and nothing moves; and not with objects either, once
// as much moved as moves now.  Reading the results never does.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationGate.h"
#include "StreamScene.h"
#include "detector/MotionDetector.h"

namespace {

using AllocationGate::AllocationsOf;
using Kit::InputKind;
using Kit::Picture;

constexpr int columns = 48, rows = 36, blocks = columns * rows;

class NoAllocationTest : public testing::TestWithParam<InputKind> {
protected:
    NoAllocationTest()
        : random(11),
          feed(GetParam(), Kit::oneSecond / 5),
          ground(Kit::Texture(columns, rows, random, 60, 180)),
          image(3 * blocks),
          mask(blocks) {
        h15(&handle);
        std::uint8_t left[] = {1, 1, 0}, right[] = {0, 1, 1};
        MDZoneInfo zones[] = {{left, 3, 1, 0.3f, 0.0f, 0.0f}, {right, 3, 1, 0.3f, 0.05f, 0.05f}};
        for (MDZoneInfo& zone : zones) h12(&handle, &zone);
    }
    ~NoAllocationTest() override { h14(&handle); }

    // Allocations of one frame.
    long Show(const Picture& picture) {
        feed.isIFrame = GetParam() == InputKind::PartlyH264 ? frame % 12 == 0 || frame < 30 : frame % 12 == 0;
        feed.Refer(previous.empty() ? picture : previous.back());
        previous.assign(1, picture);
        ++frame;
        DetectionInfo info = feed.Next(picture);
        return AllocationsOf([&] { h13(&handle, &info); });
    }

    // Likewise of everything else a host calls; objects read are added up.
    long ReadEverything() {
        return AllocationsOf([&] {
            MDResultInfo summary{};
            MDZoneDetectionInfo zone{};
            MDObjectInfo object{};
            h17(&handle, &summary);
            if (h19(&handle, &zone) == COREMD_DELIVERED)
                while (h18(&handle, &object) == COREMD_DELIVERED) ++objects;
            h33(&handle, image.data(), mask.data());
            h35(&handle, 0);
            h36(&handle, 0);
            h20(image.data(), image.data(), 3);
            h16();
            h34();
        });
    }

    Picture WithNoise() {
        Picture picture = ground;
        Kit::AddNoise(picture, random, 1, 3);
        return picture;
    }

    // Few large things that touch, many small ones, and all stages between, again and again.
    Picture WithThings(int stage) {
        Picture picture = ground;
        const int distance = 3 + stage % 9;
        for (int y = stage % 2; y < rows; y += distance)
            for (int x = stage % 3; x < columns; x += distance)
                Kit::Fill(picture, {x, y, distance - 2, distance - 2}, picture.Y(x, y) > 120 ? 20 : 240);
        return picture;
    }

    DetectorHandle handle = nullptr;
    Kit::SeededRandom random;
    Kit::FrameFeed feed;
    Picture ground;
    std::vector<Picture> previous;
    std::vector<std::uint8_t> image;
    std::vector<std::int32_t> mask;
    int frame = 0;
    long objects = 0;
};

// Six phases of frame skipping are 396 updates: the background is wiped in MPEG-4 mode, and learned again.
TEST_P(NoAllocationTest, StillSceneAsksForNothing) {
    EXPECT_GT(Show(ground), 50);  // the buffers
    for (int i = 0; i < 450; ++i) {
        ASSERT_EQ(Show(WithNoise()), 0) << "frame " << frame;
        ASSERT_EQ(ReadEverything(), 0) << "frame " << frame;
    }
    EXPECT_EQ(objects, 0);
}

// Beyond the promise: pools, merger and their memory are kept from frame to frame.
TEST_P(NoAllocationTest, ObjectsAskForNothingOnceAsManyWereThere) {
    for (int i = 0; i < 30; ++i) Show(ground);
    constexpr int stages = 9 * 2 * 3;
    long warmUp = 0;
    for (int i = 0; i < 2 * stages; ++i) warmUp += Show(WithThings(i));
    EXPECT_GT(warmUp, 0);
    h36(&handle, 0);
    objects = 0;
    long steady = 0, reading = 0;
    for (int i = 0; i < 4 * stages; ++i) {
        steady += Show(WithThings(i));
        reading += ReadEverything();
    }
    EXPECT_EQ(steady, 0);
    EXPECT_EQ(reading, 0);
    EXPECT_GT(objects, 4 * stages);
}

INSTANTIATE_TEST_SUITE_P(Kinds, NoAllocationTest,
                         testing::Values(InputKind::Standard, InputKind::StandardWithShadows, InputKind::MPEG4,
                                         InputKind::PartlyH264),
                         Kit::NameOfKind<testing::TestParamInfo<InputKind>>);

}  // namespace
