// Which objects become one?  The merge of the zones' objects by their bounding boxes, and the labels after it.
#include <algorithm>
#include <array>
#include <initializer_list>
#include <random>
#include <utility>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Frame;
using DetectorKit::Picture;

using Cells = std::vector<std::pair<int, int>>;  // column, row

class MergeTest : public DetectorKit::DetectorTest {
protected:
    // An empty scene, ready for objects.
    void UseGrid(int columns, int rows) {
        Frame still(columns, rows);
        FillRing(still);
    }

    void AddObject(const Cells& cells) {
        std::vector<short> xs, ys;
        for (const auto& [x, y] : cells) {
            xs.push_back(static_cast<short>(x));
            ys.push_back(static_cast<short>(y));
        }
        detector._mergedPool.Add(xs.data(), ys.data(), static_cast<int>(cells.size()), detector.blockCount);
    }

    // Cells of the merged objects, in list order.
    std::vector<Cells> Objects() const {
        std::vector<Cells> objects;
        for (const MD::MotionObject* o = detector._mergedPool._busyList._first; o; o = o->next) {
            objects.emplace_back();
            for (int i = 0; i < o->objectPixelsCount; ++i) objects.back().emplace_back(o->motionX[i], o->motionY[i]);
        }
        return objects;
    }

    std::vector<Cells> Merged(std::initializer_list<Cells> objects) {
        for (const Cells& cells : objects) AddObject(cells);
        detector.MergeMDZonesResult();
        return Objects();
    }

    static bool BoxesTouch(const Cells& a, const Cells& b) {
        const auto box = [](const Cells& cells) {
            int left = 1000, right = -1, top = 1000, bottom = -1;
            for (const auto& [x, y] : cells) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
            return std::array{left, right, top, bottom};
        };
        const auto [aLeft, aRight, aTop, aBottom] = box(a);
        const auto [bLeft, bRight, bTop, bBottom] = box(b);
        return bRight + 1 >= aLeft && bLeft - 1 <= aRight && bBottom + 1 >= aTop && bTop - 1 <= aBottom;
    }

    // The rule in its plainest form. From the tail on, each object goes into the first of the list that it touches.
    static void SweepUntilNothingTouches(std::vector<Cells>& objects) {
        for (bool hasMerged = true; hasMerged;) {
            hasMerged = false;
            for (std::size_t a = objects.size(); a-- > 1;) {
                std::size_t b = 0;
                while (b < a && !BoxesTouch(objects[a], objects[b])) ++b;
                if (b == a) continue;
                objects[b].insert(objects[b].end(), objects[a].begin(), objects[a].end());
                objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(a));
                hasMerged = true;
            }
        }
    }

    // One frame in which the blocks of the picture light up, with the zones already added.
    void Show(const Picture& picture) {
        const int columns = static_cast<int>(picture.front().size()), rows = static_cast<int>(picture.size());
        UseGrid(columns, rows);
        Frame moved(columns, rows);
        const std::vector<std::uint8_t> lit = DetectorKit::MaskOf(picture);
        for (std::size_t i = 0; i < lit.size(); ++i)
            if (lit[i]) moved.Y()[i] = 200;
        Feed(moved, 0);
    }
};

TEST_F(MergeTest, BoxesThatTouchAtACornerAreMerged) {
    AddZone({"##..", "##..", "....", "...."});
    AddZone({"....", "....", "..##", "..##"});
    Show({"####", "####", "####", "####"});
    EXPECT_EQ(Objects(), (std::vector<Cells>{{{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 2}, {3, 2}, {2, 3}, {3, 3}}}));
    EXPECT_EQ(Labels(), (Picture{"11..", "11..", "..11", "..11"}));
}

TEST_F(MergeTest, BoxesWithAnEmptyColumnBetweenThemAreNotMerged) {
    AddZone({"##...", "##..."});
    AddZone({"...##", "...##"});
    Show({"##.##", "##.##"});
    EXPECT_EQ(Objects().size(), 2u);
    EXPECT_EQ(Labels(), (Picture{"11.22", "11.22"}));
}

TEST_F(MergeTest, BoxesWithAnEmptyRowBetweenThemAreNotMerged) {
    Show({"##", "..", "##"});
    EXPECT_EQ(Labels(), (Picture{"11", "..", "22"}));
}

// Two objects of one zone that the fill keeps apart: no cell of one is near a cell of the other, but their boxes touch.
TEST_F(MergeTest, ObjectsOfOneZoneAreMergedToo) {
    Show({"###...", "#.....", "#....#", ".....#", "..####"});
    ASSERT_EQ(Objects().size(), 1u);
    EXPECT_EQ(Objects()[0].size(), 11u);
    EXPECT_EQ(Labels(), (Picture{"111...", "1.....", "1....1", ".....1", "..1111"}));
}

TEST_F(MergeTest, BoxesNotCellsDecide) {
    UseGrid(9, 5);
    EXPECT_EQ(Merged({{{0, 0}, {8, 4}}, {{4, 2}}}), (std::vector<Cells>{{{0, 0}, {8, 4}, {4, 2}}}));
}

TEST_F(MergeTest, TouchIsOneBlockInEveryDirection) {
    UseGrid(7, 7);
    for (const auto& [x, y] : Cells{{1, 1}, {3, 1}, {5, 1}, {5, 3}, {5, 5}, {3, 5}, {1, 5}, {1, 3}}) {
        detector._mergedPool.ReleaseBusyList();
        EXPECT_EQ(Merged({{{3, 3}}, {{x, y}}}).size(), 2u) << x << ' ' << y;
        detector._mergedPool.ReleaseBusyList();
        EXPECT_EQ(Merged({{{3, 3}}, {{(x + 3) / 2, (y + 3) / 2}}}).size(), 1u) << x << ' ' << y;
    }
}

