// Does an object keep its blocks and their box, and does a list keep its objects in order?  The pool: MotionObjectPoolTest.
#include "zones/MotionObject.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <new>
#include <random>
#include <utility>
#include <vector>

#include "ObjectBlocks.h"

namespace {

using Kit::Blocks;
using Kit::BlocksOf;
using MD::MotionObject;
using MD::MotionObjectList;

// A list that ends empty.
struct OwnedList : MotionObjectList {
    ~OwnedList() { Release(); }
};

void AddBlocks(MotionObject& object, const Blocks& blocks) {
    for (const auto& [x, y] : blocks) object.AddPixel(x, y);
}

bool BoxIs(const MotionObject& object, int minX, int maxX, int minY, int maxY) {
    return object.minX == minX && object.maxX == maxX && object.minY == minY && object.maxY == maxY;
}

// Links, ends and count of a list are those of the sequence.
testing::AssertionResult ListIs(const MotionObjectList& list, const std::vector<MotionObject*>& expected) {
    const MotionObject* predecessor = nullptr;
    std::size_t position = 0;
    for (const MotionObject* object = list._first; object; predecessor = object, object = object->next, ++position) {
        if (position == expected.size()) return testing::AssertionFailure() << "more than " << position << " objects";
        if (object != expected[position]) return testing::AssertionFailure() << "another object at " << position;
        if (object->prev != predecessor) return testing::AssertionFailure() << "wrong link back at " << position;
    }
    if (position != expected.size()) return testing::AssertionFailure() << "only " << position << " objects";
    if (list._last != predecessor) return testing::AssertionFailure() << "wrong end";
    if (list._objectsCount != static_cast<int>(position)) return testing::AssertionFailure() << "wrong count";
    return testing::AssertionSuccess();
}

}  // namespace

TEST(MotionObjectTest, MembersHaveTheirFixedOrder) {
    const MotionObject o(1);
    const void* const members[] = {
        &o.prev, &o.next, &o._realBufferLenght, &o.motionX, &o.motionY, &o.index, &o.secondIndex, &o.minX, &o.maxX,
        &o.minY, &o.maxY, &o.objectPixelsCount};
    for (std::size_t i = 1; i < std::size(members); ++i)
        EXPECT_TRUE(std::less<const void*>()(members[i - 1], members[i])) << "member " << i;
    const MD::MotionObjectPool p;
    EXPECT_TRUE(std::less<const void*>()(&p._freeList, &p._busyList));
    EXPECT_TRUE(std::less<const void*>()(&p._busyList, &p._width));
    EXPECT_TRUE(std::less<const void*>()(&p._width, &p._height));
    static_assert(offsetof(MotionObjectList, _first) < offsetof(MotionObjectList, _last));
    static_assert(offsetof(MotionObjectList, _last) < offsetof(MotionObjectList, _objectsCount));
}

TEST(MotionObjectTest, NewObjectIsEmptyAndUnlisted) {
    const MotionObject object(4);
    EXPECT_EQ(object.prev, nullptr);
    EXPECT_EQ(object.next, nullptr);
    EXPECT_EQ(object._realBufferLenght, 4);
    EXPECT_NE(object.motionX, nullptr);
    EXPECT_NE(object.motionY, nullptr);
    EXPECT_EQ(object.objectPixelsCount, 0);
    EXPECT_EQ(object.index, 0);
    EXPECT_EQ(object.secondIndex, 0);
    EXPECT_TRUE(BoxIs(object, 32767, -32768, 32767, -32768));
}

// Every entry of a new object's buffers may be written, also without AddPixel.
TEST(MotionObjectTest, BuffersHoldTheirWholeLength) {
    MotionObject object(9);
    for (short i = 0; i < 9; ++i) {
        object.motionX[i] = i;
        object.motionY[i] = static_cast<short>(100 + i);
    }
    for (short i = 0; i < 9; ++i) {
        EXPECT_EQ(object.motionX[i], i);
        EXPECT_EQ(object.motionY[i], 100 + i);
    }
}

TEST(MotionObjectTest, ImpossibleLengthThrows) {
    for (const int length : {-1, -1000}) EXPECT_THROW(MotionObject object(length), std::bad_array_new_length) << length;
}

