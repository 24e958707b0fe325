// Does a pool hand out, take back and destroy objects as agreed?
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <new>
#include <random>
#include <vector>

#include "ObjectBlocks.h"
#include "zones/MotionObject.h"

namespace {

using Kit::Blocks;
using Kit::BlocksOf;
using Kit::BoxIsAround;
using MD::MotionObject;
using MD::MotionObjectList;
using MD::MotionObjectPool;

void AddObject(MotionObjectPool& pool, const Blocks& blocks, int length) {
    std::vector<short> xs, ys;
    for (const auto& [x, y] : blocks) {
        xs.push_back(x);
        ys.push_back(y);
    }
    pool.Add(xs.data(), ys.data(), static_cast<int>(blocks.size()), length);
}

std::vector<MotionObject*> ObjectsOf(const MotionObjectList& list) {
    std::vector<MotionObject*> objects;
    for (MotionObject* object = list._first; object; object = object->next) objects.push_back(object);
    EXPECT_EQ(static_cast<int>(objects.size()), list._objectsCount);
    EXPECT_EQ(list._last, objects.empty() ? nullptr : objects.back());
    return objects;
}

std::vector<Blocks> AllBlocksOf(const MotionObjectList& list) {
    std::vector<Blocks> blocks;
    for (const MotionObject* object : ObjectsOf(list)) blocks.push_back(BlocksOf(*object));
    return blocks;
}

Blocks RandomBlocks(std::size_t mostBlocks, std::mt19937& random) {
    Blocks blocks(1 + random() % mostBlocks);
    for (auto& [x, y] : blocks) {
        x = static_cast<short>(random() % 10000);
        y = static_cast<short>(random() % 10000);
    }
    return blocks;
}

}  // namespace

TEST(MotionObjectPoolTest, StartsWithoutObjects) {
    const MotionObjectPool pool;
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    EXPECT_EQ(pool._width, 0);
    EXPECT_EQ(pool._height, 0);
}

TEST(MotionObjectPoolTest, OneCellIsItsOwnBox) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{5, 3}}, 48);
    const MotionObject& object = *pool._busyList._first;
    EXPECT_EQ(object.objectPixelsCount, 1);
    EXPECT_EQ(object.minX, 5);
    EXPECT_EQ(object.maxX, 5);
    EXPECT_EQ(object.minY, 3);
    EXPECT_EQ(object.maxY, 3);
    EXPECT_EQ(object._realBufferLenght, 48);
    EXPECT_EQ(object.index, 0);
    EXPECT_EQ(object.secondIndex, 0);
}

TEST(MotionObjectPoolTest, AddCopiesTheCellsAndBoxesThem) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    std::vector<short> xs = {5, 2, 7, 99}, ys = {3, 4, 1, 99};
    pool.Add(xs.data(), ys.data(), 3, 48);
    xs.assign(4, -1);
    ys.assign(4, -1);
    const MotionObject& object = *pool._busyList._first;
    EXPECT_EQ(BlocksOf(object), (Blocks{{5, 3}, {2, 4}, {7, 1}}));
    EXPECT_TRUE(BoxIsAround(object, BlocksOf(object)));
}

TEST(MotionObjectPoolTest, AddAppendsToTheBusyList) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    for (short i = 0; i < 4; ++i) AddObject(pool, {{i, i}}, 48);
    EXPECT_EQ(AllBlocksOf(pool._busyList), (std::vector<Blocks>{{{0, 0}}, {{1, 1}}, {{2, 2}}, {{3, 3}}}));
}

