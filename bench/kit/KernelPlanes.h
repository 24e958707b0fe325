// What do kernels read when they are measured one by one?  Planes of a quiet, slightly noisy stream, and masks of a given
// density. Used by the kernels' benchmarks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "SeededRandom.h"

namespace Bench {

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;
using Times = std::vector<std::int64_t>;

inline Bytes RandomBytes(std::size_t blocks, std::uint64_t seed, int lowest, int highest) {
    Kit::SeededRandom random(seed);
    Bytes bytes(blocks);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.Between(lowest, highest));
    return bytes;
}

// 255 in about so many percent of the blocks, else 0.
inline Bytes RandomMask(std::size_t blocks, std::uint64_t seed, int percent) {
    Bytes mask = RandomBytes(blocks, seed, 0, 99);
    for (std::uint8_t& byte : mask) byte = byte < percent ? 255 : 0;
    return mask;
}

// The same plane, each byte off by up to `amplitude`.
inline Bytes Noisy(const Bytes& plane, std::uint64_t seed, int amplitude) {
    Kit::SeededRandom random(seed);
    Bytes noisy(plane.size());
    for (std::size_t i = 0; i < plane.size(); ++i)
        noisy[i] = static_cast<std::uint8_t>(std::clamp(plane[i] + random.Between(-amplitude, amplitude), 0, 255));
    return noisy;
}

// Eleven frames of luma with the window sums that belong to them.
struct QuietStream {
    std::vector<Bytes> lumaOfAge;
    Floats firstSum, secondSum, centerSum, firstSquareSum, secondSquareSum, centerSquareSum;
    Bytes min, max;

    explicit QuietStream(std::size_t blocks) {
        const Bytes ground = RandomBytes(blocks, 1, 60, 180);
        for (std::uint64_t age = 0; age < 11; ++age) lumaOfAge.push_back(Noisy(ground, 2 + age, 1));
        SumOver(0, firstSum, firstSquareSum);
        SumOver(5, secondSum, secondSquareSum);
        SumOver(2, centerSum, centerSquareSum);
        min = max = lumaOfAge[0];
        for (std::size_t age = 1; age < 10; ++age)
            for (std::size_t i = 0; i < blocks; ++i) {
                min[i] = std::min(min[i], lumaOfAge[age][i]);
                max[i] = std::max(max[i], lumaOfAge[age][i]);
            }
    }

private:
    void SumOver(std::size_t firstAge, Floats& sum, Floats& squareSum) const {
        const std::size_t blocks = lumaOfAge[0].size();
        sum.assign(blocks, 0.0f);
        squareSum.assign(blocks, 0.0f);
        for (std::size_t age = firstAge; age < firstAge + 5; ++age)
            for (std::size_t i = 0; i < blocks; ++i) {
                const float luma = lumaOfAge[age][i];
                sum[i] += luma;
                squareSum[i] += luma * luma;
            }
    }
};

}  // namespace Bench
