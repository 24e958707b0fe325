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

// Of a row, sampleChunk samples at a time: sum of those of `chunks` chunks that begin `step` samples apart.
inline constexpr std::size_t sampleChunk = 32;
std::uint32_t SumOfChunks(const std::uint8_t* samples, std::size_t step, std::size_t chunks);

// sum[i] += part[i]
void AddSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count);

// derivative[i] = ProfileMean(sum[i + 1]) - ProfileMean(sum[i]), i < count.
void TakeDerivative(const std::uint32_t* sum, std::uint32_t samples, std::int16_t* derivative, std::size_t count);

inline constexpr int referenceFraction = 256;  // of profileUnit: what a reference is kept in
inline constexpr int followOf1024 = 31;        // 3 %

// dividend / divisor, rounded to nearest, halves away from 0.
constexpr std::int32_t NearestQuotient(std::int32_t dividend, std::int32_t divisor) {
    return (dividend >= 0 ? dividend + divisor / 2 : dividend - divisor / 2) / divisor;
}

// One element: the reference, a little nearer to the current one.  Both are of derivatives, so that no product overflows.
constexpr std::int32_t Approached(std::int32_t reference, std::int16_t current) {
    return reference + NearestQuotient((current * referenceFraction - reference) * followOf1024, 1024);
}
static_assert(std::int64_t{2} * 255 * profileUnit * referenceFraction * followOf1024 + 512 <= INT32_MAX);

// i < count: reference[i] = Approached(reference[i], current[i]), rounded[i] = that in whole profile units.
void FollowProfile(const std::int16_t* current, std::int32_t* reference, std::int16_t* rounded, std::size_t count);

// Sum of ElementError(reference[i], current[i]), i < count.
std::uint32_t ProfileError(const std::int16_t* reference, const std::int16_t* current, std::size_t count);

}  // namespace Host::Kernels
