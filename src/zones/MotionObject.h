// What is one moving thing?  Its blocks with their bounding box; lists and pools of such objects.
#pragma once

#include <cstdint>

#include "coreMD.h"
#include "utils/Visibility.h"
#include "zones/CellArena.h"
#include "utils/CellBox.h"

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
    int _realBufferLenght;  // capacity in blocks, for AddPixel and CopyMotionPixels
    short* motionX;         // objectPixelsCount columns: storage follows the blocks, not the capacity
    short* motionY;         // objectPixelsCount rows
    short index;            // 0; handed out to hosts
    short secondIndex;      // 0; likewise
    short minX;             // bounding box, inclusive
    short maxX;
    short minY;
    short maxY;
    int objectPixelsCount;

private:
    friend class MotionObjectList;
    friend class MotionObjectPool;
    friend class ObjectMerger;

    MD_INTERNAL MotionObject(int length, short* cells, int storedLength);  // borrowed cells, see Borrow
    MD_INTERNAL void Borrow(short* cells, int storedLength);               // 2 * storedLength coordinates, columns first
    MD_INTERNAL bool IsBorrowing() const;
    MD_INTERNAL void OwnCells(int storedLength);             // moves the blocks to memory of its own
    MD_INTERNAL void AppendBlocks(const MotionObject& src);  // which must fit; the box stays
    MD_INTERNAL CellBox Box() const;
    MD_INTERNAL void SetBox(CellBox box);
    MD_INTERNAL void WidenBoxFrom(int first);  // over the blocks from `first` on

    short* _ownCells;   // null while the coordinates are borrowed from a pool
    int _storedLength;  // entries present; up to _realBufferLenght are made on demand
};

// Links objects through their own prev and next; an object is in one list at most. Release destroys the objects.
class COREMD_API MotionObjectList {
public:
    MotionObjectList();

    void Add(MotionObject* object);  // at the tail; fatal "object"
    // Unlinks and does not destroy: the caller owns the object, blocks included, whatever becomes of the pool it was in.
    void Remove(MotionObject* object);      // fatal "object", "_first == object", "_last == object", "_objectsCount >= 0"
    MotionObject* GetByIndex(short index);  // 0 is the first; fatal "index < _objectsCount", "false"
    void Release();                         // fatal "!_objectsCount" when the count disagrees with the links

    MotionObject* _first;
    MotionObject* _last;
    int _objectsCount;

private:
    friend class MotionObjectPool;

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

    // Each appends one object to the busy list, the free list's first or a new one of the length given.
    void Add(short* xs, short* ys, int currentPixelsCount, int length);  // fatal "currentPixelsCount > 0"
    void Copy(MotionObject* src);
    void AddWorkingObjects(int count);  // `count` objects with an empty box

    void ClearBusyList();                       // to the free list
    void RemoveFromBusy(MotionObject* object);  // destroys it
    void ReleaseBusyList();                     // destroys the objects; the free list does not grow
    void Release();                             // destroys free and busy objects

    MotionObjectList _freeList;
    MotionObjectList _busyList;
    int _width;
    int _height;

private:
    friend class ObjectMerger;

    // A busy object gets room for `blockCount` blocks in all and the capacity `length`; then it takes over the blocks of
    // others, which are destroyed. Its box stays.
    MD_INTERNAL void MakeRoom(MotionObject* object, int blockCount, int length);
    MD_INTERNAL void Absorb(MotionObject* object, MotionObject* part);

    MD_INTERNAL MotionObject* Take(std::int64_t length, int blockCount);
    MD_INTERNAL short* TakeCells(int blockCount);
    MD_INTERNAL void Recycle(MotionObject* object);

    // Destroyed objects, kept for their memory only; their blocks lie in the arena, which is reset with the busy list.
    MotionObject* _spare;
    CellArena _cells;
};

}  // namespace MD
