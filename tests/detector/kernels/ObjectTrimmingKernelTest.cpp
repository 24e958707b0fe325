// Does an object keep exactly the blocks that its box, the similarity refinement and its marks leave it?
// The second half of kernels/Segmentation: boxes, trimming, discarding, refining, collecting, relabelling.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
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
using MD::CellBox;
using MD::Grid;

namespace {

using Labels = std::vector<std::uint16_t>;
using Bytes = std::vector<std::uint8_t>;

constexpr Grid grids[] = {{1, 1}, {2, 1}, {1, 2}, {9, 1}, {1, 9}, {2, 2}, {3, 3}, {7, 5}, {12, 9}};
constexpr std::uint16_t label = 3, tagged = 30003, otherLabel = 4;

std::size_t SizeOf(Grid grid) { return static_cast<std::size_t>(grid.columns * grid.rows); }
std::size_t IndexOf(int x, int y, Grid grid) { return static_cast<std::size_t>(y * grid.columns + x); }

// Some blocks of a grid, each once, in random order, with every map that the kernels write.
struct Object {
    Grid grid{};
    std::vector<std::int16_t> xs, ys;
    Labels map;
    Bytes zoneResultMap, current, background, uniformMask;

    std::size_t Count() const { return xs.size(); }
    std::size_t At(std::size_t i) const { return IndexOf(xs[i], ys[i], grid); }
    ObjectBlocks Blocks() const { return {.xs = xs.data(), .ys = ys.data(), .count = static_cast<int>(xs.size())}; }
    void Append(int x, int y) {
        xs.push_back(static_cast<std::int16_t>(x));
        ys.push_back(static_cast<std::int16_t>(y));
    }
};

Object DrawObject(Grid grid, SeededRandom& random) {
    Object o;
    o.grid = grid;
    const int share = random.Between(1, 4), spread = random.Pick({0, 6, 20, 255});
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x)
            if (random.OneIn(share)) o.Append(x, y);
    for (std::size_t i = o.Count(); i > 1; --i) {
        const auto j = static_cast<std::size_t>(random.Between(0, static_cast<int>(i) - 1));
        std::swap(o.xs[i - 1], o.xs[j]);
        std::swap(o.ys[i - 1], o.ys[j]);
    }
    const std::size_t n = SizeOf(grid);
    o.map.assign(n, 0);
    for (std::uint16_t& entry : o.map) entry = random.Pick({label, tagged, tagged, tagged, otherLabel, std::uint16_t{0}});
    o.uniformMask.assign(n, 0);
    for (Bytes* plane : {&o.zoneResultMap, &o.background}) {
        plane->resize(n);
        for (std::uint8_t& byte : *plane) byte = random.Byte();
    }
    o.current = o.background;
    for (std::uint8_t& byte : o.current)
        byte = static_cast<std::uint8_t>(std::clamp(byte + random.Between(-spread, spread), 0, 255));
    return o;
}

// visit(Object&, random)
template <class Visit>
void ForEachObject(Visit visit) {
    SeededRandom random(21);
    for (const Grid grid : grids)
        for (int round = 0; round < 60; ++round) {
            Object object = DrawObject(grid, random);
            visit(object, random);
        }
}

struct Rectangle {
    int left, right, top, bottom;
    bool operator==(const Rectangle&) const = default;
};
Rectangle AsRectangle(CellBox box) { return {box.left, box.right, box.top, box.bottom}; }

// Blocks whose difference from the background is shared by more than `few` cells around them, themselves included.
int RefineSlowly(Object& o, float limit, int few) {
    int newlySet = 0;
    for (std::size_t i = 0; i < o.Count(); ++i) {
        const int x = o.xs[i], y = o.ys[i];
        if (o.map[o.At(i)] != tagged) continue;
        const float d0 = static_cast<float>(o.current[o.At(i)] - o.background[o.At(i)]);
        std::vector<std::size_t> similar;
        for (int ny = y - 1; ny <= y + 1; ++ny)
            for (int nx = x - 1; nx <= x + 1; ++nx) {
                if (nx < 0 || ny < 0 || nx >= o.grid.columns || ny >= o.grid.rows) continue;
                const std::size_t c = IndexOf(nx, ny, o.grid);
                const float d = static_cast<float>(o.current[c] - o.background[c]);
                if (o.map[c] == tagged && d - d0 <= limit && d0 - d <= limit) similar.push_back(c);
            }
        if (static_cast<int>(similar.size()) <= few) continue;
        for (const std::size_t c : similar) {
            if (!o.uniformMask[c]) ++newlySet;
            o.uniformMask[c] = 1;
        }
    }
    return newlySet;
}