TEST(MotionObjectPoolTest, CopyTakesOverBlocksBoxAndLength) {
    MotionObject source(30);
    source.AddPixel(1, 2);
    source.AddPixel(3, 4);
    source.minX = -7;  // copied as it stands, not computed
    source.maxX = 77;
    source.minY = -8;
    source.maxY = 88;
    MotionObjectPool pool;
    pool.Inic(8, 6);
    pool.Copy(&source);
    const MotionObject& copy = *pool._busyList._first;
    EXPECT_EQ(BlocksOf(copy), (Blocks{{1, 2}, {3, 4}}));
    EXPECT_NE(copy.motionX, source.motionX);
    EXPECT_NE(copy.motionY, source.motionY);
    EXPECT_EQ(copy.minX, -7);
    EXPECT_EQ(copy.maxX, 77);
    EXPECT_EQ(copy.minY, -8);
    EXPECT_EQ(copy.maxY, 88);
    EXPECT_EQ(copy._realBufferLenght, 30);
    source.AddPixel(5, 6);
    EXPECT_EQ(copy.objectPixelsCount, 2);
}

TEST(MotionObjectPoolTest, CopyOfAnObjectWithoutBlocksIsOne) {
    MotionObject source(30);
    MotionObjectPool pool;
    pool.Inic(8, 6);
    pool.Copy(&source);
    EXPECT_EQ(pool._busyList._first->objectPixelsCount, 0);
    EXPECT_TRUE(BoxIsAround(*pool._busyList._first, {}));
}

TEST(MotionObjectPoolTest, ClearedObjectsAreTakenAgainInOrder) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    for (short i = 0; i < 3; ++i) AddObject(pool, {{i, i}}, 48);
    const std::vector<MotionObject*> objects = ObjectsOf(pool._busyList);
    pool.ClearBusyList();
    EXPECT_EQ(ObjectsOf(pool._freeList), objects);
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    AddObject(pool, {{9, 9}, {8, 8}}, 5);
    EXPECT_EQ(ObjectsOf(pool._busyList), (std::vector<MotionObject*>{objects[0]}));
    EXPECT_EQ(ObjectsOf(pool._freeList), (std::vector<MotionObject*>{objects[1], objects[2]}));
    EXPECT_EQ(objects[0]->_realBufferLenght, 48);  // the length given is for a new object only
    EXPECT_EQ(BlocksOf(*objects[0]), (Blocks{{9, 9}, {8, 8}}));
    EXPECT_TRUE(BoxIsAround(*objects[0], {{9, 9}, {8, 8}}));
    pool.Copy(objects[0]);
    EXPECT_EQ(ObjectsOf(pool._busyList), (std::vector<MotionObject*>{objects[0], objects[1]}));
    EXPECT_EQ(BlocksOf(*objects[1]), (Blocks{{9, 9}, {8, 8}}));
    pool.ClearBusyList();  // to the tail
    EXPECT_EQ(ObjectsOf(pool._freeList), (std::vector<MotionObject*>{objects[2], objects[0], objects[1]}));
}

TEST(MotionObjectPoolTest, NoWorkingObjectsAreAddedForZeroOrLess) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    for (const int count : {0, -1, std::numeric_limits<int>::min()}) pool.AddWorkingObjects(count);
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
}

TEST(MotionObjectPoolTest, WorkingObjectsReuseTheFreeOneAndAreNewBeyond) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{5, 3}}, 50);
    MotionObject* const reused = pool._busyList._first;
    pool.ClearBusyList();
    pool.AddWorkingObjects(3);
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
    const std::vector<MotionObject*> objects = ObjectsOf(pool._busyList);
    ASSERT_EQ(objects.size(), 3u);
    EXPECT_EQ(objects[0], reused);
    EXPECT_EQ(objects[0]->_realBufferLenght, 50);
    EXPECT_EQ(objects[0]->objectPixelsCount, 1);  // left as it was
    for (std::size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(objects[i]->_realBufferLenght, 8 * 6);
        EXPECT_EQ(objects[i]->objectPixelsCount, 0);
    }
    for (const MotionObject* object : objects) EXPECT_TRUE(BoxIsAround(*object, {}));
}

