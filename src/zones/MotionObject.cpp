// What is one moving thing?
#include "zones/MotionObject.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "utils/Assert.h"
#include "utils/Buffers.h"
#include "utils/StandardGaps.h"

namespace MD {
namespace {

// Lengths are counted in an int. Throws std::bad_array_new_length beyond it and below 0.
int CheckedLength(std::int64_t length) {
    if (length < 0 || length > std::numeric_limits<int>::max()) throw std::bad_array_new_length();
    return static_cast<int>(length);
}

}  // namespace

MotionObject::MotionObject(int length) : MotionObject(CheckedLength(length), NoRoom{}) { OwnCells(length); }

MotionObject::MotionObject(int length, NoRoom)
    : prev(nullptr),
      next(nullptr),
      _realBufferLenght(length),
      motionX(nullptr),
      motionY(nullptr),
      index(0),
      secondIndex(0),
      objectPixelsCount(0),
      _lender(nullptr),
      _storedLength(0) {
    SetBox(emptyCellBox);
}

MotionObject::~MotionObject() = default;

void MotionObject::KeepBorrowed() noexcept {
    if (!_lender) return;
    _cells = _lender->Share(motionX);
    _lender = nullptr;
}

void MotionObject::OwnCells(int storedLength) {
    const std::size_t length = static_cast<std::size_t>(storedLength);
    std::shared_ptr<short[]> cells = MakeSharedArray<short>(2 * length);
    if (objectPixelsCount > 0) {
        Utils::CopyBuff(motionX, cells.get(), objectPixelsCount);
        Utils::CopyBuff(motionY, cells.get() + length, objectPixelsCount);
    }
    motionX = cells.get();
    motionY = motionX + length;
    _storedLength = storedLength;
    _cells = std::move(cells);
    _lender = nullptr;
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
    assert(!object->next && object != _last);
    Append(object);
}

void MotionObjectList::Remove(MotionObject* object) {
    assert(object);
    object->KeepBorrowed();
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

// The free list's first, null if there is none. One that was lean has room for its whole capacity from now on.
MotionObject* MotionObjectPool::TakeFree(int blockCount) {
    MotionObject* const object = _freeList._first;
    if (!object) return nullptr;
    const int needed = std::max(object->_realBufferLenght, blockCount);
    if (object->_storedLength < needed) object->OwnCells(needed);
    _freeList.Remove(object);
    return object;
}

MotionObject* MotionObjectPool::NewObject(int length) { return new MotionObject(length, MotionObject::NoRoom{}); }

MotionObject* MotionObjectPool::TakeWhole(std::int64_t length, int blockCount) {
    if (MotionObject* const object = TakeFree(blockCount)) return object;
    const int capacity = CheckedLength(length);
    std::unique_ptr<MotionObject> object(TakeSpare(capacity));
    object->OwnCells(std::max(capacity, blockCount));
    return object.release();
}

// Memory of its own is given back at once; what else is in it is of no use any more.
void MotionObjectPool::Recycle(MotionObject* object) {
    object->_cells = nullptr;
    object->next = _spare;
    _spare = object;
}

void MotionObjectPool::Absorb(MotionObject* object, MotionObject* part) {
    object->AppendBlocks(*part);
    RemoveFromBusy(part);
}

void MotionObjectPool::Add(short* xs, short* ys, int currentPixelsCount, int length) {
    assert(currentPixelsCount > 0);
    Ensure(Utils::BrokenSource(xs, __extension__ __PRETTY_FUNCTION__));  // before their box is looked for
    Ensure(Utils::BrokenSource(ys, __extension__ __PRETTY_FUNCTION__));
    MotionObject* const object = TakeWhole(length, currentPixelsCount);
    Fill(object, xs, ys, currentPixelsCount, BoxOfCells(xs, ys, currentPixelsCount));
}

void MotionObjectPool::Copy(MotionObject* src) {
    assert(src);
    FillFrom(TakeWhole(src->_realBufferLenght, src->objectPixelsCount), *src);
}

void MotionObjectPool::AddWorkingObjects(int count) {
    const std::int64_t length = static_cast<std::int64_t>(_width) * _height;
    for (int i = 0; i < count; ++i) {
        MotionObject* const object = TakeWhole(length, 0);
        object->SetBox(emptyCellBox);
        _busyList.Add(object);
    }
}

void MotionObjectPool::ClearBusyList() {
    while (MotionObject* const object = _busyList._first) {
        _busyList.Remove(object);
        _freeList.Add(object);
    }
    _cells.Reset();
}

void MotionObjectPool::RemoveFromBusy(MotionObject* object) {
    assert(object);
    _busyList.Unlink(object);
    Recycle(object);
}

// As Recycle, for all at once: the list becomes the front of that of the spare ones.
void MotionObjectPool::ReleaseBusyList() {
    int& _objectsCount = _busyList._objectsCount;
    MotionObject* last = nullptr;
    for (MotionObject* object = _busyList._first; object; object = object->next) {
        --_objectsCount;
        if (object->_cells) object->_cells = nullptr;
        last = object;
    }
    if (last) {
        last->next = _spare;
        _spare = _busyList._first;
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
