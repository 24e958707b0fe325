// Are the moving blocks of a zone grouped as an obviously right, slow form groups them, on grids of every shape?
// Growing and collecting here; boxes, trimming and the similarity refinement: ObjectTrimmingKernelTest.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <numeric>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBlocks.h"
#include "KernelComparison.h"
#include "SeededRandom.h"
#include "detector/kernels/Segmentation.h"

using namespace MD::Kernels;
using Kit::GuardedBlocks;
using Kit::GuardedSide;
using Kit::KernelComparison;
using Kit::SeededRandom;
using MD::Grid;

namespace {

using Labels = std::vector<std::uint16_t>;
struct Cell {
    int x, y;
    bool operator==(const Cell&) const = default;
    auto operator<=>(const Cell&) const = default;
};
using Cells = std::vector<Cell>;

constexpr Grid grids[] = {{1, 1}, {2, 1}, {1, 2}, {13, 1}, {1, 13}, {2, 2}, {3, 3}, {7, 5}, {16, 9}, {19, 17}};

std::size_t SizeOf(Grid grid) { return static_cast<std::size_t>(grid.columns * grid.rows); }
std::size_t IndexOf(Cell c, Grid grid) { return static_cast<std::size_t>(c.y * grid.columns + c.x); }

// The shape that joins two blocks: two columns apart in one row, one column apart in the rows beside it.
struct Shape {
    int sideways = 2, upwards = 1;
    bool Joins(Cell a, Cell b) const {
        const int dx = std::abs(a.x - b.x), dy = std::abs(a.y - b.y);
        return dy <= upwards && dx <= sideways - dy;
    }
};

std::vector<std::uint8_t> DrawMask(Grid grid, int percent, SeededRandom& random) {
    std::vector<std::uint8_t> mask(SizeOf(grid));
    for (std::uint8_t& block : mask) block = random.Between(1, 100) <= percent ? std::uint8_t{255} : std::uint8_t{0};
    return mask;
}

Cells MovingCells(const std::vector<std::uint8_t>& mask, Grid grid) {
    Cells cells;
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x)
            if (mask[IndexOf({x, y}, grid)]) cells.push_back({x, y});
    return cells;
}

// Labels 1, 2, 3 ... of the groups in raster order of their first blocks, by joining pairs until nothing changes.
Labels LabelsByUnion(const Cells& cells, Grid grid, Shape shape) {
    std::vector<std::size_t> group(cells.size());
    std::iota(group.begin(), group.end(), std::size_t{0});
    for (bool hasChanged = true; hasChanged;) {
        hasChanged = false;
        for (std::size_t i = 0; i < cells.size(); ++i)
            for (std::size_t j = 0; j < cells.size(); ++j)
                if (group[j] < group[i] && shape.Joins(cells[i], cells[j])) {
                    group[i] = group[j];
                    hasChanged = true;
                }
    }
    Labels labels(SizeOf(grid), 0);
    std::map<std::size_t, std::uint16_t> labelOfGroup;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const auto next = static_cast<std::uint16_t>(labelOfGroup.size() + 1);
        labels[IndexOf(cells[i], grid)] = labelOfGroup.try_emplace(group[i], next).first->second;
    }
    return labels;
}

// Batch after batch: the free blocks around each block of the last batch, row by row, become the next batch.
Cells GrowSlowly(std::set<Cell> unassigned, Cell seed, Grid grid, Shape shape) {
    unassigned.erase(seed);
    Cells object{seed};
    for (std::size_t processed = 0, batchEnd = 1; processed < batchEnd; processed = batchEnd, batchEnd = object.size())
        for (std::size_t i = processed; i < batchEnd; ++i) {
            const Cell from = object[i];
            for (int y = 0; y < grid.rows; ++y)
                for (int x = 0; x < grid.columns; ++x)
                    if (unassigned.count({x, y}) && shape.Joins(from, {x, y})) {
                        unassigned.erase({x, y});
                        object.push_back({x, y});
                    }
        }
    return object;
}

// Arrays that end or start at an unreadable page, with room for exactly the grid.
struct Arrays {
    GuardedBlocks<std::uint16_t> map;
    GuardedBlocks<std::int16_t> xs, ys;

    Arrays(Grid grid, GuardedSide side) : map(SizeOf(grid), side), xs(SizeOf(grid), side), ys(SizeOf(grid), side) {}