TEST(MotionObjectPoolTest, WorkingObjectsTakeEveryCellButTheSpareOne) {
    MotionObjectPool pool;
    pool.Inic(7, 3);
    pool.AddWorkingObjects(2);
    Blocks blocks;
    for (short i = 0; i < 7 * 3 - 1; ++i) blocks.emplace_back(static_cast<short>(i % 7), static_cast<short>(i / 7));
    for (MotionObject* object : ObjectsOf(pool._busyList)) {
        for (const auto& [x, y] : blocks) object->AddPixel(x, y);
        EXPECT_EQ(BlocksOf(*object), blocks);
        EXPECT_TRUE(BoxIsAround(*object, blocks));
    }
}

TEST(MotionObjectPoolTest, RemovalFromBusyDoesNotFeedTheFreeList) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    for (short i = 0; i < 3; ++i) AddObject(pool, {{i, i}}, 48);
    pool.RemoveFromBusy(pool._busyList._first->next);
    EXPECT_EQ(AllBlocksOf(pool._busyList), (std::vector<Blocks>{{{0, 0}}, {{2, 2}}}));
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
}

TEST(MotionObjectPoolTest, ReleaseOfTheBusyListDoesNotFeedTheFreeList) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{1, 1}}, 48);
    pool.ClearBusyList();
    AddObject(pool, {{1, 1}}, 48);
    AddObject(pool, {{2, 2}}, 48);
    pool.ReleaseBusyList();
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
    AddObject(pool, {{1, 1}}, 48);
    pool.ClearBusyList();
    pool.ReleaseBusyList();
    EXPECT_EQ(ObjectsOf(pool._freeList).size(), 1u);
}

TEST(MotionObjectPoolTest, InicDestroysAllObjectsAndTakesTheSize) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{1, 1}}, 48);
    pool.ClearBusyList();
    AddObject(pool, {{1, 1}}, 48);
    AddObject(pool, {{2, 2}}, 48);
    pool.Inic(20, 10);
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
    EXPECT_EQ(pool._width, 20);
    EXPECT_EQ(pool._height, 10);
    pool.AddWorkingObjects(1);
    EXPECT_EQ(pool._busyList._first->_realBufferLenght, 200);
}

TEST(MotionObjectPoolTest, ReleaseDestroysFreeAndBusyObjects) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{1, 1}}, 48);
    AddObject(pool, {{2, 2}}, 48);
    pool.ClearBusyList();
    AddObject(pool, {{1, 1}}, 48);
    pool.Release();
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    EXPECT_TRUE(ObjectsOf(pool._freeList).empty());
    EXPECT_EQ(pool._width, 8);
    pool.Release();
}

// An object between two lists belongs to whoever removed it.
TEST(MotionObjectPoolTest, RemovedObjectOutlivesTheFrame) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{1, 1}, {2, 1}}, 48);
    AddObject(pool, {{5, 5}}, 48);
    MotionObject* const object = pool._busyList._first;
    pool._busyList.Remove(object);
    pool.ReleaseBusyList();
    for (short i = 0; i < 10; ++i) AddObject(pool, {{100, i}, {100, i}}, 48);
    EXPECT_EQ(BlocksOf(*object), (Blocks{{1, 1}, {2, 1}}));
    object->AddPixel(3, 1);
    EXPECT_EQ(BlocksOf(*object), (Blocks{{1, 1}, {2, 1}, {3, 1}}));
    delete object;
}

