// Who asks for memory, and what happens where there is none?  The linker sends malloc and its company here (--wrap), in
// every object file of the program; operator new and delete are replaced.  What shared libraries allocate inside is not
// seen, an exception in flight among it.
#include "AllocationGate.h"

#include <cstdlib>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* memory, std::size_t size);
void __wrap_free(void* memory);
std::size_t malloc_usable_size(void* memory) noexcept;
}

namespace AllocationGate {
namespace {

bool isOpen = false;
long asked = 0;
long failingOne = 0;
Memory afterFailure = Memory::IsBack;
long liveBlocks = 0;
std::size_t liveBytes = 0;

bool MayHave() {
    if (!isOpen) return true;
    ++asked;
    if (failingOne == 0 || asked < failingOne) return true;
    return asked > failingOne && afterFailure == Memory::IsBack;
}

void* Born(void* memory) {
    if (!memory) return nullptr;
    ++liveBlocks;
    liveBytes += malloc_usable_size(memory);
    return memory;
}

}  // namespace

void Open(long failing, Memory after) {
    asked = 0;
    failingOne = failing;
    afterFailure = after;
    isOpen = true;
}

long Close() {
    isOpen = false;
    return asked;
}

long LiveBlocks() { return liveBlocks; }
std::size_t LiveBytes() { return liveBytes; }

}  // namespace AllocationGate

using namespace AllocationGate;

void* __wrap_malloc(std::size_t size) { return MayHave() ? Born(__real_malloc(size)) : nullptr; }
void* __wrap_calloc(std::size_t count, std::size_t size) { return MayHave() ? Born(__real_calloc(count, size)) : nullptr; }

void* __wrap_realloc(void* memory, std::size_t size) {
    if (!MayHave()) return nullptr;
    if (!memory) return Born(__real_realloc(nullptr, size));
    const std::size_t before = malloc_usable_size(memory);
    void* const moved = __real_realloc(memory, size);
    if (moved) liveBytes += malloc_usable_size(moved) - before;
    return moved;
}

void __wrap_free(void* memory) {
    if (!memory) return;
    --liveBlocks;
    liveBytes -= malloc_usable_size(memory);
    __real_free(memory);
}

// The array forms too: a sanitizer's would not call these. The nothrow and aligned ones are not used here.
void* operator new(std::size_t size) {
    if (void* const memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