// From the tail: the last object goes into the earliest one that it touches, which then touches the middle one.
TEST_F(MergeTest, EarliestTouchingObjectAbsorbs) {
    UseGrid(6, 2);
    EXPECT_EQ(Merged({{{0, 0}}, {{4, 0}}, {{1, 0}, {3, 0}}}), (std::vector<Cells>{{{0, 0}, {1, 0}, {3, 0}, {4, 0}}}));
}

TEST_F(MergeTest, SweepWalksFromTheTail) {
    UseGrid(6, 2);
    EXPECT_EQ(Merged({{{0, 0}}, {{1, 0}}, {{2, 0}}}), (std::vector<Cells>{{{0, 0}, {1, 0}, {2, 0}}}));
    detector._mergedPool.ReleaseBusyList();
    // 3 touches 2 only, and 2, grown, goes into 1 with the cells of 3.
    EXPECT_EQ(Merged({{{0, 0}}, {{1, 1}}, {{2, 0}, {2, 1}}}), (std::vector<Cells>{{{0, 0}, {1, 1}, {2, 0}, {2, 1}}}));
}

// The third touches neither of the others, but the box around both: found by the second sweep.
TEST_F(MergeTest, SweepsRepeatUntilNothingTouches) {
    UseGrid(6, 5);
    EXPECT_EQ(Merged({{{0, 2}}, {{1, 3}, {4, 3}}, {{4, 1}}}), (std::vector<Cells>{{{0, 2}, {1, 3}, {4, 3}, {4, 1}}}));
}

TEST_F(MergeTest, BoxGrowsWithTheAbsorbedCells) {
    UseGrid(9, 5);
    Merged({{{2, 2}}, {{3, 1}, {3, 3}}});
    const MD::MotionObject* merged = detector._mergedPool._busyList._first;
    EXPECT_EQ(merged->minX, 2);
    EXPECT_EQ(merged->maxX, 3);
    EXPECT_EQ(merged->minY, 1);
    EXPECT_EQ(merged->maxY, 3);
    EXPECT_EQ(detector._mergedPool._busyList._objectsCount, 1);
    EXPECT_EQ(detector._mergedPool._freeList._objectsCount, 0);  // absorbed objects are destroyed
}

TEST_F(MergeTest, LabelsArePositionsAfterTheMerge) {
    UseGrid(9, 1);
    Merged({{{0, 0}}, {{4, 0}}, {{1, 0}}, {{8, 0}}});
    EXPECT_EQ(Labels(), (Picture{"11..2...3"}));
}

TEST_F(MergeTest, NoObjectsAndOneObjectAreLeftAlone) {
    UseGrid(3, 1);
    EXPECT_TRUE(Merged({}).empty());
    EXPECT_EQ(Merged({{{1, 0}}}), (std::vector<Cells>{{{1, 0}}}));
}

// Zones that overlap each find the object; merged, its shared cells are listed once per zone.
TEST_F(MergeTest, CellsSharedByZonesAreListedTwice) {
    AddZone({"###...", "......"});
    AddZone({".#####", "......"});
    Show({"####..", "......"});
    EXPECT_EQ(Objects(), (std::vector<Cells>{{{0, 0}, {1, 0}, {2, 0}, {1, 0}, {2, 0}, {3, 0}}}));
    EXPECT_EQ(Labels(), (Picture{"1111..", "......"}));
    MDZoneDetectionInfo zone{};
    MDObjectInfo object{};
    ASSERT_EQ(detector.GetNextMDZoneResult(&zone), COREMD_DELIVERED);
    ASSERT_EQ(detector.GetNextMotionObject(&object), COREMD_DELIVERED);
    EXPECT_EQ(object.pixelsCount, 6);
    EXPECT_EQ(object.left, 0);
    EXPECT_EQ(object.right, 3);
}

// Any number of objects, in boxes of any size: the cells of every merged object in the order in which sweeps move them.
TEST_F(MergeTest, RandomObjectsAreMergedSweepBySweep) {
    UseGrid(60, 40);
    std::mt19937 random(20240229);
    const auto draw = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    int mergedTogether = 0;
    for (int round = 0; round < 400; ++round) {
        detector._mergedPool.ReleaseBusyList();
        std::vector<Cells> expected;
        const int objectCount = 1 + draw(round % 4 == 0 ? 200 : 40), size = 1 + draw(round % 3 == 0 ? 12 : 3);
        for (int i = 0; i < objectCount; ++i) {
            Cells cells;
            const int left = draw(60 - size), top = draw(40 - size);
            for (int cell = draw(4); cell >= 0; --cell) cells.emplace_back(left + draw(size), top + draw(size));
            expected.push_back(cells);
            AddObject(cells);
        }
        SweepUntilNothingTouches(expected);
        detector.MergeMDZonesResult();
        ASSERT_EQ(Objects(), expected) << round;
        ASSERT_EQ(detector._mergedPool._busyList._objectsCount, static_cast<int>(expected.size()));
        mergedTogether += objectCount - static_cast<int>(expected.size());
    }
    EXPECT_GT(mergedTogether, 1000);  // the scenes are crowded enough to mean something
}

// More cells than the grid has blocks: the buffers of the absorber grow.
TEST_F(MergeTest, FullGridSeenByThreeZonesIsListedThreeTimes) {
    AddFullZone();
    AddFullZone();
    AddFullZone();
    Show({"###", "###"});
    ASSERT_EQ(Objects().size(), 1u);
    EXPECT_EQ(Objects()[0].size(), 18u);
}

}  // namespace