// Every entry that _realBufferLenght promises may be written, and none belongs to two objects.
TEST(MotionObjectPoolTest, EveryObjectHasItsWholeBuffersForItself) {
    MotionObjectPool pool;
    pool.Inic(10, 10);
    MotionObject source(100);
    source.AddPixel(4, 4);
    const auto writeEverything = [&] {
        short value = 0;
        for (MotionObject* object : ObjectsOf(pool._busyList)) {
            ASSERT_EQ(object->_realBufferLenght, 100);
            for (int i = 0; i < 100; ++i) object->motionX[i] = ++value;
            for (int i = 0; i < 100; ++i) object->motionY[i] = ++value;
        }
        value = 0;
        for (const MotionObject* object : ObjectsOf(pool._busyList)) {
            for (int i = 0; i < 100; ++i) ASSERT_EQ(object->motionX[i], ++value) << i;
            for (int i = 0; i < 100; ++i) ASSERT_EQ(object->motionY[i], ++value) << i;
        }
    };
    const auto fill = [&] {
        AddObject(pool, {{1, 1}}, 100);
        AddObject(pool, {{2, 2}}, 100);
        pool.Copy(&source);
        pool.AddWorkingObjects(2);
    };
    fill();
    writeEverything();
    pool.ClearBusyList();
    fill();  // the same, taken again
    writeEverything();
    pool.ReleaseBusyList();
    fill();  // others, after some were destroyed
    writeEverything();
}

// Where the blocks lie is not the pool's to change.
TEST(MotionObjectPoolTest, BlocksStayWhereTheyAre) {
    using Addresses = std::vector<const short*>;
    MotionObjectPool pool;
    pool.Inic(10, 10);
    for (short i = 0; i < 3; ++i) AddObject(pool, {{i, i}}, 100);
    const std::vector<MotionObject*> objects = ObjectsOf(pool._busyList);
    const auto addresses = [&] {
        Addresses result;
        for (const MotionObject* object : objects) {
            result.push_back(object->motionX);
            result.push_back(object->motionY);
        }
        return result;
    };
    const Addresses before = addresses();
    pool._busyList.Remove(objects[1]);
    EXPECT_EQ(addresses(), before);
    pool._busyList.Add(objects[1]);
    MotionObject part(100);
    for (int i = 0; i < 99; ++i) part.AddPixel(i % 10, i / 10);
    objects[0]->CopyMotionPixels(&part);  // 100 blocks: full to the brim
    EXPECT_EQ(addresses(), before);
    objects[1]->AddPixel(5, 5);
    EXPECT_EQ(addresses(), before);
    pool.ClearBusyList();
    EXPECT_EQ(addresses(), before);
    AddObject(pool, {{7, 7}}, 5);
    pool.Copy(&part);
    pool.AddWorkingObjects(1);
    EXPECT_EQ(addresses(), before);
    EXPECT_EQ(BlocksOf(*objects[0]), (Blocks{{7, 7}}));
    EXPECT_EQ(BlocksOf(*objects[2]), BlocksOf(part));
}

TEST(MotionObjectPoolTest, PooledObjectsGrowToTheirWholeLength) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    AddObject(pool, {{1, 1}}, 48);
    pool.Copy(pool._busyList._first);
    AddObject(pool, {{2, 2}}, 48);
    for (MotionObject* object : ObjectsOf(pool._busyList))
        while (object->objectPixelsCount + 1 < object->_realBufferLenght) object->AddPixel(7, 5);
    Blocks ones(47, {7, 5}), twos = ones;
    ones[0] = {1, 1};
    twos[0] = {2, 2};
    EXPECT_EQ(AllBlocksOf(pool._busyList), (std::vector<Blocks>{ones, ones, twos}));
}

TEST(MotionObjectPoolTest, ImpossibleLengthThrowsAndAddsNothing) {
    MotionObjectPool pool;
    pool.Inic(8, 6);
    short cell = 1;
    EXPECT_THROW(pool.Add(&cell, &cell, 1, -1), std::bad_array_new_length);
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
    pool.Inic(-1, 5);
    EXPECT_THROW(pool.AddWorkingObjects(1), std::bad_array_new_length);
    pool.Inic(65536, 65536);  // more blocks than an int counts
    EXPECT_THROW(pool.AddWorkingObjects(1), std::bad_array_new_length);
    EXPECT_TRUE(ObjectsOf(pool._busyList).empty());
}

