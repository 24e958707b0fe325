// Where does one profile of a picture lie beside another?  Sums of rows and columns, their derivatives, and how much two of
// them differ at a shift. Called by Stabiliser.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr int profileUnit = 64;                        // of one level of luma, so that differences fit 16 bits
inline constexpr int largestProfileError = 20 * profileUnit;  // of one element: what does not match counts no more than that

// Mean luma of `samples` samples in 1/profileUnit: 0..16320, rounded to nearest.
constexpr int ProfileMean(std::uint32_t sum, std::uint32_t samples) {
    return static_cast<int>((std::uint64_t{sum} * profileUnit + samples / 2) / samples);
}

// One element: how far two derivatives are apart, bounded. Derivatives are within -16320..16320.
constexpr std::int16_t ElementError(std::int16_t a, std::int16_t b) {
    const auto difference = static_cast<std::int16_t>(a - b);
    const auto distance = static_cast<std::int16_t>(difference < 0 ? -difference : difference);
    return distance < largestProfileError ? distance : std::int16_t{largestProfileError};
}

// Sum of count samples.
std::uint32_t SumOfSamples(const std::uint8_t* samples, std::size_t count);

// sum[i] += part[i]
void AddSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count);

// derivative[i] = ProfileMean(sum[i + 1]) - ProfileMean(sum[i]), i < count.
void TakeDerivative(const std::uint32_t* sum, std::uint32_t samples, std::int16_t* derivative, std::size_t count);

// Sum of ElementError(reference[i], current[i]), i < count.
std::uint32_t ProfileError(const std::int16_t* reference, const std::int16_t* current, std::size_t count);

}  // namespace Host::Kernels