    Cells Collected(int count) const {
        Cells cells;
        for (int i = 0; i < count; ++i) cells.push_back({xs[static_cast<std::size_t>(i)], ys[static_cast<std::size_t>(i)]});
        return cells;
    }
    Cells Grow(Cell seed, std::uint16_t label, Grid grid) {
        int processed = 0, count = 1;
        xs[0] = static_cast<std::int16_t>(seed.x);
        ys[0] = static_cast<std::int16_t>(seed.y);
        map[IndexOf(seed, grid)] = label;
        GrowObject({.objectsMap = map.data(), .xs = xs.data(), .ys = ys.data(), .processed = processed, .count = count},
                   label, grid);
        EXPECT_EQ(processed, count);
        return Collected(count);
    }
    bool SlackIsIntact() const { return map.SlackIsIntact() && xs.SlackIsIntact() && ys.SlackIsIntact(); }
};

// visit(grid, mask, side): empty, full and random masks, sparse and dense.
template <class Visit>
void ForEachMask(Visit visit) {
    SeededRandom random(11);
    for (const Grid grid : grids)
        for (const GuardedSide side : {GuardedSide::End, GuardedSide::Front})
            for (const int percent : {0, 100, 5, 10, 15, 20, 30, 50, 80}) visit(grid, DrawMask(grid, percent, random), side);
}

Kit::GridCase CaseOf(Grid grid, const std::vector<std::uint8_t>& mask) {
    const auto isMoving = [](std::uint8_t block) { return block != 0; };
    const bool isFull = std::all_of(mask.begin(), mask.end(), isMoving),
               isEmpty = std::none_of(mask.begin(), mask.end(), isMoving);
    return {.columns = grid.columns, .rows = grid.rows, .fill = isEmpty ? "low" : isFull ? "high" : "random"};
}

testing::AssertionResult GroupingEquals(Shape shape) {
    KernelComparison comparison;
    ForEachMask([&](Grid grid, const std::vector<std::uint8_t>& mask, GuardedSide side) {
        const Cells cells = MovingCells(mask, grid);
        Arrays a(grid, side);
        for (const Cell cell : cells) a.map[IndexOf(cell, grid)] = unassignedBlock;
        std::uint16_t label = 0;
        for (const Cell seed : cells)
            if (a.map[IndexOf(seed, grid)] == unassignedBlock) a.Grow(seed, ++label, grid);
        EXPECT_TRUE(a.SlackIsIntact());
        comparison.Compare(CaseOf(grid, mask), "objectsMap", Labels(a.map.begin(), a.map.end()),
                           LabelsByUnion(cells, grid, shape));
    });
    return comparison.Result();
}

testing::AssertionResult GrowthEquals(Shape shape) {
    KernelComparison comparison;
    SeededRandom random(12);
    ForEachMask([&](Grid grid, const std::vector<std::uint8_t>& mask, GuardedSide side) {
        const Cells cells = MovingCells(mask, grid);
        if (cells.empty()) return;
        const Cell seed = cells[static_cast<std::size_t>(random.Between(0, static_cast<int>(cells.size()) - 1))];
        Arrays a(grid, side);
        for (const Cell cell : cells) a.map[IndexOf(cell, grid)] = unassignedBlock;
        comparison.Compare(CaseOf(grid, mask), "grown cells", a.Grow(seed, 7, grid),
                           GrowSlowly({cells.begin(), cells.end()}, seed, grid, shape));
        EXPECT_TRUE(a.SlackIsIntact());
    });
    return comparison.Result();
}

// Number of objects among blocks of one row of text each: '#' moves.
int ObjectsOf(const std::vector<const char*>& rows) {
    const Grid grid{static_cast<int>(std::char_traits<char>::length(rows[0])), static_cast<int>(rows.size())};
    Arrays a(grid, GuardedSide::End);
    Cells cells;
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x)
            if (rows[static_cast<std::size_t>(y)][x] == '#') cells.push_back({x, y});
    for (const Cell cell : cells) a.map[IndexOf(cell, grid)] = unassignedBlock;
    std::uint16_t label = 0;
    for (const Cell seed : cells)
        if (a.map[IndexOf(seed, grid)] == unassignedBlock) a.Grow(seed, ++label, grid);
    return label;
}

}  // namespace

TEST(SegmentationKernel, GroupsEqualUnionOverDiamonds) { EXPECT_TRUE(GroupingEquals({})); }
TEST(SegmentationKernel, ObjectGrowsBreadthFirst) { EXPECT_TRUE(GrowthEquals({})); }

