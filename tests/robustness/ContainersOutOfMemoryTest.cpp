// What is left of zones, snapshots, objects and pools when memory runs out inside one of their operations?  Every allocation
// fails once; nothing leaks, what was there is still there, and the operation works when asked again.
#include <cstdint>
#include <vector>

#include "OutOfMemory.h"
#include "detector/MotionDetector.h"
#include "zones/LeanObjects.h"

namespace {

using MD::LeanObjects;
using MD::MDZone;
using MD::MotionObject;
using MD::MotionObjectList;
using MD::MotionObjectPool;
using OutOfMemory::FailOneByOne;

constexpr int columns = 8, rows = 6;

// The links agree with each other and with the count.
int CheckedCount(const MotionObjectList& list) {
    int count = 0;
    const MotionObject* last = nullptr;
    for (const MotionObject* object = list._first; object; last = object, object = object->next, ++count)
        EXPECT_EQ(object->prev, last);
    EXPECT_EQ(list._last, last);
    EXPECT_EQ(list._objectsCount, count);
    return count;
}

void AddDiagonal(MotionObjectPool& pool, int from, int count) {
    std::vector<short> places;
    for (int i = 0; i < count; ++i) places.push_back(static_cast<short>(from + i));
    pool.Add(places.data(), places.data(), count, columns * rows);
}

std::vector<short> ColumnsOf(const MotionObject& object) {
    return {object.motionX, object.motionX + object.objectPixelsCount};
}

TEST(ContainersOutOfMemoryTest, ZoneConstructors) {
    std::uint8_t mask[] = {1, 0, 1, 0, 1, 0};
    EXPECT_EQ(FailOneByOne("MDZone(mask)", [&](auto fails) { fails([&] { MDZone zone(mask, 3, 2, 0.3f, 0, 0); }); }), 1);
    EXPECT_EQ(FailOneByOne("MDZone()", [](auto fails) { fails([] { MDZone zone; }); }), 1);
    EXPECT_EQ(FailOneByOne("MDZone(floats)", [](auto fails) { fails([] { MDZone zone(0.3f, 0.5f, 0.5f); }); }), 1);
}

TEST(ContainersOutOfMemoryTest, ZoneIsFittedByTheNextCall) {
    FailOneByOne("MDZone::InitPixelMap", [](auto fails) {
        std::uint8_t mask[] = {1, 0};
        MDZone zone(mask, 2, 1, 0.3f, 0, 0);
        zone.InitPixelMap(3, 3);
        if (fails([&] { zone.InitPixelMap(4, 2); })) {
            EXPECT_EQ(zone.pixelMap, nullptr);
            EXPECT_EQ(zone.pixelMapWidth + zone.pixelMapHeight, 0);
            zone.InitPixelMap(4, 2);
        }
        EXPECT_EQ(std::vector<std::uint8_t>(zone.pixelMap, zone.pixelMap + 8),
                  (std::vector<std::uint8_t>{1, 1, 0, 0, 1, 1, 0, 0}));
    });
}

TEST(ContainersOutOfMemoryTest, ZoneIsMadeFullFrameByTheNextCall) {
    FailOneByOne("MDZone::SetMapToFullFrame", [](auto fails) {
        std::uint8_t mask[] = {1, 0};
        MDZone zone(mask, 2, 1, 0.3f, 0, 0);
        if (fails([&] { zone.SetMapToFullFrame(); })) zone.SetMapToFullFrame();
        zone.InitPixelMap(2, 1);
        EXPECT_EQ(zone.pixelMap[0] + zone.pixelMap[1], 2);
    });
}

TEST(ContainersOutOfMemoryTest, ZoneListKeepsWhatItHad) {
    FailOneByOne("MDZoneList::Add", [](auto fails) {
        std::uint8_t mask[] = {1};
        MDZoneInfo info{mask, 1, 1, 0.3f, 0, 0};
        MD::MDZoneList zones;
        zones.Add(&info);
        MDZone* const first = zones._first;
        const bool failed = fails([&] { zones.Add(&info); });
        EXPECT_EQ(zones._count, failed ? 1 : 2);
        EXPECT_EQ(zones._first, first);
        EXPECT_EQ(zones._last == first, failed);
        EXPECT_EQ(first->next == nullptr, failed);
        zones.Release();
    });
}

class SnapshotOutOfMemoryTest : public testing::Test {
protected:
    SnapshotOutOfMemoryTest() : mask((columns + 2) * rows, 1), planes(3 * columns * rows, 90) {
        MDZoneInfo zone{mask.data(), 1, 1, 0.3f, 0, 0};
        detector.AddMDZone(&zone);
        DetectionInfo info{};
        info.width = columns;
        info.height = rows;
        info.bgr24stride = 1;
        info.bgr24ForEachBlock = info.ycbcrForEachBlock = planes.data();
        detector.Detect(&info, true);
        for (int i = 0; i < columns * rows; ++i) {
            detector._isBackground[i] = 255;
            detector._backgroundY[i] = static_cast<std::uint8_t>(i);
        }
    }