TEST(MotionObjectTest, AddPixelKeepsOrderAndWidensTheBox) {
    MotionObject object(10);
    object.AddPixel(5, 7);
    EXPECT_TRUE(BoxIs(object, 5, 5, 7, 7));
    object.AddPixel(3, 9);
    EXPECT_TRUE(BoxIs(object, 3, 5, 7, 9));
    object.AddPixel(4, 8);  // inside: the box stays
    EXPECT_TRUE(BoxIs(object, 3, 5, 7, 9));
    object.AddPixel(8, 0);
    EXPECT_TRUE(BoxIs(object, 3, 8, 0, 9));
    EXPECT_EQ(BlocksOf(object), (Blocks{{5, 7}, {3, 9}, {4, 8}, {8, 0}}));
}

TEST(MotionObjectTest, LengthFourHoldsThreeAddedPixels) {
    MotionObject object(4);
    AddBlocks(object, {{1, 1}, {2, 2}, {3, 3}});
    EXPECT_EQ(object.objectPixelsCount, 3);
    EXPECT_EQ(object._realBufferLenght, 4);
}

TEST(MotionObjectTest, FourthPixelOfLengthFourIsFatal) {
    MotionObject object(4);
    AddBlocks(object, {{1, 1}, {2, 2}, {3, 3}});
    EXPECT_DEATH(object.AddPixel(4, 4),
                 "MotionObject\\.cpp:.*Assertion `objectPixelsCount \\+ 1 < _realBufferLenght' failed");
    MotionObject tiny(1);
    EXPECT_DEATH(tiny.AddPixel(0, 0), "Assertion `objectPixelsCount \\+ 1 < _realBufferLenght' failed");
}

// The spare entry is AddPixel's alone.
TEST(MotionObjectTest, CopyFillsToTheBrim) {
    MotionObject object(4), one(2);
    AddBlocks(object, {{1, 1}, {2, 2}, {3, 3}});
    one.AddPixel(4, 4);
    object.CopyMotionPixels(&one);
    EXPECT_EQ(object.objectPixelsCount, 4);
    EXPECT_EQ(object._realBufferLenght, 4);
}

TEST(MotionObjectTest, CopyGrowsToTwiceTheNeededLength) {
    MotionObject object(4), source(5);
    AddBlocks(object, {{10, 20}, {11, 21}});
    AddBlocks(source, {{1, 2}, {3, 4}, {50, 60}});
    object.CopyMotionPixels(&source);
    EXPECT_EQ(object._realBufferLenght, 10);
    EXPECT_EQ(BlocksOf(object), (Blocks{{10, 20}, {11, 21}, {1, 2}, {3, 4}, {50, 60}}));
    EXPECT_TRUE(BoxIs(object, 1, 50, 2, 60));
    EXPECT_EQ(BlocksOf(source), (Blocks{{1, 2}, {3, 4}, {50, 60}}));
    EXPECT_EQ(source._realBufferLenght, 5);
    AddBlocks(object, {{0, 0}, {0, 1}, {0, 2}, {0, 3}});  // the new room is there
    EXPECT_EQ(object.objectPixelsCount, 9);
}

TEST(MotionObjectTest, CopyThatFitsDoesNotGrow) {
    MotionObject object(5), source(4);
    AddBlocks(object, {{10, 20}, {11, 21}});
    AddBlocks(source, {{1, 2}, {3, 4}, {5, 6}});
    object.CopyMotionPixels(&source);
    EXPECT_EQ(object._realBufferLenght, 5);
    EXPECT_EQ(object.objectPixelsCount, 5);
}

TEST(MotionObjectTest, CopyDoesNotReadTheBoxOfItsSource) {
    MotionObject object(9), source(9);
    AddBlocks(object, {{10, 20}});
    AddBlocks(source, {{12, 22}});
    source.minX = source.minY = -100;
    source.maxX = source.maxY = 100;
    object.CopyMotionPixels(&source);
    EXPECT_TRUE(BoxIs(object, 10, 12, 20, 22));
}

TEST(MotionObjectTest, CopyWidensOverTheAppendedBlocksOnly) {
    MotionObject object(9), source(9);
    AddBlocks(object, {{10, 20}, {30, 40}});
    object.minX = object.maxX = 15;
    object.minY = object.maxY = 25;
    AddBlocks(source, {{14, 26}});
    object.CopyMotionPixels(&source);
    EXPECT_TRUE(BoxIs(object, 14, 15, 25, 26));
}