TEST(SegmentationKernel, ComparisonNoticesPlantedFaults) {
    for (const Shape shape : {Shape{.sideways = 1, .upwards = 1}, Shape{.sideways = 3, .upwards = 1},
                              Shape{.sideways = 2, .upwards = 0}, Shape{.sideways = 2, .upwards = 2}}) {
        EXPECT_FALSE(GroupingEquals(shape)) << shape.sideways << ' ' << shape.upwards;
        EXPECT_FALSE(GrowthEquals(shape)) << shape.sideways << ' ' << shape.upwards;
    }
}

TEST(SegmentationKernel, GapOfOneColumnJoins) {
    EXPECT_EQ(ObjectsOf({"#.#"}), 1);
    EXPECT_EQ(ObjectsOf({"#..#"}), 2);
    EXPECT_EQ(ObjectsOf({"#", ".", "#"}), 2);
    EXPECT_EQ(ObjectsOf({"#", "#"}), 1);
    EXPECT_EQ(ObjectsOf({"#.", ".#"}), 1);
    EXPECT_EQ(ObjectsOf({"#..", "..#"}), 2);
    EXPECT_EQ(ObjectsOf({".#", "#."}), 1);
    EXPECT_EQ(ObjectsOf({"#.#.#.#"}), 1);
}

TEST(SegmentationKernel, OnlyUnassignedBlocksAreTaken) {
    constexpr Grid grid{5, 1};
    Arrays a(grid, GuardedSide::End);
    const std::uint16_t labels[] = {65535, 65534, 65535, 3, 65535};
    std::copy(std::begin(labels), std::end(labels), a.map.begin());
    EXPECT_EQ(a.Grow({0, 0}, 9, grid), (Cells{{0, 0}, {2, 0}, {4, 0}}));
    EXPECT_EQ(Labels(a.map.begin(), a.map.end()), (Labels{9, 65534, 9, 3, 9}));
}

TEST(SegmentationKernel, GrowingGoesOnWhereItStopped) {
    constexpr Grid grid{9, 1};
    Arrays a(grid, GuardedSide::End);
    std::fill(a.map.begin(), a.map.end(), unassignedBlock);
    a.map[0] = a.map[4] = 1;
    a.xs[0] = 0;
    a.xs[1] = 4;
    int processed = 1, count = 2;  // block 0 was looked around already
    GrowObject({.objectsMap = a.map.data(), .xs = a.xs.data(), .ys = a.ys.data(), .processed = processed, .count = count}, 1,
               grid);
    EXPECT_EQ(a.Collected(count), (Cells{{0, 0}, {4, 0}, {2, 0}, {3, 0}, {5, 0}, {6, 0}, {1, 0}, {7, 0}, {8, 0}}));
}

// The groups of eight that hold foreground, as the rule has them.
Cells GroupStarts(const std::vector<std::uint8_t>& isObject, Grid grid) {
    Cells starts;
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x) {
            const Cells::value_type start{static_cast<std::int16_t>(x / 8 * 8), static_cast<std::int16_t>(y)};
            if (isObject[static_cast<std::size_t>(y * grid.columns + x)] && (starts.empty() || starts.back() != start))
                starts.push_back(start);
        }
    return starts;
}

Cells Starts(const BlockGroup* groups, std::ptrdiff_t count) {
    Cells starts;
    for (std::ptrdiff_t i = 0; i < count; ++i)
        starts.push_back({static_cast<std::int16_t>(groups[i].x), static_cast<std::int16_t>(groups[i].y)});
    return starts;
}

TEST(SegmentationKernel, CollectingEqualsRule) {
    SeededRandom random(13);
    KernelComparison comparison;
    ForEachMask([&](Grid grid, const std::vector<std::uint8_t>& isObject, GuardedSide side) {
        std::vector<std::uint8_t> isInZone = DrawMask(grid, random.Between(0, 1) * 60 + 40, random);
        for (std::uint8_t& block : isInZone) block &= 1;
        Arrays a(grid, side);
        for (std::uint16_t& label : a.map) label = static_cast<std::uint16_t>(random.Next());  // others stay
        const Labels before(a.map.begin(), a.map.end());
        const GuardedBlocks<std::uint8_t> zone(std::span<const std::uint8_t>(isInZone), side),
            objects(std::span<const std::uint8_t>(isObject), side);
        std::vector<BlockGroup> groups(static_cast<std::size_t>(CountBlockGroups(grid)));
        const std::ptrdiff_t groupCount = FindForegroundGroups(objects.data(), groups.data(), grid);
        comparison.Compare(CaseOf(grid, isObject), "groups", Starts(groups.data(), groupCount), GroupStarts(isObject, grid));
        const int count = CollectMovingBlocks({.groups = groups.data(),
                                               .groupCount = groupCount,
                                               .isInZone = zone.data(),
                                               .isObject = objects.data(),
                                               .objectsMap = a.map.data(),
                                               .xs = a.xs.data(),
                                               .ys = a.ys.data()},
                                              grid);
        std::vector<std::uint8_t> isMoving = isObject;
        Labels expected = before;
        for (std::size_t i = 0; i < isMoving.size(); ++i) {
            if (!isInZone[i]) isMoving[i] = 0;
            if (isMoving[i]) expected[i] = unassignedBlock;
        }
        comparison.Compare(CaseOf(grid, isObject), "collected cells", a.Collected(count), MovingCells(isMoving, grid));
        comparison.Compare(CaseOf(grid, isObject), "objectsMap", Labels(a.map.begin(), a.map.end()), expected);
        ASSERT_TRUE(a.SlackIsIntact());
    });
    EXPECT_TRUE(comparison.Result());
}