using Survivors = std::vector<std::pair<int, int>>;

Survivors CollectSlowly(Object& o) {
    Survivors survivors;
    for (std::size_t i = 0; i < o.Count(); ++i) {
        std::uint16_t& value = o.map[o.At(i)];
        if (value != label && value != tagged) {
            value = 0;
        } else if (value == tagged && o.uniformMask[o.At(i)]) {
            value = 0;
        } else {
            survivors.push_back({o.xs[i], o.ys[i]});
            if (value == tagged) value = label;
        }
    }
    return survivors;
}

Kit::GridCase CaseOf(Grid grid) { return {.columns = grid.columns, .rows = grid.rows, .fill = "random"}; }

// The refinement and the collection of its survivors, on guarded arrays, against the slow form with these constants.
testing::AssertionResult RefinementEquals(float limit, int few) {
    KernelComparison comparison;
    ForEachObject([&](Object& o, SeededRandom& random) {
        const GuardedSide side = random.OneIn(2) ? GuardedSide::End : GuardedSide::Front;
        GuardedBlocks<std::uint16_t> map(std::span<const std::uint16_t>(o.map), side);
        GuardedBlocks<std::uint8_t> uniform(std::span<const std::uint8_t>(o.uniformMask), side), square(9, side);
        const GuardedBlocks<std::uint8_t> current(std::span<const std::uint8_t>(o.current), side),
            background(std::span<const std::uint8_t>(o.background), side);
        GuardedBlocks<std::int16_t> xs(o.Count(), side), ys(o.Count(), side);

        const int newlySet = RefineSimilarBlocks(o.Blocks(),
                                                 {.current = current.data(),
                                                  .background = background.data(),
                                                  .objectsMap = map.data(),
                                                  .uniformMask = uniform.data(),
                                                  .neighbourhoodMask = square.data()},
                                                 tagged, o.grid);
        const int count = CollectSurvivors(
            o.Blocks(), {.objectsMap = map.data(), .uniformMask = uniform.data(), .xs = xs.data(), .ys = ys.data()}, label,
            tagged, o.grid);
        const int newlySetSlowly = RefineSlowly(o, limit, few);
        const auto survivors = CollectSlowly(o);
        Survivors collected;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) collected.push_back({xs[i], ys[i]});
        const Kit::GridCase c = CaseOf(o.grid);
        comparison.CompareValue(c, "newlySet", newlySet, newlySetSlowly);
        comparison.Compare(c, "survivors", collected, survivors);
        comparison.Compare(c, "objectsMap", map.data(), o.map.data(), o.map.size());
        comparison.Compare(c, "uniformMask", uniform.data(), o.uniformMask.data(), o.uniformMask.size());
        EXPECT_TRUE(map.SlackIsIntact() && uniform.SlackIsIntact() && square.SlackIsIntact() && xs.SlackIsIntact() &&
                    ys.SlackIsIntact());
    });
    return comparison.Result();
}

}  // namespace

TEST(ObjectTrimmingKernel, RefinementEqualsRule) { EXPECT_TRUE(RefinementEquals(15.0f, 2)); }

TEST(ObjectTrimmingKernel, ComparisonNoticesPlantedFaults) {
    EXPECT_FALSE(RefinementEquals(14.0f, 2));
    EXPECT_FALSE(RefinementEquals(16.0f, 2));
    EXPECT_FALSE(RefinementEquals(15.0f, 1));
    EXPECT_FALSE(RefinementEquals(15.0f, 3));
}

// Three marked blocks in a row that differ alike from the background are uniform: they leave the object. With two they stay.
TEST(ObjectTrimmingKernel, ThreeSimilarNeighboursLeaveTheObject) {
    for (const int length : {2, 3}) {
        Object o;
        o.grid = {5, 1};
        for (int x = 0; x < 5; ++x) o.Append(x, 0);
        o.map.assign(5, label);
        for (int x = 1; x <= length; ++x) o.map[static_cast<std::size_t>(x)] = tagged;
        o.background = Bytes(5, 100);
        o.current = {100, 120, 135, 120, 0};  // 15 apart at most
        o.uniformMask = Bytes(5);
        Bytes square(9);
        const int newlySet = RefineSimilarBlocks(o.Blocks(),
                                                 {.current = o.current.data(),
                                                  .background = o.background.data(),
                                                  .objectsMap = o.map.data(),
                                                  .uniformMask = o.uniformMask.data(),
                                                  .neighbourhoodMask = square.data()},
                                                 tagged, o.grid);
        std::int16_t xs[5], ys[5];
        const int count = CollectSurvivors(
            o.Blocks(), {.objectsMap = o.map.data(), .uniformMask = o.uniformMask.data(), .xs = xs, .ys = ys}, label, tagged,
            o.grid);
        EXPECT_EQ(newlySet, length == 3 ? 3 : 0);
        EXPECT_EQ(count, 5 - newlySet);
        EXPECT_EQ(o.map, length == 3 ? (Labels{label, 0, 0, 0, label}) : Labels(5, label));
    }
}

