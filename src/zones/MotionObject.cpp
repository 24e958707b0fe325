// What is one moving thing?
#include "zones/MotionObject.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "utils/Assert.h"
#include "utils/Buffers.h"

namespace MD {
namespace {

// Lengths are counted in an int. Throws std::bad_array_new_length beyond it.
int CheckedLength(std::int64_t length) {
    if (length > std::numeric_limits<int>::max()) throw std::bad_array_new_length();
    return static_cast<int>(length);
}

}  // namespace

MotionObject::MotionObject(int length)
    : prev(nullptr), next(nullptr), _realBufferLenght(length), index(0), secondIndex(0), objectPixelsCount(0) {
    std::unique_ptr<short[]> columns(new short[static_cast<std::size_t>(length)]);
    motionY = new short[static_cast<std::size_t>(length)];
    motionX = columns.release();
    SetEmptyBox();
}

MotionObject::~MotionObject() {
    delete[] motionX;
    delete[] motionY;
}

void MotionObject::SetEmptyBox() {
    minX = minY = std::numeric_limits<short>::max();
    maxX = maxY = std::numeric_limits<short>::min();
}

void MotionObject::WidenBoxFrom(int first) {
    for (int i = first; i < objectPixelsCount; ++i) {
        if (minX > motionX[i]) minX = motionX[i];
        if (maxX < motionX[i]) maxX = motionX[i];
        if (minY > motionY[i]) minY = motionY[i];
        if (maxY < motionY[i]) maxY = motionY[i];
    }
}

void MotionObject::AddPixel(int x, int y) {
    assert(objectPixelsCount + 1 < _realBufferLenght);
    motionX[objectPixelsCount] = static_cast<short>(x);
    motionY[objectPixelsCount] = static_cast<short>(y);
    ++objectPixelsCount;
    WidenBoxFrom(objectPixelsCount - 1);
}

void MotionObject::CopyMotionPixels(MotionObject* src) {
    assert(motionX && motionY);
    assert(src && src->motionX && src->motionY);
    const int old = objectPixelsCount;
    const std::int64_t total = static_cast<std::int64_t>(old) + src->objectPixelsCount;
    if (total > _realBufferLenght) {
        MotionObject larger(CheckedLength(2 * total));
        Utils::CopyBuff(motionX, larger.motionX, old);
        Utils::CopyBuff(motionY, larger.motionY, old);
        std::swap(motionX, larger.motionX);
        std::swap(motionY, larger.motionY);
        _realBufferLenght = larger._realBufferLenght;
    }
    Utils::CopyBuff(src->motionX, motionX + old, src->objectPixelsCount);
    Utils::CopyBuff(src->motionY, motionY + old, src->objectPixelsCount);
    objectPixelsCount = static_cast<int>(total);
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

MotionObjectPool::MotionObjectPool() : _width(0), _height(0) {}

MotionObjectPool::~MotionObjectPool() { Release(); }

void MotionObjectPool::Inic(int width, int height) {
    Release();
    _width = width;
    _height = height;
}

MotionObject* MotionObjectPool::Take(std::int64_t length) {
    MotionObject* const object = _freeList._first;
    if (!object) return new MotionObject(CheckedLength(length));
    _freeList.Remove(object);
    return object;
}

void MotionObjectPool::Add(short* xs, short* ys, int currentPixelsCount, int length) {
    assert(currentPixelsCount > 0);
    MotionObject* const object = Take(length);
    Utils::CopyBuff(xs, object->motionX, currentPixelsCount);
    Utils::CopyBuff(ys, object->motionY, currentPixelsCount);
    object->objectPixelsCount = currentPixelsCount;
    object->SetEmptyBox();
    object->WidenBoxFrom(0);
    _busyList.Add(object);
}

void MotionObjectPool::Copy(MotionObject* src) {
    MotionObject* const object = Take(src->_realBufferLenght);
    Utils::CopyBuff(src->motionX, object->motionX, src->objectPixelsCount);
    Utils::CopyBuff(src->motionY, object->motionY, src->objectPixelsCount);
    object->objectPixelsCount = src->objectPixelsCount;
    object->minX = src->minX;
    object->maxX = src->maxX;
    object->minY = src->minY;
    object->maxY = src->maxY;
    _busyList.Add(object);
}

void MotionObjectPool::AddWorkingObjects(int count) {
    for (int i = 0; i < count; ++i) {
        MotionObject* const object = Take(static_cast<std::int64_t>(_width) * _height);
        object->SetEmptyBox();
        _busyList.Add(object);
    }
}

void MotionObjectPool::ClearBusyList() {
    while (MotionObject* const object = _busyList._first) {
        _busyList.Remove(object);
        _freeList.Add(object);
    }
}

void MotionObjectPool::RemoveFromBusy(MotionObject* object) {
    _busyList.Remove(object);
    delete object;
}

void MotionObjectPool::ReleaseBusyList() { _busyList.Release(); }

void MotionObjectPool::Release() {
    _freeList.Release();
    _busyList.Release();
}

}  // namespace MD
