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

void MotionObject::Borrow(CellArena& lender, int storedLength, short* cells) {
    _lender = &lender;
    _cells = nullptr;
    motionX = cells;
    motionY = cells + storedLength;
    _storedLength = storedLength;
}

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
    assert(!object->next && object != _last);
    object->prev = _last;
    if (_last) _last->next = object;
    else _first = object;
    _last = object;
    ++_objectsCount;
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

// A new object, as yet without room.
MotionObject* MotionObjectPool::TakeSpare(int length) {
    MotionObject* const object = _spare;
    if (!object) return new MotionObject(length, MotionObject::NoRoom{});
    _spare = object->next;
    object->next = nullptr;
    object->_realBufferLenght = length;
    object->index = object->secondIndex = 0;
    return object;
}

MotionObject* MotionObjectPool::TakeWhole(std::int64_t length, int blockCount) {
    if (MotionObject* const object = TakeFree(blockCount)) return object;
    const int capacity = CheckedLength(length);
    std::unique_ptr<MotionObject> object(TakeSpare(capacity));
    object->OwnCells(std::max(capacity, blockCount));
    return object.release();
}

void MotionObjectPool::Recycle(MotionObject* object) {
    object->_lender = nullptr;
    object->_cells = nullptr;
    object->motionX = object->motionY = nullptr;
    object->_storedLength = 0;
    object->objectPixelsCount = 0;
    object->prev = nullptr;
    object->next = _spare;
    _spare = object;
}

void MotionObjectPool::Absorb(MotionObject* object, MotionObject* part) {
    object->AppendBlocks(*part);
    RemoveFromBusy(part);
}

void MotionObjectPool::Fill(MotionObject* object, const short* xs, const short* ys, int blockCount) {
    Utils::CopyBuff(xs, object->motionX, blockCount);
    Utils::CopyBuff(ys, object->motionY, blockCount);
    object->objectPixelsCount = blockCount;
    object->SetBox(BoxOfCells(xs, ys, blockCount));
    _busyList.Add(object);
}

void MotionObjectPool::FillFrom(MotionObject* object, const MotionObject& src) {
    object->objectPixelsCount = 0;
    object->AppendBlocks(src);
    object->SetBox(src.Box());
    _busyList.Add(object);
}

void MotionObjectPool::Add(short* xs, short* ys, int currentPixelsCount, int length) {
    assert(currentPixelsCount > 0);
    Fill(TakeWhole(length, currentPixelsCount), xs, ys, currentPixelsCount);
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
