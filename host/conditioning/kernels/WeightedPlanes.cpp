// How are weighted planes summed?  See WeightedPlanes.h.
#include "conditioning/kernels/WeightedPlanes.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

void AddWeighted(const std::uint8_t* plane, std::uint32_t weight, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] += weight * plane[i];
}

void StoreWeighted(const std::uint32_t* sum, int shift, std::uint8_t* mean, std::size_t count) {
    const std::uint32_t half = 1u << (shift - 1);
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) mean[i] = static_cast<std::uint8_t>((sum[i] + half) >> shift);
}

}  // namespace Host::Kernels
