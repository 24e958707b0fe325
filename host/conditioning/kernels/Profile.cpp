// How are profiles summed and compared?  See Profile.h.
#include "conditioning/kernels/Profile.h"

#include <algorithm>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

constexpr std::size_t pieceOfErrors = 16;  // whose sum fits 16 bits
static_assert(pieceOfErrors * largestProfileError <= INT16_MAX);

// Sums side by side: 16-bit additions until they are widened.
constexpr std::size_t lanes = 8;

}  // namespace

std::uint32_t SumOfSamples(const std::uint8_t* samples, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += samples[i];
    return sum;
}

std::uint32_t SumOfChunks(const std::uint8_t* samples, std::size_t step, std::size_t chunks) {
    constexpr std::size_t most = UINT16_MAX / 255;  // that a lane can take
    std::uint32_t sum = 0;
    while (chunks > 0) {
        std::uint16_t lane[sampleChunk] = {};
        for (std::size_t left = std::min(chunks, most); left > 0; --left, --chunks, samples += step) {
            HOST_INDEPENDENT_COLUMNS
            for (std::size_t i = 0; i < sampleChunk; ++i) lane[i] = static_cast<std::uint16_t>(lane[i] + samples[i]);
        }
        for (const std::uint16_t part : lane) sum += part;
    }
    return sum;
}

void AddSums(const std::uint16_t* part, std::uint32_t* sum, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum[i] += part[i];
}

void TakeDerivative(const std::uint32_t* sum, std::uint32_t samples, std::int16_t* derivative, std::size_t count) {
    int mean = ProfileMean(sum[0], samples);
    for (std::size_t i = 0; i < count; ++i) {
        const int next = ProfileMean(sum[i + 1], samples);
        derivative[i] = static_cast<std::int16_t>(next - mean);
        mean = next;
    }
}

void FollowProfile(const std::int16_t* current, std::int32_t* reference, std::int16_t* rounded, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t next = Approached(reference[i], current[i]);
        reference[i] = next;
        rounded[i] = static_cast<std::int16_t>(NearestQuotient(next, referenceFraction));
    }
}

// Up to 16 rows of 8 elements are summed in 16 bits before they are widened.
std::uint32_t ProfileError(const std::int16_t* reference, const std::int16_t* current, std::size_t count) {
    std::uint32_t error = 0;
    std::size_t first = 0;
    while (count - first >= lanes) {
        std::int16_t sum[lanes] = {};
        const std::size_t rows = std::min((count - first) / lanes, pieceOfErrors);
        for (std::size_t row = 0; row < rows; ++row, first += lanes)
            for (std::size_t lane = 0; lane < lanes; ++lane)
                sum[lane] =
                    static_cast<std::int16_t>(sum[lane] + ElementError(reference[first + lane], current[first + lane]));
        for (const std::int16_t part : sum) error += static_cast<std::uint32_t>(part);
    }
    for (; first < count; ++first) error += static_cast<std::uint32_t>(ElementError(reference[first], current[first]));
    return error;
}

}  // namespace Host::Kernels
