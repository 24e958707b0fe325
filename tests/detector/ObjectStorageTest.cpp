// Whose memory are the blocks of the objects that the detector finds?  They lie one after another in the detector's memory
// for as long as the detector has them, and in their own once somebody grows them or takes them away.
#include <memory>
#include <utility>
#include <vector>

#include "DetectorFixture.h"

namespace {

using DetectorKit::Frame;
using MD::MotionObject;
using MD::MotionObjectList;

using Blocks = std::vector<std::pair<short, short>>;

constexpr int columns = 24, rows = 10, blockCount = columns * rows;

class ObjectStorageTest : public DetectorKit::DetectorTest {
protected:
    // A frame in which three things of `size` by `size` blocks show, far apart.
    void Show(int size) {
        if (detector.blockCount == 0) {
            Frame still(columns, rows);
            FillRing(still);
        }
        std::fill_n(detector._isObject, blockCount, std::uint8_t{0});
        for (const int left : {1, 9, 17})
            for (int y = 2; y < 2 + size; ++y)
                for (int x = left; x < left + size; ++x) detector._isObject[y * columns + x] = 255;
        std::copy_n(detector._isObject, blockCount, detector._isMotionPixel);
        detector._nextProcessZone = detector._zones._first;
        detector.ProcessOneZone();
    }

    std::vector<MotionObject*> Objects() { return ObjectsOf(detector._zonePool._busyList); }
    static std::vector<MotionObject*> ObjectsOf(const MotionObjectList& list) {
        std::vector<MotionObject*> objects;
        for (MotionObject* object = list._first; object; object = object->next) objects.push_back(object);
        return objects;
    }

    static Blocks BlocksOf(const MotionObject& object) {
        Blocks blocks;
        for (int i = 0; i < object.objectPixelsCount; ++i) blocks.emplace_back(object.motionX[i], object.motionY[i]);
        return blocks;
    }

    // Every entry that the object's length promises, none of them two at once.
    static void WriteEverything(MotionObject& object) {
        for (int i = 0; i < object._realBufferLenght; ++i) object.motionX[i] = static_cast<short>(i);
        for (int i = 0; i < object._realBufferLenght; ++i) object.motionY[i] = static_cast<short>(-i);
        for (int i = 0; i < object._realBufferLenght; ++i) {
            EXPECT_EQ(object.motionX[i], i);
            EXPECT_EQ(object.motionY[i], -i);
        }
    }
};

}  // namespace

TEST_F(ObjectStorageTest, LengthIsThatOfTheGridAndGrowthStaysInside) {
    Show(2);
    const std::vector<MotionObject*> objects = Objects();
    ASSERT_EQ(objects.size(), 3u);
    const Blocks first = BlocksOf(*objects[0]), last = BlocksOf(*objects[2]);
    EXPECT_EQ(objects[1]->_realBufferLenght, blockCount);
    while (objects[1]->objectPixelsCount + 1 < blockCount) objects[1]->AddPixel(5, 5);
    WriteEverything(*objects[1]);
    EXPECT_EQ(BlocksOf(*objects[0]), first);
    EXPECT_EQ(BlocksOf(*objects[2]), last);
    objects[0]->CopyMotionPixels(objects[2]);
    WriteEverything(*objects[0]);
    EXPECT_EQ(BlocksOf(*objects[2]), last);
}

TEST_F(ObjectStorageTest, RemovedObjectStaysWhereItIsAndOutlivesItsPool) {
    Show(2);
    const std::unique_ptr<MotionObject> object(Objects()[1]);
    const short* const xs = object->motionX;
    const short* const ys = object->motionY;
    const Blocks blocks = BlocksOf(*object);
    ASSERT_EQ(blocks.size(), 4u);
    detector._zonePool._busyList.Remove(object.get());
    for (int frame = 0; frame < 5; ++frame) {
        Show(1 + frame);  // what comes next goes elsewhere
        EXPECT_EQ(object->motionX, xs);
        EXPECT_EQ(object->motionY, ys);
        EXPECT_EQ(BlocksOf(*object), blocks);
    }
    detector._zonePool.Release();
    EXPECT_EQ(BlocksOf(*object), blocks);
    object->AddPixel(9, 9);
    WriteEverything(*object);
}

TEST_F(ObjectStorageTest, ClearedObjectsStayWhereTheyAreAndAreWholeWhenTakenAgain) {
    Show(3);
    const std::vector<MotionObject*> objects = Objects();
    ASSERT_EQ(objects.size(), 3u);
    const short* const xs = objects[1]->motionX;
    const Blocks blocks = BlocksOf(*objects[1]);
    detector._zonePool.ClearBusyList();
    EXPECT_EQ(ObjectsOf(detector._zonePool._freeList), objects);
    EXPECT_EQ(objects[1]->motionX, xs);
    EXPECT_EQ(BlocksOf(*objects[1]), blocks);

    Show(2);  // takes them
    EXPECT_EQ(Objects(), objects);
    for (MotionObject* object : objects) EXPECT_EQ(object->_realBufferLenght, blockCount);
    const Blocks first = BlocksOf(*objects[0]), last = BlocksOf(*objects[2]);
    WriteEverything(*objects[1]);
    EXPECT_EQ(BlocksOf(*objects[0]), first);
    EXPECT_EQ(BlocksOf(*objects[2]), last);
}

TEST_F(ObjectStorageTest, CopyOfAnObjectOfTheDetectorIsWhole) {
    Show(2);
    MD::MotionObjectPool pool;
    pool.Copy(Objects()[0]);
    pool.Copy(Objects()[1]);
    MotionObject& copy = *pool._busyList._first;
    const Blocks second = BlocksOf(*pool._busyList._last);
    EXPECT_EQ(copy._realBufferLenght, blockCount);
    EXPECT_EQ(BlocksOf(copy), BlocksOf(*Objects()[0]));
    WriteEverything(copy);
    EXPECT_EQ(BlocksOf(*pool._busyList._last), second);
}

// Objects that a host made are whole after the merge, too, and stay where they are while their length suffices.
TEST_F(ObjectStorageTest, MergedObjectsOfAHostAreWhole) {
    Show(1);
    MD::MotionObjectPool& pool = detector._mergedPool;
    short cells[] = {0, 1, 20};
    for (short& cell : cells) pool.Add(&cell, &cell, 1, 6);
    MotionObject* const object = pool._busyList._first;
    const short* const xs = object->motionX;
    pool._busyList._last->motionY[0] = 9;
    pool._busyList._last->minY = pool._busyList._last->maxY = 9;
    detector.MergeMDZonesResult();
    ASSERT_EQ(ObjectsOf(pool._busyList).size(), 2u);
    EXPECT_EQ(object->motionX, xs);
    EXPECT_EQ(BlocksOf(*object), (Blocks{{0, 0}, {1, 1}}));
    WriteEverything(*object);
    EXPECT_EQ(BlocksOf(*pool._busyList._last), (Blocks{{20, 9}}));

    // Two of one entry each grow to twice what they hold.
    pool.ReleaseBusyList();
    for (short& cell : cells) pool.Add(&cell, &cell, 1, 1);
    pool._busyList._last->motionY[0] = 9;
    pool._busyList._last->minY = pool._busyList._last->maxY = 9;
    detector.MergeMDZonesResult();
    EXPECT_EQ(pool._busyList._first->_realBufferLenght, 4);
    WriteEverything(*pool._busyList._first);
    EXPECT_EQ(BlocksOf(*pool._busyList._last), (Blocks{{20, 9}}));
}