TEST(ObjectTrimmingKernel, ObjectWithoutMarksStaysAsItIs) {
    ForEachObject([](Object& o, SeededRandom&) {
        std::replace(o.map.begin(), o.map.end(), tagged, label);
        const Labels before = o.map;
        Bytes square(9);
        ASSERT_EQ(RefineSimilarBlocks(o.Blocks(),
                                      {.current = o.current.data(),
                                       .background = o.background.data(),
                                       .objectsMap = o.map.data(),
                                       .uniformMask = o.uniformMask.data(),
                                       .neighbourhoodMask = square.data()},
                                      tagged, o.grid),
                  0);
        ASSERT_EQ(o.map, before);
    });
}

TEST(ObjectTrimmingKernel, BoxEqualsRule) {
    int boxes = 0, empty = 0;
    ForEachObject([&](Object& o, SeededRandom& random) {
        const Bytes counted = o.zoneResultMap;
        const bool countsAll = random.OneIn(3);
        Bytes isCounted = counted;
        const int share = random.Between(1, 4);
        for (std::uint8_t& byte : isCounted) byte = random.OneIn(share) ? byte : std::uint8_t{0};
        Rectangle expected{32767, -1, 32767, -1};
        bool hasBlocks = false;
        for (std::size_t i = 0; i < o.Count(); ++i) {
            if (!countsAll && !isCounted[o.At(i)]) continue;
            hasBlocks = true;
            expected = {std::min<int>(expected.left, o.xs[i]), std::max<int>(expected.right, o.xs[i]),
                        std::min<int>(expected.top, o.ys[i]), std::max<int>(expected.bottom, o.ys[i])};
        }
        const GuardedBlocks<std::uint8_t> mask{std::span<const std::uint8_t>(isCounted)};
        CellBox box{};
        if (!countsAll) {
            ASSERT_EQ(BoxOfCountedBlocks(o.Blocks(), mask.data(), o.grid, box), hasBlocks);
        } else if (hasBlocks) {
            box = BoxOfBlocks(o.Blocks());
            ASSERT_EQ(box, MD::BoxOfCells(o.xs.data(), o.ys.data(), static_cast<int>(o.Count())));
        }
        if (hasBlocks) {
            ASSERT_EQ(AsRectangle(box), expected);
        }
        ++(hasBlocks ? boxes : empty);
    });
    EXPECT_GT(boxes, 100);
    EXPECT_GT(empty, 10);
}

// Blocks of other zones bear any label, blocks of this zone the object's only where they are the object's.
TEST(ObjectTrimmingKernel, AllSidesCountWhereTheBoxOfCountedBlocksIsTheWhole) {
    int whole = 0, less = 0;
    ForEachObject([&](Object& o, SeededRandom& random) {
        if (o.Count() == 0) return;
        Labels map(SizeOf(o.grid));
        Bytes isInZone(map.size()), isCounted(map.size());
        const int share = random.Between(1, 4);
        for (std::size_t block = 0; block < map.size(); ++block) {
            isInZone[block] = random.OneIn(2);
            map[block] = random.OneIn(2) ? otherLabel : isInZone[block] ? std::uint16_t{0} : label;
            isCounted[block] = random.OneIn(share) ? std::uint8_t{255} : std::uint8_t{0};
        }
        for (std::size_t i = 0; i < o.Count(); ++i) {
            map[o.At(i)] = label;
            isInZone[o.At(i)] = 1;
        }
        const GuardedBlocks<std::uint16_t> labels{std::span<const std::uint16_t>(map)};
        const GuardedBlocks<std::uint8_t> zone{std::span<const std::uint8_t>(isInZone)},
            counted{std::span<const std::uint8_t>(isCounted)};
        const CellBox box = BoxOfBlocks(o.Blocks());
        CellBox countedBox{};
        const bool expected = BoxOfCountedBlocks(o.Blocks(), counted.data(), o.grid, countedBox) && countedBox == box;
        ASSERT_EQ(AllSidesCount(box, label,
                                {.objectsMap = labels.data(), .isInZone = zone.data(), .isCounted = counted.data()}, o.grid),
                  expected);
        ++(expected ? whole : less);
    });
    EXPECT_GT(whole, 100);
    EXPECT_GT(less, 100);
}

