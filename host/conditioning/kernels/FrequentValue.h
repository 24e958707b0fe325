// Which window of luma has the most weight in a block, and what is the mean of the samples in it?  Rules for one block, and
// loops over a tile of blocks, one picture at a time. Called by Priming.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

inline constexpr int lumaLevels = 256;
inline constexpr int windowLevels = 8;     // wide enough for a camera's noise
inline constexpr int stillDifference = 3;  // levels of luma; inclusive
inline constexpr int stillWeight = 5;      // of a sample that does not change, beside 1 for others

// One sample, by itself some pictures later.
constexpr std::uint32_t WeightOfSample(int luma, int later) {
    const int difference = luma > later ? luma - later : later - luma;
    return difference <= stillDifference ? stillWeight : 1;
}

constexpr bool IsInWindow(int luma, int lowest) { return (luma >= lowest) & (luma < lowest + windowLevels); }

// (sum + weight / 2) / weight; weight: not 0.
constexpr std::uint8_t WeightedMean(std::uint32_t sum, std::uint32_t weight) {
    return static_cast<std::uint8_t>((sum + weight / 2) / weight);
}

inline constexpr std::size_t tileLength = 64;  // blocks whose histograms stay in the first cache level: 32 KiB

struct LumaHistogram {
    std::uint16_t weight[lumaLevels];  // sum of the weights of all samples with this luma
};

// The lowest luma of the window with the most weight, the lowest of equal ones: 0..248. Total weight: at most 65535.
int HeaviestWindow(const LumaHistogram& histogram);

// The samples of one picture: i < count adds its weight to histogram[i].
void AddToHistograms(const std::uint8_t* luma, const std::uint8_t* later, LumaHistogram* histogram, std::size_t count);

struct SampleSums {  // [block of the tile]
    std::uint32_t* weight;
    std::uint32_t* y;  // weighted
    std::uint32_t* cb;
    std::uint32_t* cr;
};

struct TileSamples {           // of one picture, [block of the tile]
    const std::uint8_t* luma;  // Y
    const std::uint8_t* cb;
    const std::uint8_t* cr;
    const std::uint8_t* later;   // Y of the picture to compare with
    const std::uint8_t* lowest;  // luma of the window
};

// The samples of one picture that lie in their block's window, weighted, are added to the sums of block i < count.
void AddInWindow(TileSamples samples, SampleSums sums, std::size_t count);

}  // namespace Host::Kernels
