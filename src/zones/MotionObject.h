// What is one moving thing?  Its blocks with their bounding box; lists and pools of such objects.
#pragma once

#include <cstdint>
#include <memory>

#include "coreMD.h"
#include "utils/CellBox.h"
#include "utils/Visibility.h"
#include "zones/CellArena.h"

namespace Utils {

template <class T>
void CopyMostlyOne(const T* source, T* destination, std::int64_t count);  // for owners: in Buffers.h

}  // namespace Utils

namespace MD {

// Blocks keep the order in which they were added. Coordinates are (column, row) on the block grid.
class COREMD_API MotionObject {
public:
    explicit MotionObject(int length);  // room for `length` blocks, uninitialised; no block yet, empty box
    ~MotionObject();
    MotionObject(const MotionObject&) = delete;
    MotionObject& operator=(const MotionObject&) = delete;

    // Deliberate: one entry always stays spare here (fatal "objectPixelsCount + 1 < _realBufferLenght"), while
    // CopyMotionPixels fills the buffers to the brim (MotionObjectTest, FourthPixelOfLengthFourIsFatal).
    void AddPixel(int x, int y);

    // Appends the blocks of `src`, growing to twice the needed length where they do not fit. The box widens over the
    // appended blocks; the box of `src` is not read.
    void CopyMotionPixels(MotionObject* src);

    MotionObject* prev;
    MotionObject* next;
    int _realBufferLenght;  // capacity in blocks
    short* motionX;         // _realBufferLenght columns; of an object that the detector made: objectPixelsCount
    short* motionY;         // likewise, rows
    short index;            // 0; handed out to hosts
    short secondIndex;      // 0; likewise
    short minX;             // bounding box, inclusive
    short maxX;
    short minY;
    short maxY;
    int objectPixelsCount;

private:
    friend class MotionObjectList;
    friend class LeanObjects;
    friend class MotionObjectPool;
    friend class ObjectMerger;

    // Room for the blocks is the object's own, or borrowed from its pool: see LeanObjects.
    struct NoRoom {};
    MD_INTERNAL MotionObject(int length, NoRoom);
    MD_INTERNAL void Borrow(CellArena& lender, int storedLength, short* cells) {  // 2 * storedLength, columns first
        _lender = &lender;
        motionX = cells;
        motionY = cells + storedLength;
        _storedLength = storedLength;
    }
    MD_INTERNAL void KeepBorrowed() noexcept;                 // where they are, for as long as it lives
    MD_INTERNAL void OwnCells(int storedLength);              // moves the blocks to memory of its own
    MD_INTERNAL void AppendBlocks(const MotionObject& src) {  // which must fit; the box stays
        if (src.objectPixelsCount <= 0) return;
        Utils::CopyMostlyOne(src.motionX, motionX + objectPixelsCount, src.objectPixelsCount);
        Utils::CopyMostlyOne(src.motionY, motionY + objectPixelsCount, src.objectPixelsCount);
        objectPixelsCount += src.objectPixelsCount;
    }
    MD_INTERNAL CellBox Box() const { return {minX, maxX, minY, maxY}; }
    MD_INTERNAL void SetBox(CellBox box) {
        minX = static_cast<short>(box.left);
        maxX = static_cast<short>(box.right);
        minY = static_cast<short>(box.top);
        maxY = static_cast<short>(box.bottom);
    }
    MD_INTERNAL void WidenBoxFrom(int first);  // over the blocks from `first` on

    CellArena* _lender;               // whose cells these are; null: the object keeps them
    std::shared_ptr<short[]> _cells;  // what keeps them; null where they are borrowed
    int _storedLength;                // entries present
};

// Links objects through their own prev and next; an object is in one list at most. Release destroys the objects.
class COREMD_API MotionObjectList {
public:
    MotionObjectList();

    void Add(MotionObject* object);  // at the tail; fatal "object"
    // Unlinks and does not destroy: the caller owns the object, blocks included, whatever becomes of the pool it was in. The
    // blocks stay where they are.
    void Remove(MotionObject* object);      // fatal "object", "_first == object", "_last == object", "_objectsCount >= 0"
    MotionObject* GetByIndex(short index);  // 0 is the first; fatal "index < _objectsCount", "false"
    void Release();                         // fatal "!_objectsCount" when the count disagrees with the links

    MotionObject* _first;
    MotionObject* _last;
    int _objectsCount;

private:
    friend class LeanObjects;
    friend class MotionObjectPool;

    MD_INTERNAL void Append(MotionObject* object) {
        object->prev = _last;
        if (_last) _last->next = object;
        else _first = object;
        _last = object;
        ++_objectsCount;
    }
    MD_INTERNAL void Unlink(MotionObject* object);
};

// The objects of the current frame (busy) and storage kept for the next ones (free).
// All objects of a pool have room for at least one grid of blocks: Add and Copy rely on it.
class COREMD_API MotionObjectPool {
public:
    MotionObjectPool();
    ~MotionObjectPool();
    MotionObjectPool(const MotionObjectPool&) = delete;
    MotionObjectPool& operator=(const MotionObjectPool&) = delete;

    void Inic(int width, int height);  // destroys all objects; AddWorkingObjects then makes room for width * height blocks

    // Each appends one object to the busy list, the free list's first or a new one of the length given. All entries of its
    // buffers are its own.
    void Add(short* xs, short* ys, int currentPixelsCount, int length);  // fatal "currentPixelsCount > 0"
    void Copy(MotionObject* src);
    void AddWorkingObjects(int count);  // `count` objects with an empty box

    void ClearBusyList();                       // to the free list; blocks stay where they are
    void RemoveFromBusy(MotionObject* object);  // destroys it
    void ReleaseBusyList();                     // destroys the objects; the free list does not grow
    void Release();                             // destroys free and busy objects

    MotionObjectList _freeList;
    MotionObjectList _busyList;
    int _width;
    int _height;

private:
    friend class LeanObjects;
    friend class ObjectMerger;

    MD_INTERNAL void Absorb(MotionObject* object, MotionObject* part);  // its blocks, which must fit; the box stays
    MD_INTERNAL MotionObject* TakeFree(int blockCount);
    MD_INTERNAL MotionObject* TakeSpare(int length) {  // no room, no blocks; its box is to be set
        MotionObject* const object = _spare;
        if (!object) return NewObject(length);
        _spare = object->next;
        object->next = nullptr;
        object->_realBufferLenght = length;
        object->motionX = object->motionY = nullptr;
        object->index = object->secondIndex = 0;
        object->objectPixelsCount = 0;
        object->_lender = nullptr;
        object->_storedLength = 0;
        return object;
    }
    MD_INTERNAL static MotionObject* NewObject(int length);
    MD_INTERNAL MotionObject* TakeWhole(std::int64_t length, int blockCount);
    MD_INTERNAL void Fill(MotionObject* object, const short* xs, const short* ys, int blockCount, CellBox box) {
        Utils::CopyMostlyOne(xs, object->motionX, blockCount);
        Utils::CopyMostlyOne(ys, object->motionY, blockCount);
        object->objectPixelsCount = blockCount;
        object->SetBox(box);
        _busyList.Append(object);
    }
    MD_INTERNAL void FillFrom(MotionObject* object, const MotionObject& src) {
        object->objectPixelsCount = 0;
        object->AppendBlocks(src);
        object->SetBox(src.Box());
        _busyList.Append(object);
    }
    MD_INTERNAL void Recycle(MotionObject* object);

    MotionObject* _spare;  // destroyed objects, kept for their memory only
    CellArena _cells;      // the blocks of lean objects; reset with the busy list
};

}  // namespace MD