TEST(MotionObjectTest, CopyOfNoBlocksChangesNothing) {
    MotionObject object(2), source(9);
    object.AddPixel(1, 1);
    object.CopyMotionPixels(&source);
    EXPECT_EQ(BlocksOf(object), (Blocks{{1, 1}}));
    EXPECT_EQ(object._realBufferLenght, 2);
    MotionObject empty(2);
    empty.CopyMotionPixels(&object);
    EXPECT_EQ(BlocksOf(empty), (Blocks{{1, 1}}));
    EXPECT_TRUE(BoxIs(empty, 1, 1, 1, 1));
}

TEST(MotionObjectTest, CopyEqualsAppendingForRandomObjects) {
    std::mt19937 random(52);
    for (int round = 0; round < 300; ++round) {
        MotionObject object(1 + static_cast<int>(random() % 20));
        Blocks model;
        int length = object._realBufferLenght;
        for (int step = 0; step < 8; ++step) {
            MotionObject source(40);
            const auto count = random() % 30;
            for (unsigned i = 0; i < count; ++i) {
                source.AddPixel(static_cast<int>(random() % 65536) - 32768, static_cast<int>(random() % 65536) - 32768);
                model.push_back(BlocksOf(source).back());
            }
            if (static_cast<int>(model.size()) > length) length = 2 * static_cast<int>(model.size());
            object.CopyMotionPixels(&source);
            ASSERT_EQ(BlocksOf(object), model);
            ASSERT_EQ(object._realBufferLenght, length);
            ASSERT_TRUE(Kit::BoxIsAround(object, model));
        }
    }
}

TEST(MotionObjectDeathTest, CopyWithoutBuffersIsFatal) {
    EXPECT_DEATH(
        {
            MotionObject object(4);
            MotionObject source(4);
            object.motionX = nullptr;
            object.CopyMotionPixels(&source);
        },
        "Assertion `motionX && motionY' failed");
    EXPECT_DEATH(
        {
            MotionObject object(4);
            object.motionY = nullptr;
            object.CopyMotionPixels(nullptr);  // its own buffers come first
        },
        "Assertion `motionX && motionY' failed");
}

TEST(MotionObjectDeathTest, CopyFromNothingIsFatal) {
    MotionObject object(4);
    EXPECT_DEATH(object.CopyMotionPixels(nullptr), "Assertion `src && src->motionX && src->motionY' failed");
    EXPECT_DEATH(
        {
            MotionObject source(4);
            source.motionX = nullptr;
            object.CopyMotionPixels(&source);
        },
        "Assertion `src && src->motionX && src->motionY' failed");
    EXPECT_DEATH(
        {
            MotionObject source(4);
            source.motionY = nullptr;
            object.CopyMotionPixels(&source);
        },
        "Assertion `src && src->motionX && src->motionY' failed");
}

TEST(MotionObjectListTest, RemovalOfTheOnlyObjectEmptiesTheList) {
    OwnedList list;
    EXPECT_TRUE(ListIs(list, {}));
    MotionObject object(1);
    list.Add(&object);
    EXPECT_TRUE(ListIs(list, {&object}));
    list.Remove(&object);
    EXPECT_TRUE(ListIs(list, {}));
    EXPECT_EQ(object.prev, nullptr);
    EXPECT_EQ(object.next, nullptr);
}

TEST(MotionObjectListTest, RemovalLinksTheNeighbours) {
    for (std::size_t removed = 0; removed < 3; ++removed) {
        OwnedList list;
        std::vector<MotionObject*> expected;
        for (int i = 0; i < 3; ++i) {
            expected.push_back(new MotionObject(1));
            list.Add(expected.back());
        }
        MotionObject* const object = expected[removed];
        list.Remove(object);
        EXPECT_EQ(object->prev, nullptr);
        EXPECT_EQ(object->next, nullptr);
        delete object;  // removal did not
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(removed));
        EXPECT_TRUE(ListIs(list, expected)) << removed;
    }
}

