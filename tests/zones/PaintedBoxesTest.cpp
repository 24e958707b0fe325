// Does painting tell the boxes that touch an earlier one, as comparing each with each does?
#include "zones/PaintedBoxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "SeededRandom.h"

namespace {

using MD::CellBox;
using MD::PaintedBoxes;

bool TouchEvenApart(CellBox a, CellBox b) { return Touch({a.left - 1, a.right, a.top, a.bottom}, b); }
bool TouchNotAtCorners(CellBox a, CellBox b) {
    const bool columnsMeet = a.left <= b.right && b.left <= a.right, rowsMeet = a.top <= b.bottom && b.top <= a.bottom;
    return Touch(a, b) && (columnsMeet || rowsMeet);
}

// Boxes of one cell to the size given, somewhere on the plane, its borders included.
std::vector<CellBox> Strew(Kit::SeededRandom& random, int count, int columns, int rows, int widest, int highest) {
    std::vector<CellBox> boxes;
    for (int i = 0; i < count; ++i) {
        const int width = random.Between(1, std::min(widest, columns)), height = random.Between(1, std::min(highest, rows));
        const int left = random.Between(0, columns - width), top = random.Between(0, rows - height);
        boxes.push_back({left, left + width - 1, top, top + height - 1});
    }
    return boxes;
}

// Over planes and boxes of many shapes; counts how often boxes touched and did not.
template <class Rule>
bool PaintingEquals(Rule touch, int& touching, int& apart) {
    Kit::SeededRandom random(31);
    PaintedBoxes painted;  // one for all: nothing of the last plane is left on the next
    for (int round = 0; round < 300; ++round) {
        const int columns = random.Between(1, 60), rows = random.Between(1, 40);
        const std::vector<CellBox> boxes =
            Strew(random, random.Between(1, 60), columns, rows, random.Between(1, 20), random.Between(1, 4));
        EXPECT_TRUE(painted.Start(columns, rows, columns * rows));
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            EXPECT_TRUE(painted.IsPaintable(boxes[i]));
            const bool expected = std::any_of(boxes.begin(), boxes.begin() + static_cast<std::ptrdiff_t>(i),
                                              [&](CellBox earlier) { return touch(boxes[i], earlier); });
            if (painted.Paint(boxes[i]) != expected) return false;
            ++(expected ? touching : apart);
        }
    }
    return true;
}

}  // namespace

TEST(PaintedBoxesTest, TouchIsThatOfBoxes) {
    int touching = 0, apart = 0;
    EXPECT_TRUE(PaintingEquals(MD::Touch, touching, apart));
    EXPECT_GT(touching, 1000);
    EXPECT_GT(apart, 1000);
}

TEST(PaintedBoxesTest, ComparisonNoticesPlantedFaults) {
    int touching = 0, apart = 0;
    EXPECT_FALSE(PaintingEquals(TouchEvenApart, touching, apart));
    EXPECT_FALSE(PaintingEquals(TouchNotAtCorners, touching, apart));
}

TEST(PaintedBoxesTest, OnlyWhatLiesOnThePlaneIsPaintable) {
    PaintedBoxes painted;
    ASSERT_TRUE(painted.Start(10, 5, 100));
    EXPECT_TRUE(painted.IsPaintable({0, 9, 0, 4}));
    for (const CellBox box : {CellBox{-1, 2, 0, 0}, CellBox{8, 10, 0, 0}, CellBox{0, 0, -1, 2}, CellBox{0, 0, 3, 5},
                              CellBox{5, 4, 1, 1}, CellBox{1, 1, 3, 2}, MD::emptyCellBox})
        EXPECT_FALSE(painted.IsPaintable(box)) << box.left << ' ' << box.right << ' ' << box.top << ' ' << box.bottom;
}

// What painting costs must not outgrow the number of boxes.
TEST(PaintedBoxesTest, FewBoxesAreNotWorthAPlaneNorManyLargeOnes) {
    PaintedBoxes painted;
    EXPECT_FALSE(painted.Start(100, 100, 100));
    EXPECT_FALSE(painted.Start(9999, 9999, 32767));
    EXPECT_FALSE(painted.Start(0, 0, 30));
    ASSERT_TRUE(painted.Start(100, 64, 100));
    int boxes = 0;
    for (; painted.IsPaintable({0, 99, 0, 63}); ++boxes) painted.Paint({0, 99, 0, 63});
    EXPECT_EQ(boxes, 1);
    EXPECT_TRUE(painted.IsPaintable({3, 3, 3, 3}));
}
