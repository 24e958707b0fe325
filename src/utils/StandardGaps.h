// What do the standard libraries of some compilers lack?  The same by other means: Emscripten's is older than its compiler.
#pragma once

#include <bit>
#include <cstddef>
#include <memory>

namespace MD {

template <class To, class From>
constexpr To BitCast(const From& from) noexcept {
#if defined(__cpp_lib_bit_cast)
    return std::bit_cast<To>(from);
#else
    return __builtin_bit_cast(To, from);
#endif
}

// An array of `count` uninitialised elements.
template <class Element>
std::shared_ptr<Element[]> MakeSharedArray(std::size_t count) {
#if defined(__cpp_lib_smart_ptr_for_overwrite)
    return std::make_shared_for_overwrite<Element[]>(count);
#else
    return std::shared_ptr<Element[]>(new Element[count]);
#endif
}

}  // namespace MD