    void ExpectRestores(MD::BackgroundStorage* storage) {
        for (int i = 0; i < columns * rows; ++i) detector._backgroundY[i] = 0;
        detector.RestoreBackground(storage);
        for (int i = 0; i < columns * rows; ++i) ASSERT_EQ(detector._backgroundY[i], i);
    }

    MD::MotionDetector detector;
    std::vector<std::uint8_t> mask, planes;
};

TEST_F(SnapshotOutOfMemoryTest, SnapshotIsMadeOrNot) {
    const int allocations = FailOneByOne("AllocateBackgroundStorage", [&](auto fails) {
        MD::BackgroundStorage* storage = nullptr;
        if (fails([&] { storage = detector.AllocateBackgroundStorage(); })) {
            EXPECT_EQ(storage, nullptr);
            storage = detector.AllocateBackgroundStorage();
        }
        detector.FillBackgroundStorage(storage, mask.data(), columns);
        ExpectRestores(storage);
        detector.FreeBackgroundStorage(&storage);
    });
    EXPECT_EQ(allocations, 10);  // the record and nine arrays
}

TEST_F(SnapshotOutOfMemoryTest, SnapshotCanBeFilledAgain) {
    for (const bool wasFilled : {false, true})
        FailOneByOne("FillBackgroundStorage", [&](auto fails) {
            MD::BackgroundStorage* storage = detector.AllocateBackgroundStorage();
            if (wasFilled) detector.FillBackgroundStorage(storage, mask.data(), columns);
            if (fails([&] { detector.FillBackgroundStorage(storage, mask.data(), columns + 1); })) {
                EXPECT_EQ(storage->maskWidthStep, -1);
                EXPECT_EQ(storage->mask, nullptr);
                detector.FillBackgroundStorage(storage, mask.data(), columns + 1);
            }
            ExpectRestores(storage);
            detector.FreeBackgroundStorage(&storage);
        });
}

TEST(ContainersOutOfMemoryTest, ObjectGrows) {
    FailOneByOne("MotionObject::CopyMotionPixels", [](auto fails) {
        MotionObject object(4), source(4);
        object.AddPixel(1, 1);
        object.AddPixel(2, 2);
        for (const int place : {5, 6, 7}) source.AddPixel(place, place);
        if (fails([&] { object.CopyMotionPixels(&source); })) {
            EXPECT_EQ(ColumnsOf(object), (std::vector<short>{1, 2}));
            EXPECT_EQ(object._realBufferLenght, 4);
            EXPECT_EQ(object.maxX, 2);
            object.CopyMotionPixels(&source);
        }
        EXPECT_EQ(ColumnsOf(object), (std::vector<short>{1, 2, 5, 6, 7}));
        EXPECT_EQ(object._realBufferLenght, 10);
        EXPECT_EQ(object.maxX, 7);
    });
    FailOneByOne("MotionObject(length)", [](auto fails) { fails([] { MotionObject object(9); }); });
}

// An object of the detector stores its blocks tightly; room for one more follows on demand.
TEST(ContainersOutOfMemoryTest, PoolObjectTakesOneMoreBlock) {
    const int allocations = FailOneByOne("MotionObject::AddPixel", [](auto fails) {
        MotionObjectPool pool;
        pool.Inic(columns, rows);
        short places[] = {0, 1, 2};
        LeanObjects::Add(pool, places, places, 3, columns * rows);
        MotionObject& object = *pool._busyList._first;
        if (fails([&] { object.AddPixel(7, 5); })) {
            EXPECT_EQ(ColumnsOf(object), (std::vector<short>{0, 1, 2}));
            object.AddPixel(7, 5);
        }
        EXPECT_EQ(ColumnsOf(object), (std::vector<short>{0, 1, 2, 7}));
    });
    EXPECT_EQ(allocations, 1);
}

TEST(ContainersOutOfMemoryTest, PoolKeepsItsObjects) {
    FailOneByOne("MotionObjectPool::Add", [](auto fails) {
        MotionObjectPool pool;
        pool.Inic(columns, rows);
        std::vector<short> places{1, 2, 3};
        const bool failed = fails([&] { pool.Add(places.data(), places.data(), 3, columns * rows); });
        EXPECT_EQ(CheckedCount(pool._busyList), failed ? 0 : 1);
        pool.Add(places.data(), places.data(), 3, columns * rows);
        EXPECT_EQ(ColumnsOf(*pool._busyList._last), places);
    });
    FailOneByOne("MotionObjectPool::Copy", [](auto fails) {
        MotionObjectPool source, pool;
        source.Inic(columns, rows);
        pool.Inic(columns, rows);
        AddDiagonal(source, 2, 4);
        AddDiagonal(pool, 0, 1);
        const bool failed = fails([&] {
            for (int i = 0; i < 20; ++i) pool.Copy(source._busyList._first);
        });
        const int count = CheckedCount(pool._busyList);
        EXPECT_TRUE(failed ? count >= 1 && count < 21 : count == 21);
        pool.Copy(source._busyList._first);
        EXPECT_EQ(ColumnsOf(*pool._busyList._last), ColumnsOf(*source._busyList._first));
        EXPECT_EQ(ColumnsOf(*pool._busyList._first), (std::vector<short>{0}));
    });
    FailOneByOne("LeanObjects::Copy", [](auto fails) {
        MotionObjectPool source, pool;
        source.Inic(columns, rows);
        pool.Inic(columns, rows);
        AddDiagonal(source, 2, 4);
        const bool failed = fails([&] {
            for (int i = 0; i < 20; ++i) LeanObjects::Copy(pool, *source._busyList._first);
        });
        const int count = CheckedCount(pool._busyList);
        EXPECT_TRUE(failed ? count < 20 : count == 20);
        LeanObjects::Copy(pool, *source._busyList._first);
        EXPECT_EQ(ColumnsOf(*pool._busyList._last), ColumnsOf(*source._busyList._first));
    });
}

// Objects larger than what is left of a piece of the pool's memory go to the next piece; all pieces are used again.
TEST(ContainersOutOfMemoryTest, PoolFillsSeveralPieces) {
    constexpr int blocks = 20000, objects = 6;
    FailOneByOne("LeanObjects::Add, several pieces", [&](auto fails) {
        std::vector<short> places(blocks);
        MotionObjectPool pool;
        pool.Inic(200, 100);
        const auto addAll = [&] {
            pool.ReleaseBusyList();
            for (int i = 0; i < objects; ++i) {
                for (short& place : places) place = static_cast<short>(i);
                LeanObjects::Add(pool, places.data(), places.data(), i % 2 ? blocks : blocks / 4, blocks);
            }
        };
        if (fails(addAll)) addAll();
        EXPECT_EQ(AllocationGate::AllocationsOf(addAll), 0);
        EXPECT_EQ(CheckedCount(pool._busyList), objects);
        int i = 0;
        for (const MotionObject* object = pool._busyList._first; object; object = object->next, ++i)
            EXPECT_EQ(ColumnsOf(*object),
                      std::vector<short>(static_cast<std::size_t>(i % 2 ? blocks : blocks / 4), static_cast<short>(i)));
    });
}

TEST(ContainersOutOfMemoryTest, PoolMakesWorkingObjects) {
    FailOneByOne("MotionObjectPool::AddWorkingObjects", [](auto fails) {
        MotionObjectPool pool;
        pool.Inic(columns, rows);
        const bool failed = fails([&] { pool.AddWorkingObjects(5); });
        const int count = CheckedCount(pool._busyList);
        EXPECT_TRUE(failed ? count < 5 : count == 5);
        pool.AddWorkingObjects(5 - count);
        for (MotionObject* object = pool._busyList._first; object; object = object->next) object->AddPixel(3, 4);
        EXPECT_EQ(CheckedCount(pool._busyList), 5);
    });
}

TEST(ContainersOutOfMemoryTest, PoolMovesObjectsToTheFreeListOrKeepsThem) {
    FailOneByOne("MotionObjectPool::ClearBusyList", [](auto fails) {
        MotionObjectPool pool;
        pool.Inic(columns, rows);
        for (int i = 0; i < 4; ++i) AddDiagonal(pool, i, 2);
        const bool failed = fails([&] { pool.ClearBusyList(); });
        const int idle = CheckedCount(pool._freeList), busy = CheckedCount(pool._busyList);
        EXPECT_EQ(idle + busy, 4);
        EXPECT_EQ(busy > 0, failed);
        for (const MotionObject* object = pool._busyList._first; object; object = object->next)
            EXPECT_EQ(object->motionX[1], object->motionX[0] + 1);
        pool.ClearBusyList();
        EXPECT_EQ(CheckedCount(pool._freeList), 4);
    });
    // An idle object too small for its next use is made larger.
    FailOneByOne("MotionObjectPool::Add, idle object", [](auto fails) {
        MotionObjectPool pool;
        pool.Inic(columns, rows);
        std::vector<short> places{0, 1, 2, 3, 4, 5};
        pool.Add(places.data(), places.data(), 2, 3);
        pool.ClearBusyList();
        const bool failed = fails([&] { pool.Add(places.data(), places.data(), 6, columns * rows); });
        EXPECT_EQ(CheckedCount(pool._freeList), failed ? 1 : 0);
        EXPECT_EQ(CheckedCount(pool._busyList), failed ? 0 : 1);
        if (failed) pool.Add(places.data(), places.data(), 6, columns * rows);
        EXPECT_EQ(ColumnsOf(*pool._busyList._first), places);
    });
}

}  // namespace
