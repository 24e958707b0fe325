// What do the tests of the functions for hosts in C share?  Handles that end themselves.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "coreMD-host.h"

namespace InC {

using Bytes = std::vector<std::uint8_t>;
using Labels = std::vector<std::uint16_t>;
inline constexpr auto lowest = std::numeric_limits<std::int32_t>::min(), highest = std::numeric_limits<std::int32_t>::max();

template <class Handle, void (*destroy)(Handle**)>
struct Owned {
    Owned() = default;
    ~Owned() { destroy(&handle); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    operator Handle*() const { return handle; }
    Handle* handle = nullptr;
};
using Reducer = Owned<coreMD_Reducer, coreMD_DestroyReducer>;
using Priming = Owned<coreMD_Priming, coreMD_DestroyPriming>;
using Conditioner = Owned<coreMD_Conditioner, coreMD_DestroyConditioner>;

}  // namespace InC
