// Which buffer does an owner release, and how?  One entry of its buffer table.
#pragma once

namespace Utils {

// The address of a pointer member, with the function that knows its type.
struct BufferSlot {
    void* member;                   // T**
    void (*release)(void* member);  // frees the buffer that *member points to and sets *member to null

    template <class T>
    static BufferSlot For(T** member);  // for owners: in Buffers.h
};

}  // namespace Utils
