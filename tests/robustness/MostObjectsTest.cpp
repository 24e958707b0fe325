// How many objects can one zone hold, and on which grid can that end the process?  docs/limits.md states the bound: a square
// of two by two blocks holds blocks of one object only, so that there are at most ceil(width / 2) * ceil(height / 2)
// objects; grids of an even number of rows can hold as many.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationGate.h"
#include "StreamScene.h"
#include "detector/MotionDetector.h"

namespace {

constexpr int Bound(int width, int height) { return (width + 1) / 2 * ((height + 1) / 2); }

// Two blocks join if one lies in the other's diamond: two columns sideways, one row and one column up and down.
bool Join(int x, int y, int otherX, int otherY) {
    const int dx = std::abs(x - otherX), dy = std::abs(y - otherY);
    return (dy == 0 && dx <= 2) || (dy == 1 && dx <= 1);
}

// The most blocks of which no two join: rows joined to the row above only, so that the best over all sets of blocks of one
// row is enough to go on with.
int MostSeparateBlocks(int width, int height) {
    const unsigned sets = 1u << width;
    const auto areSeparate = [&](unsigned above, unsigned below, int rowDistance) {
        for (int x = 0; x < width; ++x)
            for (int other = 0; other < width; ++other)
                if ((above >> x & 1u) && (below >> other & 1u) && (rowDistance > 0 || x != other) &&
                    Join(x, 0, other, rowDistance))
                    return false;
        return true;
    };
    std::vector<unsigned> rows;
    for (unsigned set = 0; set < sets; ++set)
        if (areSeparate(set, set, 0)) rows.push_back(set);
    std::vector<int> best(rows.size(), 0), next(rows.size());
    for (int y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            next[i] = -1;
            for (std::size_t above = 0; above < rows.size(); ++above)
                if (y == 0 || areSeparate(rows[above], rows[i], 1))
                    next[i] = std::max(next[i], best[above] + __builtin_popcount(rows[i]));
        }
        best = next;
    }
    return *std::max_element(best.begin(), best.end());
}

// Every fourth block, every second row moved by two.
Kit::Picture WithMostObjects(Kit::Picture picture) {
    for (int y = 0; y < picture.Rows(); ++y)
        for (int x = y % 2 * 2; x < picture.Columns(); x += 4) picture.Y(x, y) = 250;
    return picture;
}

int ObjectsFound(int width, int height) {
    const Kit::Picture ground(width, height);
    Kit::FrameFeed feed(Kit::InputKind::Standard, Kit::oneSecond);
    MD::MotionDetector detector;
    detector._processZones = false;  // before the merger: what touches diagonally in a box would become one
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    detector.AddMDZone(&zone);
    for (int frame = 0; frame < 12; ++frame) {
        DetectionInfo info = feed.Next(frame < 11 ? ground : WithMostObjects(ground));
        detector.Detect(&info, true);
    }
    MDResultInfo summary{};
    MDZoneDetectionInfo result{};
    detector.GetResultInfo(&summary);
    detector.GetNextMDZoneResult(&result);
    return result.objectsCount;
}

TEST(MostObjectsTest, BoundHoldsOnEverySmallGridAndIsReachedWithEvenRows) {
    for (int width = 1; width <= 10; ++width)
        for (int height = 1; height <= 10; ++height) {
            const int most = MostSeparateBlocks(width, height);
            EXPECT_LE(most, Bound(width, height)) << width << 'x' << height;
            if (height % 2 == 0) {
                EXPECT_EQ(most, Bound(width, height)) << width << 'x' << height;
            }
        }
    EXPECT_LT(MostSeparateBlocks(7, 3), Bound(7, 3));  // odd rows: not always reached
}

TEST(MostObjectsTest, DetectorFindsAsMany) {
    for (const auto& [width, height] : {std::pair{1, 2}, {2, 2}, {3, 4}, {9, 6}, {16, 10}, {101, 40}})
        EXPECT_EQ(ObjectsFound(width, height), Bound(width, height)) << width << 'x' << height;
}

// Storage follows the blocks, not the grid that every object has the capacity for: that would be 17 GB.
TEST(MostObjectsTest, ThirtyThousandObjectsCostWhatTheirBlocksDo) {
    const Kit::Picture ground(480, 270);
    Kit::FrameFeed feed(Kit::InputKind::Standard, Kit::oneSecond);
    MD::MotionDetector detector;
    std::uint8_t cell = 1;
    MDZoneInfo zone{&cell, 1, 1, 0.3f, 0.0f, 0.0f};
    detector.AddMDZone(&zone);
    std::size_t before = 0;
    for (int frame = 0; frame < 12; ++frame) {
        DetectionInfo info = feed.Next(frame < 11 ? ground : WithMostObjects(ground));
        before = AllocationGate::LiveBytes();
        detector.Detect(&info, true);
    }
    EXPECT_EQ(detector._zonePool._busyList._objectsCount, 32400);
    EXPECT_EQ(detector._zonePool._busyList._first->_realBufferLenght, 480 * 270);
    EXPECT_LT(AllocationGate::LiveBytes() - before, std::size_t{24} << 20);
}

// 480 x 270 blocks of 4 x 4 pixels: a full-HD picture. No grid with a bound of at most 32767 can end the process.
TEST(MostObjectsTest, FullHDInBlocksOfFourPixelsIsSafe) {
    EXPECT_EQ(ObjectsFound(480, 270), 32400);
    EXPECT_LE(Bound(362, 362), 32767);
}

TEST(MostObjectsDeathTest, OneMoreThan32767EndsTheProcess) {
    EXPECT_EQ(Bound(512, 256), 32768);
    EXPECT_DEATH(ObjectsFound(512, 256), "motionObjectsCount >= 0");
}

// An object that fills the grid and is too small: only a fraction above 1 can do that.
TEST(MostObjectsDeathTest, FractionAboveOneWithAFullGridEndsTheProcess) {
    const auto show = [](float minWidth) {
        const Kit::Picture ground(4, 3);
        Kit::Picture moved = ground;
        Kit::Fill(moved, moved.Whole(), 250);
        Kit::FrameFeed feed(Kit::InputKind::Standard, Kit::oneSecond);
        MD::MotionDetector detector;
        std::uint8_t cell = 1;
        MDZoneInfo zone{&cell, 1, 1, 0.3f, minWidth, 0.0f};
        detector.AddMDZone(&zone);
        for (int frame = 0; frame < 12; ++frame) {
            DetectionInfo info = feed.Next(frame < 11 ? ground : moved);
            detector.Detect(&info, true);
        }
        return detector._mergedPool._busyList._objectsCount;
    };
    EXPECT_EQ(show(1.0f), 1);
    EXPECT_EQ(show(1.2f), 1);  // 4.8 blocks, truncated to 4
    EXPECT_DEATH(show(1.25f), "mOBlocksCount > 0 && mOBlocksCount < blockCount");
}

}  // namespace
