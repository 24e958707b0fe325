// How is memory had whose borders may not be touched?  By pages, from the system. Where there are none, as in WebAssembly,
// nothing stops who touches the borders; the slack of GuardedBlocks tells about writes all the same.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#undef min
#undef max
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Kit {

inline std::size_t PageSize() {
#if defined(_WIN32)
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    return system.dwPageSize;
#else
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
#endif
}

// Pages that nobody may read or write; null: none left.
inline std::uint8_t* ReservePages(std::size_t size) {
#if defined(_WIN32)
    return static_cast<std::uint8_t*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
#else
    void* const mapped = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(mapped);
#endif
}

// Some of them may be used from now on.
inline bool OpenPages(std::uint8_t* first, std::size_t size) {
#if defined(_WIN32)
    return VirtualAlloc(first, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
#else
    return mprotect(first, size, PROT_READ | PROT_WRITE) == 0;
#endif
}

inline void ReleasePages(std::uint8_t* reserved, std::size_t size) {
#if defined(_WIN32)
    static_cast<void>(size);
    VirtualFree(reserved, 0, MEM_RELEASE);
#else
    munmap(reserved, size);
#endif
}

}  // namespace Kit