// Some labels have the bit that marks a block as possibly unassigned. A visit may take blocks that are yet to come, as the
// growth of an object does.
TEST(SegmentationKernel, UnassignedBlocksAreVisitedInRasterOrderUntilTaken) {
    SeededRandom random(14);
    KernelComparison comparison;
    ForEachMask([&](Grid grid, const std::vector<std::uint8_t>& isObject, GuardedSide side) {
        GuardedBlocks<std::uint16_t> map(SizeOf(grid), side);
        for (std::uint16_t& label : map) label = static_cast<std::uint16_t>(random.Between(0, 1) * 32768 + 5);
        for (std::size_t i = 0; i < map.size(); ++i)
            if (isObject[i] && random.OneIn(2)) map[i] = unassignedBlock;
        Cells expected;
        Labels left(map.begin(), map.end());
        const auto takeNext = [](auto& labels, std::size_t block) {
            for (const std::size_t ahead : {std::size_t{1}, std::size_t{6}})
                if (block + ahead < labels.size() && block % 3 == 0) labels[block + ahead] = 1;
        };
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (left[i] != unassignedBlock) continue;
            expected.push_back({static_cast<int>(i) % grid.columns, static_cast<int>(i) / grid.columns});
            takeNext(left, i);
        }
        const GuardedBlocks<std::uint8_t> objects(std::span<const std::uint8_t>(isObject), side);
        std::vector<BlockGroup> groups(static_cast<std::size_t>(CountBlockGroups(grid)));
        const std::ptrdiff_t groupCount = FindForegroundGroups(objects.data(), groups.data(), grid);
        Cells visited;
        ForEachUnassigned(groups.data(), groupCount, map.data(), grid, [&](int x, int y, std::ptrdiff_t block) {
            EXPECT_EQ(block, static_cast<std::ptrdiff_t>(IndexOf({x, y}, grid)));
            visited.push_back({x, y});
            takeNext(map, static_cast<std::size_t>(block));
        });
        comparison.Compare(CaseOf(grid, isObject), "visited cells", visited, expected);
    });
    EXPECT_TRUE(comparison.Result());
}

TEST(SegmentationKernel, AnyNonZeroByteMoves) {
    constexpr Grid grid{4, 1};
    Arrays a(grid, GuardedSide::End);
    const std::uint8_t isInZone[] = {1, 255, 2, 0}, isObject[] = {1, 255, 0, 255};
    BlockGroup groups[1];
    ASSERT_EQ(FindForegroundGroups(isObject, groups, grid), 1);
    EXPECT_EQ(CollectMovingBlocks({.groups = groups,
                                   .groupCount = 1,
                                   .isInZone = isInZone,
                                   .isObject = isObject,
                                   .objectsMap = a.map.data(),
                                   .xs = a.xs.data(),
                                   .ys = a.ys.data()},
                                  grid),
              2);
    EXPECT_EQ(Labels(a.map.begin(), a.map.end()), (Labels{65535, 65535, 0, 0}));
}

TEST(SegmentationKernelDeathTest, ObjectLargerThanTheGridStops) {
    constexpr Grid grid{2, 1};
    Arrays a(grid, GuardedSide::End);
    a.map[0] = 1;
    a.map[1] = unassignedBlock;
    int processed = 0, count = 2;  // claims both blocks, one of which is still free
    EXPECT_DEATH(
        GrowObject(
            {.objectsMap = a.map.data(), .xs = a.xs.data(), .ys = a.ys.data(), .processed = processed, .count = count}, 1,
            grid),
        ": MotionDetector\\.cpp:.*BuildCurrentMovingObject.*currentObjectMotionBlocksCount <= blockCount");
}
