// Which box do blocks span, and when do two boxes touch?
#include "utils/CellBox.h"

#include <gtest/gtest.h>

namespace {

using MD::BoxOfCells;
using MD::CellBox;
using MD::emptyCellBox;
using MD::Touch;
using MD::Union;

constexpr CellBox box{2, 5, 3, 4};

}  // namespace

TEST(CellBox, EqualInEverySideOnly) {
    EXPECT_EQ(box, (CellBox{2, 5, 3, 4}));
    EXPECT_NE(box, (CellBox{1, 5, 3, 4}));
    EXPECT_NE(box, (CellBox{2, 6, 3, 4}));
    EXPECT_NE(box, (CellBox{2, 5, 2, 4}));
    EXPECT_NE(box, (CellBox{2, 5, 3, 5}));
}

TEST(CellBox, OfNoBlocksIsEmpty) {
    EXPECT_EQ(BoxOfCells(nullptr, nullptr, 0), emptyCellBox);
    EXPECT_EQ(Union(emptyCellBox, emptyCellBox), emptyCellBox);
    EXPECT_EQ(Union(emptyCellBox, box), box);
    EXPECT_EQ(Union(box, emptyCellBox), box);
}

TEST(CellBox, SpansItsBlocks) {
    const short xs[] = {4, -2, 9}, ys[] = {7, 8, -1};
    EXPECT_EQ(BoxOfCells(xs, ys, 1), (CellBox{4, 4, 7, 7}));
    EXPECT_EQ(BoxOfCells(xs, ys, 3), (CellBox{-2, 9, -1, 8}));
    EXPECT_EQ(Union(box, (CellBox{0, 3, 4, 9})), (CellBox{0, 5, 3, 9}));
}

TEST(CellBox, TouchesOverlapsAndNeighboursDiagonallyToo) {
    for (int left = 0; left <= 8; ++left)
        for (int top = 0; top <= 8; ++top) {
            const CellBox cell{left, left, top, top};
            const bool touches = left >= 1 && left <= 6 && top >= 2 && top <= 5;
            EXPECT_EQ(Touch(box, cell), touches) << left << ' ' << top;
            EXPECT_EQ(Touch(cell, box), touches) << left << ' ' << top;
        }
}
