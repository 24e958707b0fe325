// What stands at the border to hosts in C?  What throws becomes a status, and bounds are looked at before a class that would
// stop the process sees them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include <cxxabi.h>

#include "BlockReducer.h"
#include "coreMD-host.h"

namespace Host::InC {

// call() returns a status. The end of a thread that is cancelled in a host's function goes on as such.
template <class Call>
std::int32_t Guarded(Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return COREMD_HOST_NO_MEMORY;
#if defined(__GLIBCXX__)  // others end a thread without an exception
    } catch (abi::__forced_unwind&) {
        throw;
#endif
    } catch (...) {
        return COREMD_HOST_FAILED;
    }
}

constexpr bool IsGridSize(std::int32_t size) { return size >= 1 && size <= largestGridSize; }

constexpr bool IsRange(std::int32_t range) { return range == COREMD_LIMITED_RANGE || range == COREMD_FULL_RANGE; }

constexpr ColourRange RangeOf(std::int32_t range) {
    return range == COREMD_FULL_RANGE ? ColourRange::Full : ColourRange::Limited;
}

// Of a grid within its bounds.
constexpr std::int64_t BlocksOf(std::int32_t columns, std::int32_t rows) { return std::int64_t{columns} * rows; }

}  // namespace Host::InC