TEST(ObjectTrimmingKernel, TrimmingClearsBothMapsOutsideTheBox) {
    KernelComparison comparison;
    ForEachObject([&](Object& o, SeededRandom& random) {
        const int left = random.Between(0, o.grid.columns - 1), top = random.Between(0, o.grid.rows - 1);
        const CellBox box{left, random.Between(left, o.grid.columns - 1), top, random.Between(top, o.grid.rows - 1)};
        Labels map = o.map;
        Bytes zoneResultMap = o.zoneResultMap;
        int outside = 0;
        for (std::size_t i = 0; i < o.Count(); ++i) {
            if (o.xs[i] >= box.left && o.xs[i] <= box.right && o.ys[i] >= box.top && o.ys[i] <= box.bottom) continue;
            map[o.At(i)] = 0;
            zoneResultMap[o.At(i)] = 0;
            ++outside;
        }
        GuardedBlocks<std::uint16_t> guardedMap{std::span<const std::uint16_t>(o.map)};
        GuardedBlocks<std::uint8_t> guardedZone{std::span<const std::uint8_t>(o.zoneResultMap)};
        const int trimmed = TrimObject(o.Blocks(), box, guardedMap.data(), guardedZone.data(), o.grid);
        comparison.CompareValue(CaseOf(o.grid), "trimmed", trimmed, outside);
        comparison.Compare(CaseOf(o.grid), "objectsMap", guardedMap.data(), map.data(), map.size());
        comparison.Compare(CaseOf(o.grid), "zoneResultMap", guardedZone.data(), zoneResultMap.data(), zoneResultMap.size());
    });
    EXPECT_TRUE(comparison.Result());
}

TEST(ObjectTrimmingKernel, DiscardingAndRelabellingTouchTheObjectOnly) {
    KernelComparison comparison;
    ForEachObject([&](Object& o, SeededRandom&) {
        Labels map = o.map, relabelled = o.map;
        Bytes zoneResultMap = o.zoneResultMap;
        for (std::size_t i = 0; i < o.Count(); ++i) {
            map[o.At(i)] = zoneResultMap[o.At(i)] = 0;
            relabelled[o.At(i)] = 32767;
        }
        Labels written = o.map;
        RelabelObject(o.Blocks(), written.data(), 32767, o.grid);
        comparison.Compare(CaseOf(o.grid), "relabelled objectsMap", written, relabelled);
        DiscardObject(o.Blocks(), o.map.data(), o.zoneResultMap.data(), o.grid);
        comparison.Compare(CaseOf(o.grid), "discarded objectsMap", o.map, map);
        comparison.Compare(CaseOf(o.grid), "zoneResultMap", o.zoneResultMap, zoneResultMap);
    });
    EXPECT_TRUE(comparison.Result());
}

TEST(ObjectTrimmingKernelDeathTest, BlockOutsideTheGridStops) {
    constexpr Grid grid{4, 3};
    std::uint16_t map[12] = {};
    std::uint8_t zoneResultMap[12] = {};
    const std::int16_t inside = 0, right = 1, below = 3, above = -1;
    const ObjectBlocks tooLow{&inside, &below, 1}, tooHigh{&right, &above, 1};
    EXPECT_DEATH(DiscardObject(tooLow, map, zoneResultMap, grid),
                 ": MotionDetector\\.cpp:.*ProcessOneZone.*offsetTmp < blockCount");
    EXPECT_DEATH(DiscardObject(tooHigh, map, zoneResultMap, grid),
                 ": MotionDetector\\.cpp:.*ProcessOneZone.*offsetTmp >= 0");
    EXPECT_DEATH(RelabelObject(tooLow, map, 1, grid),
                 ": MotionDetector\\.cpp:.*ResolveMotionObjectsMapIndex.*offset < blockCount");
    EXPECT_DEATH(RelabelObject(tooHigh, map, 1, grid), ": MotionDetector\\.cpp:.*ResolveMotionObjectsMapIndex.*offset >= 0");
}
