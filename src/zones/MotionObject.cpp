// What is one moving thing?
#include "zones/MotionObject.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>

#include "utils/Assert.h"
#include "utils/Buffers.h"

namespace MD {
namespace {

constexpr std::size_t arenaPieceLength = std::size_t{1} << 16;  // coordinates: 32768 blocks, untouched memory costs nothing

// Lengths are counted in an int. Throws std::bad_array_new_length beyond it and below 0.
int CheckedLength(std::int64_t length) {
    if (length < 0 || length > std::numeric_limits<int>::max()) throw std::bad_array_new_length();
    return static_cast<int>(length);
}

}  // namespace

MotionObject::MotionObject(int length) : MotionObject(CheckedLength(length), nullptr, 0) { OwnCells(length); }

MotionObject::MotionObject(int length, short* cells, int storedLength)
    : prev(nullptr),
      next(nullptr),
      _realBufferLenght(length),
      index(0),
      secondIndex(0),
      objectPixelsCount(0),
      _ownCells(nullptr) {
    Borrow(cells, storedLength);
    SetBox(emptyCellBox);
}

MotionObject::~MotionObject() { delete[] _ownCells; }

bool MotionObject::IsBorrowing() const { return !_ownCells; }

void MotionObject::Borrow(short* cells, int storedLength) {
    motionX = cells;
    motionY = cells + storedLength;
    _storedLength = storedLength;
}

void MotionObject::OwnCells(int storedLength) {
    const std::size_t length = static_cast<std::size_t>(storedLength);
    std::unique_ptr<short[]> cells(new short[2 * length]);
    if (objectPixelsCount > 0) {
        Utils::CopyBuff(motionX, cells.get(), objectPixelsCount);
        Utils::CopyBuff(motionY, cells.get() + length, objectPixelsCount);
    }
    delete[] _ownCells;
    _ownCells = cells.release();
    Borrow(_ownCells, storedLength);
}

void MotionObject::AppendBlocks(const MotionObject& src) {
    if (src.objectPixelsCount <= 0) return;
    Utils::CopyBuff(src.motionX, motionX + objectPixelsCount, src.objectPixelsCount);
    Utils::CopyBuff(src.motionY, motionY + objectPixelsCount, src.objectPixelsCount);
    objectPixelsCount += src.objectPixelsCount;
}

CellBox MotionObject::Box() const { return {minX, maxX, minY, maxY}; }

void MotionObject::SetBox(CellBox box) {
    minX = static_cast<short>(box.left);
    maxX = static_cast<short>(box.right);
    minY = static_cast<short>(box.top);
    maxY = static_cast<short>(box.bottom);
}

void MotionObject::WidenBoxFrom(int first) {
    SetBox(Union(Box(), BoxOfCells(motionX + first, motionY + first, objectPixelsCount - first)));
}

void MotionObject::AddPixel(int x, int y) {
    assert(objectPixelsCount + 1 < _realBufferLenght);
    if (objectPixelsCount >= _storedLength) OwnCells(_realBufferLenght);
    motionX[objectPixelsCount] = static_cast<short>(x);
    motionY[objectPixelsCount] = static_cast<short>(y);
    if (minX > x) minX = static_cast<short>(x);
    if (maxX < x) maxX = static_cast<short>(x);
    if (minY > y) minY = static_cast<short>(y);
    if (maxY < y) maxY = static_cast<short>(y);
    ++objectPixelsCount;
}

void MotionObject::CopyMotionPixels(MotionObject* src) {
    assert(motionX && motionY);
    assert(src && src->motionX && src->motionY);
    const int old = objectPixelsCount;
    const std::int64_t total = static_cast<std::int64_t>(old) + src->objectPixelsCount;
    const int length = total > _realBufferLenght ? CheckedLength(2 * total) : _realBufferLenght;
    if (total > _storedLength) OwnCells(length);
    _realBufferLenght = length;
    AppendBlocks(*src);
    WidenBoxFrom(old);
}

MotionObjectList::MotionObjectList() : _first(nullptr), _last(nullptr), _objectsCount(0) {}

void MotionObjectList::Add(MotionObject* object) {
    assert(object);
    object->prev = _last;
    if (_last) _last->next = object;
    else _first = object;
    _last = object;
    ++_objectsCount;
}

void MotionObjectList::Remove(MotionObject* object) {
    assert(object);
    if (object->IsBorrowing()) object->OwnCells(object->_realBufferLenght);
    Unlink(object);
}

void MotionObjectList::Unlink(MotionObject* object) {
    if (object->prev) {
        object->prev->next = object->next;
    } else {
        assert(_first == object);
        _first = object->next;
    }
    if (object->next) {
        object->next->prev = object->prev;
    } else {
        assert(_last == object);
        _last = object->prev;
    }
    --_objectsCount;
    assert(_objectsCount >= 0);
    object->prev = object->next = nullptr;
}

MotionObject* MotionObjectList::GetByIndex(short index) {
    assert(index < _objectsCount);
    int position = 0;
    for (MotionObject* object = _first; object; object = object->next, ++position)
        if (position == index) return object;
    assert(false);
    return nullptr;
}

void MotionObjectList::Release() {
    for (MotionObject* object = _first; object;) {
        MotionObject* const successor = object->next;
        --_objectsCount;
        delete object;
        object = successor;
    }
    _first = _last = nullptr;
    assert(!_objectsCount);
}

MotionObjectPool::MotionObjectPool() : _width(0), _height(0), _spare(nullptr) {}

MotionObjectPool::~MotionObjectPool() { Release(); }

void MotionObjectPool::Inic(int width, int height) {
    Release();
    _width = width;
    _height = height;
}

short* MotionObjectPool::TakeCells(int blockCount) {
    return _cells.Take(2 * static_cast<std::size_t>(blockCount), arenaPieceLength);
}

MotionObject* MotionObjectPool::Take(std::int64_t length, int blockCount) {
    if (MotionObject* const object = _freeList._first) {
        if (object->IsBorrowing() || object->_storedLength < blockCount)
            object->OwnCells(std::max(object->_realBufferLenght, blockCount));
        _freeList.Remove(object);
        return object;
    }
    const int capacity = CheckedLength(length);
    short* const cells = TakeCells(blockCount);
    MotionObject* const object = _spare;
    if (!object) return new MotionObject(capacity, cells, blockCount);
    _spare = object->next;
    object->next = nullptr;
    object->_realBufferLenght = capacity;
    object->index = object->secondIndex = 0;
    object->Borrow(cells, blockCount);
    return object;
}

void MotionObjectPool::Recycle(MotionObject* object) {
    delete[] object->_ownCells;
    object->_ownCells = nullptr;
    object->objectPixelsCount = 0;
    object->prev = nullptr;
    object->next = _spare;
    _spare = object;
}

void MotionObjectPool::MakeRoom(MotionObject* object, int blockCount, int length) {
    if (blockCount > object->_storedLength) {
        short* const cells = TakeCells(blockCount);
        Utils::CopyBuff(object->motionX, cells, object->objectPixelsCount);
        Utils::CopyBuff(object->motionY, cells + blockCount, object->objectPixelsCount);
        delete[] object->_ownCells;
        object->_ownCells = nullptr;
        object->Borrow(cells, blockCount);
    }
    object->_realBufferLenght = length;
}

void MotionObjectPool::Absorb(MotionObject* object, MotionObject* part) {
    object->AppendBlocks(*part);
    RemoveFromBusy(part);
}

void MotionObjectPool::Add(short* xs, short* ys, int currentPixelsCount, int length) {
    assert(currentPixelsCount > 0);
    MotionObject* const object = Take(length, currentPixelsCount);
    Utils::CopyBuff(xs, object->motionX, currentPixelsCount);
    Utils::CopyBuff(ys, object->motionY, currentPixelsCount);
    object->objectPixelsCount = currentPixelsCount;
    object->SetBox(BoxOfCells(xs, ys, currentPixelsCount));
    _busyList.Add(object);
}

void MotionObjectPool::Copy(MotionObject* src) {
    MotionObject* const object = Take(src->_realBufferLenght, src->objectPixelsCount);
    object->objectPixelsCount = 0;
    object->AppendBlocks(*src);
    object->SetBox(src->Box());
    _busyList.Add(object);
}

void MotionObjectPool::AddWorkingObjects(int count) {
    const std::int64_t length = static_cast<std::int64_t>(_width) * _height;
    for (int i = 0; i < count; ++i) {
        MotionObject* object = _freeList._first;
        if (object) _freeList.Remove(object);
        else object = new MotionObject(CheckedLength(length));
        object->SetBox(emptyCellBox);
        _busyList.Add(object);
    }
}

void MotionObjectPool::ClearBusyList() {
    while (MotionObject* const object = _busyList._first) {
        _busyList.Remove(object);  // its blocks leave the arena
        _freeList.Add(object);
    }
    _cells.Reset();
}

void MotionObjectPool::RemoveFromBusy(MotionObject* object) {
    assert(object);
    _busyList.Unlink(object);
    Recycle(object);
}

void MotionObjectPool::ReleaseBusyList() {
    int& _objectsCount = _busyList._objectsCount;
    for (MotionObject* object = _busyList._first; object;) {
        MotionObject* const successor = object->next;
        --_objectsCount;
        Recycle(object);
        object = successor;
    }
    _busyList._first = _busyList._last = nullptr;
    assert(!_objectsCount);
    _cells.Reset();
}

void MotionObjectPool::Release() {
    _freeList.Release();
    _busyList.Release();
    while (MotionObject* const object = _spare) {
        _spare = object->next;
        delete object;
    }
    _cells.Free();
}

}  // namespace MD