TEST(MotionObjectListTest, GetByIndexCountsFromTheFirst) {
    OwnedList list;
    std::vector<MotionObject*> objects;
    for (int i = 0; i < 5; ++i) {
        objects.push_back(new MotionObject(1));
        list.Add(objects.back());
        for (short index = 0; index <= i; ++index)
            EXPECT_EQ(list.GetByIndex(index), objects[static_cast<std::size_t>(index)]);
    }
}

TEST(MotionObjectListTest, ReleaseEmptiesTheList) {
    MotionObjectList list;
    list.Release();
    EXPECT_TRUE(ListIs(list, {}));
    for (int i = 0; i < 5; ++i) list.Add(new MotionObject(3));
    list.Release();
    EXPECT_TRUE(ListIs(list, {}));
}

TEST(MotionObjectListTest, RandomOperationsEqualTheStandardList) {
    std::mt19937 random(53);
    OwnedList first, second;
    std::vector<MotionObject*> firstModel, secondModel;
    for (int step = 0; step < 5000; ++step) {
        const bool isFirst = random() % 2 == 0;
        MotionObjectList& list = isFirst ? first : second;
        MotionObjectList& other = isFirst ? second : first;
        std::vector<MotionObject*>& model = isFirst ? firstModel : secondModel;
        std::vector<MotionObject*>& otherModel = isFirst ? secondModel : firstModel;
        const auto operation = random() % 100;
        if (operation < 45) {
            model.push_back(new MotionObject(1));
            list.Add(model.back());
        } else if (operation < 99) {
            if (model.empty()) continue;
            const std::size_t position = random() % model.size();
            MotionObject* const object = list.GetByIndex(static_cast<short>(position));
            ASSERT_EQ(object, model[position]);
            list.Remove(object);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(position));
            if (operation < 70) {
                delete object;
            } else {  // removed objects may go elsewhere, or back
                otherModel.push_back(object);
                other.Add(object);
            }
        } else {
            list.Release();
            model.clear();
        }
        ASSERT_TRUE(ListIs(first, firstModel)) << step;
        ASSERT_TRUE(ListIs(second, secondModel)) << step;
    }
}

TEST(MotionObjectListDeathTest, NullObjectIsFatal) {
    OwnedList list;
    EXPECT_DEATH(list.Add(nullptr), "Assertion `object' failed");
    EXPECT_DEATH(list.Remove(nullptr), "Assertion `object' failed");
}

TEST(MotionObjectListDeathTest, RemovalOfAStrangerIsFatal) {
    OwnedList list;
    list.Add(new MotionObject(1));
    list.Add(new MotionObject(1));
    MotionObject stranger(1);
    EXPECT_DEATH(list.Remove(&stranger), "Assertion `_first == object' failed");
    // One that believes to stand behind the first, but is not the last.
    EXPECT_DEATH(
        {
            stranger.prev = list._first;
            list.Remove(&stranger);
        },
        "Assertion `_last == object' failed");
}

TEST(MotionObjectListDeathTest, RemovalBelowNoObjectsIsFatal) {
    EXPECT_DEATH(
        {
            OwnedList list;
            MotionObject object(1);
            list.Add(&object);
            list._objectsCount = 0;
            list.Remove(&object);
        },
        "Assertion `_objectsCount >= 0' failed");
}

TEST(MotionObjectListDeathTest, IndexBeyondTheCountIsFatal) {
    OwnedList list;
    EXPECT_DEATH(list.GetByIndex(0), "Assertion `index < _objectsCount' failed");
    list.Add(new MotionObject(1));
    EXPECT_DEATH(list.GetByIndex(1), "Assertion `index < _objectsCount' failed");
}

TEST(MotionObjectListDeathTest, IndexBeyondTheChainIsFatal) {
    OwnedList list;
    list.Add(new MotionObject(1));
    EXPECT_DEATH(list.GetByIndex(-1), "Assertion `false' failed");
    EXPECT_DEATH(
        {
            list._objectsCount = 3;
            list.GetByIndex(1);
        },
        "Assertion `false' failed");
}

TEST(MotionObjectListDeathTest, CountThatDisagreesWithTheLinksIsFatal) {
    EXPECT_DEATH(
        {
            MotionObjectList list;
            list._objectsCount = 1;
            list.Release();
        },
        "MotionObject\\.cpp:.*Assertion `!_objectsCount' failed");
}