TEST(MotionObjectPoolTest, RandomOperationsEqualTheModel) {
    constexpr int gridLength = 12 * 9;
    std::mt19937 random(54);
    MotionObjectPool pool;
    pool.Inic(12, 9);
    std::vector<Blocks> busy, free;  // in list order; free objects keep their blocks until they are taken
    const auto take = [&](const Blocks& blocks) {
        if (!free.empty()) free.erase(free.begin());
        busy.push_back(blocks);
    };
    for (int step = 0; step < 20000; ++step) {
        const auto operation = random() % 1000;
        if (operation < 350) {
            const Blocks blocks = RandomBlocks(gridLength - 1, random);
            AddObject(pool, blocks, gridLength);
            take(blocks);
        } else if (operation < 500) {
            MotionObject source(gridLength);
            for (const auto& [x, y] : RandomBlocks(gridLength - 1, random)) source.AddPixel(x, y);
            pool.Copy(&source);
            take(BlocksOf(source));
        } else if (operation < 650 && busy.size() >= 2) {  // as zones are merged: one takes another over
            const std::size_t target = random() % (busy.size() - 1),
                              part = target + 1 + random() % (busy.size() - 1 - target);
            const std::vector<MotionObject*> objects = ObjectsOf(pool._busyList);
            objects[target]->CopyMotionPixels(objects[part]);
            pool.RemoveFromBusy(objects[part]);
            busy[target].insert(busy[target].end(), busy[part].begin(), busy[part].end());
            busy.erase(busy.begin() + static_cast<std::ptrdiff_t>(part));
            ASSERT_GE(objects[target]->_realBufferLenght, static_cast<int>(busy[target].size()));
        } else if (operation < 850 && !busy.empty()) {
            const std::size_t position = random() % busy.size();
            pool.RemoveFromBusy(ObjectsOf(pool._busyList)[position]);
            busy.erase(busy.begin() + static_cast<std::ptrdiff_t>(position));
        } else if (operation < 900 && !busy.empty()) {  // a block more, where there is room
            MotionObject& object = *pool._busyList._last;
            if (object.objectPixelsCount + 1 >= object._realBufferLenght) continue;
            object.AddPixel(step % 100, 3);
            busy.back().emplace_back(static_cast<short>(step % 100), short{3});
        } else if (operation < 940) {
            pool.ClearBusyList();
            free.insert(free.end(), busy.begin(), busy.end());
            busy.clear();
        } else if (operation < 980) {
            pool.ReleaseBusyList();
            busy.clear();
        } else if (operation < 990) {
            pool.Release();
            busy.clear();
            free.clear();
        } else if (operation < 995) {
            pool.Inic(12, 9);
            busy.clear();
            free.clear();
        }
        ASSERT_EQ(AllBlocksOf(pool._busyList), busy) << step;
        ASSERT_EQ(AllBlocksOf(pool._freeList), free) << step;
        for (const MotionObject* object : ObjectsOf(pool._busyList)) ASSERT_TRUE(BoxIsAround(*object, BlocksOf(*object)));
    }
}

TEST(MotionObjectPoolDeathTest, AddOfNoBlocksIsFatal) {
    MotionObjectPool pool;
    short cell = 0;
    for (const int count : {0, -1})
        EXPECT_DEATH(pool.Add(&cell, &cell, count, 1), "MotionObject\\.cpp:.*Assertion `currentPixelsCount > 0' failed");
}

TEST(MotionObjectPoolDeathTest, RemovalOfNothingFromBusyIsFatal) {
    MotionObjectPool pool;
    EXPECT_DEATH(pool.RemoveFromBusy(nullptr), "Assertion `object' failed");
}

TEST(MotionObjectPoolDeathTest, BusyCountThatDisagreesWithTheLinksIsFatal) {
    MotionObjectPool pool;
    EXPECT_DEATH(
        {
            pool._busyList._objectsCount = 1;
            pool.ReleaseBusyList();
        },
        "Assertion `!_objectsCount' failed");
}
