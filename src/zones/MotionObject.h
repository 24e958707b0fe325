// What is one moving thing?  Its blocks with their bounding box; lists and pools of such objects.
#pragma once

#include <cstdint>

#include "coreMD.h"
#include "utils/Visibility.h"

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
    int           _realBufferLenght; // entries of motionX and of motionY
    short*        motionX;           // columns, owned
    short*        motionY;           // rows, owned
    short         index;             // 0; handed out to hosts
    short         secondIndex;       // 0; likewise
    short         minX;              // bounding box, inclusive
    short         maxX;
    short         minY;
    short         maxY;
    int           objectPixelsCount;

private:
    friend class MotionObjectPool;

    MD_INTERNAL void SetEmptyBox();             // min 32767, max -32768
    MD_INTERNAL void WidenBoxFrom(int first);   // over the blocks from `first` on
};

// Links objects through their own prev and next; an object is in one list at most. Release destroys the objects.
class COREMD_API MotionObjectList {
public:
    MotionObjectList();

    void Add(MotionObject* object);       // at the tail; fatal "object"
    void Remove(MotionObject* object);    // unlinks, does not destroy; fatal "object", "_first == object", "_last == object"
    MotionObject* GetByIndex(short index);// 0 is the first; fatal "index < _objectsCount", "false"
    void Release();                       // fatal "!_objectsCount" when the count disagrees with the links

    MotionObject* _first;
    MotionObject* _last;
    int           _objectsCount;
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
    int              _width;
    int              _height;

private:
    MD_INTERNAL MotionObject* Take(std::int64_t length);
};

}  // namespace MD
