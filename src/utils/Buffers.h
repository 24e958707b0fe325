// How are buffers made, copied and freed?  Called by every owner of buffers: detector, statistics, zones, snapshots.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "utils/Assert.h"
#include "utils/BufferSlot.h"

namespace Utils {

// Could an array have so many elements?
template <class T>
constexpr bool IsArrayLength(std::int64_t count) {
    return count >= 0 && count <= std::numeric_limits<std::ptrdiff_t>::max() / static_cast<std::ptrdiff_t>(sizeof(T));
}

// Makes `count` zeroed elements in *res, which must be null ("!*res"). A count of 0 gives a buffer too.
// The memory comes zeroed from the system, so that pages never written cost no resident memory.
// Throws std::bad_array_new_length where the count is negative or its bytes exceed the address space, else std::bad_alloc.
template <class T>
void AllocBuff(T** res, std::int64_t count) {
    static_assert(std::is_trivial_v<T>);
    assert(!*res);
    if (!IsArrayLength<T>(count)) throw std::bad_array_new_length();
    void* memory = std::calloc(count > 0 ? static_cast<std::size_t>(count) : 1, sizeof(T));
    if (!memory) throw std::bad_alloc();
    *res = static_cast<T*>(memory);
}

// The same, with every element set to `value`.
template <class T>
void AllocBuffWithValue(T** res, std::int64_t count, T value) {
    AllocBuff(res, count);
    for (std::int64_t i = 0; i < count; ++i) (*res)[i] = value;
}

// What is to be copied must be there.
constexpr MD::Broken BrokenSource(const void* source, const char* operation) {
    MD_UNLESS(source, operation);
    return {};
}

// Copies `count` elements between buffers that do not overlap; neither may be null ("source", "destination").
template <class T>
void CopyBuff(const T* source, T* destination, std::int64_t count) {
    MD::Ensure(BrokenSource(source, __extension__ __PRETTY_FUNCTION__));
    assert(destination);
    if (count > 0) std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof(T));
}

// The same for counts that mostly are 1, of which nothing is made.
template <class T>
void CopyMostlyOne(const T* source, T* destination, std::int64_t count) {
    if (count == 1) *destination = *source;
    else CopyBuff(source, destination, count);
}

// Frees *ptr, if it holds a buffer, and sets it to null. ptr itself must not be null ("ptr").
template <class T>
void SafeReleaseBuff(T** ptr) {
    assert(ptr);
    std::free(*ptr);
    *ptr = nullptr;
}

template <class T>
BufferSlot BufferSlot::For(T** member) {
    return {member, [](void* typeless) { SafeReleaseBuff(static_cast<T**>(typeless)); }};
}

}  // namespace Utils
