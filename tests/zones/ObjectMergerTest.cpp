// Does the merger do what plain sweeps over the list do?  The rule is written down here once more, in its plainest form,
// and both run on the same pools: random boxes, lattices, chains, boxes that are none.
#include "zones/ObjectMerger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "SeededRandom.h"
#include "zones/LeanObjects.h"

namespace {

using MD::MotionObject;
using MD::MotionObjectPool;

struct Cell {
    short x, y;
};
using Cells = std::vector<Cell>;

// What an outsider sees of a pool's objects, in order.
struct Seen {
    std::vector<short> xs, ys;
    int left, right, top, bottom, capacity;
    bool operator==(const Seen&) const = default;
};

void Fill(MotionObjectPool& pool, const std::vector<Cells>& objects, int width, int height, bool areLean = false) {
    pool.Inic(width, height);
    for (const Cells& cells : objects) {
        std::vector<short> xs, ys;
        for (const Cell cell : cells) {
            xs.push_back(cell.x);
            ys.push_back(cell.y);
        }
        const int count = static_cast<int>(cells.size());
        if (areLean) MD::LeanObjects::Add(pool, xs.data(), ys.data(), count, width * height);
        else pool.Add(xs.data(), ys.data(), count, width * height);
    }
}

std::vector<Seen> Look(const MotionObjectPool& pool) {
    std::vector<Seen> seen;
    for (const MotionObject* o = pool._busyList._first; o; o = o->next)
        seen.push_back({{o->motionX, o->motionX + o->objectPixelsCount},
                        {o->motionY, o->motionY + o->objectPixelsCount},
                        o->minX,
                        o->maxX,
                        o->minY,
                        o->maxY,
                        o->_realBufferLenght});
    EXPECT_EQ(static_cast<int>(seen.size()), pool._busyList._objectsCount);
    return seen;
}

bool SweepPlainly(MotionObjectPool& pool) {
    bool hasMerged = false;
    for (MotionObject* a = pool._busyList._last; a;) {
        MotionObject* const predecessor = a->prev;
        for (MotionObject* b = pool._busyList._first; b != a; b = b->next) {
            if (b->maxX + 1 < a->minX || b->minX - 1 > a->maxX || b->maxY + 1 < a->minY || b->minY - 1 > a->maxY) continue;
            b->CopyMotionPixels(a);
            pool.RemoveFromBusy(a);
            hasMerged = true;
            break;
        }
        a = predecessor;
    }
    return hasMerged;
}

// Merges both ways, `change` having its way with both pools before; returns the number of objects left.
std::size_t MergeBothWays(
    const std::vector<Cells>& objects, int width, int height,
    const std::function<void(MotionObjectPool&)>& change = [](MotionObjectPool&) {}) {
    MotionObjectPool plain;
    Fill(plain, objects, width, height);
    change(plain);
    while (SweepPlainly(plain)) {
    }
    const std::vector<Seen> expected = Look(plain);
    for (const bool areLean : {false, true}) {
        MotionObjectPool quick;
        Fill(quick, objects, width, height, areLean);
        change(quick);
        MD::ObjectMerger merger;
        merger.Merge(quick);
        EXPECT_TRUE(Look(quick) == expected) << areLean;
    }
    return expected.size();
}

// Objects of one to five blocks strewn over a box.
std::vector<Cells> Strew(Kit::SeededRandom& random, int count, int width, int height, int reach) {
    std::vector<Cells> objects;
    for (int i = 0; i < count; ++i) {
        const int x = random.Between(0, width - 1);
        const int y = random.Between(0, height - 1);
        Cells cells;
        for (int blocks = random.Between(1, 5); blocks > 0; --blocks) {
            const auto step = [&] { return random.Between(0, reach); };
            cells.push_back(
                {static_cast<short>(std::min(x + step(), width - 1)), static_cast<short>(std::min(y + step(), height - 1))});
        }
        objects.push_back(cells);
    }
    return objects;
}

TEST(ObjectMergerTest, NothingToMergeInAnEmptyPool) {
    EXPECT_EQ(MergeBothWays({}, 8, 8), 0u);
    EXPECT_EQ(MergeBothWays({{{1, 1}}}, 8, 8), 1u);
}

TEST(ObjectMergerTest, CornersTouchAndOneEmptyColumnParts) {
    EXPECT_EQ(MergeBothWays({{{1, 1}}, {{2, 2}}}, 8, 8), 1u);
    EXPECT_EQ(MergeBothWays({{{1, 1}}, {{3, 1}}}, 8, 8), 2u);
}

TEST(ObjectMergerTest, RandomObjectsFromSparseToCrowded) {
    Kit::SeededRandom random(20);
    std::size_t merged = 0, apart = 0;
    for (int round = 0; round < 400; ++round) {
        const int width = random.Between(1, 120), height = random.Between(1, 90);
        const int count = random.Between(1, round % 4 == 0 ? 20 : 400);
        const std::size_t left = MergeBothWays(Strew(random, count, width, height, random.Between(0, 7)), width, height);
        merged += static_cast<std::size_t>(count) - left;
        apart += left;
    }
    EXPECT_GT(merged, 10000u);
    EXPECT_GT(apart, 2000u);
}

TEST(ObjectMergerTest, FramesInsideFramesAndChains) {
    std::vector<Cells> chain, frames;
    for (short i = 0; i < 200; ++i) chain.push_back({{static_cast<short>(i * 2), i}, {static_cast<short>(i * 2 + 1), i}});
    EXPECT_EQ(MergeBothWays(chain, 500, 300), 1u);
    for (short i = 0; i < 40; ++i)  // boxes within boxes, given by two corners
        frames.push_back({{static_cast<short>(3 * i), static_cast<short>(3 * i)},
                          {static_cast<short>(300 - 3 * i), static_cast<short>(260 - 3 * i)}});
    EXPECT_EQ(MergeBothWays(frames, 301, 261), 1u);
}

// Thousands of boxes, each in every bucket of the grid: must not be looked at one bucket after another.
TEST(ObjectMergerTest, ManyBoxesOverTheWholeGrid) {
    std::vector<Cells> rings, halves;
    for (int copy = 0; copy < 60; ++copy)
        for (short i = 0; i < 50; ++i) rings.push_back({{i, i}, {static_cast<short>(299 - i), static_cast<short>(299 - i)}});
    EXPECT_EQ(MergeBothWays(rings, 300, 300), 1u);
    for (const Cells& ring : rings) {  // two crowds that never meet, one before the other
        halves.push_back({{static_cast<short>(ring[0].x / 3), ring[0].y}, {static_cast<short>(ring[1].x / 3), ring[1].y}});
        halves.push_back(
            {{static_cast<short>(200 + ring[0].x / 3), ring[0].y}, {static_cast<short>(200 + ring[1].x / 3), ring[1].y}});
    }
    EXPECT_EQ(MergeBothWays(halves, 300, 300), 2u);
}

TEST(ObjectMergerTest, LatticeStaysApart) {
    std::vector<Cells> lattice;
    for (short y = 0; y < 90; y = static_cast<short>(y + 2))
        for (short x = 0; x < 160; x = static_cast<short>(x + 3)) lattice.push_back({{x, y}});
    EXPECT_EQ(MergeBothWays(lattice, 160, 90), lattice.size());
}

// A cascade: what touches nothing at first is reached by a box that grew.
TEST(ObjectMergerTest, GrowingBoxesReachWhatWasVisitedBefore) {
    std::vector<Cells> objects;
    for (short i = 0; i < 60; ++i) {
        objects.push_back({{static_cast<short>(4 * i), 0}});
        objects.push_back({{static_cast<short>(4 * i + 1), static_cast<short>(i % 7 + 2)}});
        objects.push_back({{static_cast<short>(4 * i + 2), 1}, {static_cast<short>(4 * i + 2), static_cast<short>(i % 5)}});
    }
    MergeBothWays(objects, 260, 12);
    std::vector<Cells> reversed(objects.rbegin(), objects.rend());
    MergeBothWays(reversed, 260, 12);
}

TEST(ObjectMergerTest, BlocksCountTwiceAndCapacityGrowsWhenTheyDoNotFit) {
    std::vector<Cells> objects;
    for (int copy = 0; copy < 6; ++copy) objects.push_back({{0, 0}, {1, 0}, {2, 0}});  // 18 blocks, room for 3
    EXPECT_EQ(MergeBothWays(objects, 3, 1), 1u);
}

// Objects that were cleared and taken again hold memory of their own: it is given back, which leak checkers see.
TEST(ObjectMergerTest, ObjectOutgrowsMemoryOfItsOwn) {
    const auto takeAgain = [](MotionObjectPool& pool) {
        for (int round = 0; round < 2; ++round) {
            if (round == 1) pool.ClearBusyList();
            for (short x = 1; x <= 3; ++x) {
                short y = 4;
                pool.Add(&x, &y, 1, 1);
            }
        }
    };
    EXPECT_EQ(MergeBothWays({}, 8, 8, takeAgain), 1u);
}

// Hosts can put anything into a box: the rule compares it as it stands and widens it over blocks only.
TEST(ObjectMergerTest, BoxesThatAreNone) {
    Kit::SeededRandom random(7);
    for (int round = 0; round < 200; ++round) {
        const std::uint64_t seed = random.Next();
        MergeBothWays(Strew(random, 40, 60, 40, 3), 60, 40, [seed](MotionObjectPool& pool) {
            Kit::SeededRandom own(seed);
            for (MotionObject* o = pool._busyList._first; o; o = o->next) {
                if (own.OneIn(4)) std::swap(o->minX, o->maxX);
                if (own.OneIn(4)) o->minY = static_cast<short>(o->minY + own.Between(0, 3));
                if (own.OneIn(8)) o->maxX = static_cast<short>(o->maxX + own.Between(0, 19));
            }
            if (own.OneIn(2)) pool.AddWorkingObjects(2);  // empty box, no blocks
        });
    }
}

TEST(ObjectMergerTest, MergerServesOnePoolAfterAnother) {
    Kit::SeededRandom random(3);
    MD::ObjectMerger merger;
    for (int round = 0; round < 50; ++round) {
        const std::vector<Cells> objects = Strew(random, random.Between(1, 300), 80, 60, 4);
        MotionObjectPool plain, quick;
        Fill(plain, objects, 80, 60);
        Fill(quick, objects, 80, 60);
        while (SweepPlainly(plain)) {
        }
        merger.Merge(quick);
        EXPECT_TRUE(Look(quick) == Look(plain)) << "round " << round;
    }
}

}  // namespace
