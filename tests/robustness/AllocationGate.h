// Who asks for memory, and what happens where there is none?  Counts what this program allocates with malloc, calloc,
// realloc and operator new, and lets a chosen allocation fail.  Linked by count_allocations() of CMakeLists.txt; one thread
// only.
//
//     const bool wentThrough = WithFailure(n, Memory::IsBack, [&] { h13(&handle, &info); });   // n-th allocation fails
//     const long asked = AllocationsOf([&] { h13(&handle, &info); });                          // all succeed
#pragma once

#include <cstddef>
#include <new>

namespace AllocationGate {

// After the failure: there is memory again, or there is none until the call returns.
enum class Memory { IsBack, StaysOut };

void Open(long failing, Memory after);  // starts counting; the `failing`-th allocation from now fails, none if 0
long Close();                           // stops counting; allocations asked for since Open
long LiveBlocks();                      // allocated and not yet freed, since the program started
std::size_t LiveBytes();                // theirs, as the allocator rounds them

// True if the call went through, false if std::bad_alloc arrived. Anything else goes on to the caller.
template <class Call>
bool WithFailure(long failing, Memory after, Call call) {
    struct Closing {
        ~Closing() { Close(); }
    } closing;
    Open(failing, after);
    try {
        call();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

template <class Call>
long AllocationsOf(Call call) {
    Open(0, Memory::IsBack);
    call();
    return Close();
}

}  // namespace AllocationGate
