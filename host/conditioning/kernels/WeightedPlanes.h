// What lies between planes that are a whole sample apart?  Weighted sums of bytes and their rounded means. Called by
// ShiftedReduction.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr int largestWeightShift = 10;  // weights add up to 2^10 at most

// sum[i] += weight * plane[i], i < count.
void AddWeighted(const std::uint8_t* plane, std::uint32_t weight, std::uint32_t* sum, std::size_t count);

// mean[i] = (sum[i] + half) >> shift, half of a step added, i < count.  shift: 1..largestWeightShift.
void StoreWeighted(const std::uint32_t* sum, int shift, std::uint8_t* mean, std::size_t count);

}  // namespace Host::Kernels
