// How are a tile's samples counted, and those in a window summed?  See FrequentValue.h.
#include "conditioning/kernels/FrequentValue.h"

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {

int HeaviestWindow(const LumaHistogram& histogram) {
    std::uint32_t weight = 0;
    for (int level = 0; level < windowLevels; ++level) weight += histogram.weight[level];
    std::uint32_t mostWeight = weight;
    int heaviest = 0;
    for (int lowest = 1; lowest + windowLevels <= lumaLevels; ++lowest) {
        weight += histogram.weight[lowest + windowLevels - 1];
        weight -= histogram.weight[lowest - 1];
        heaviest = weight > mostWeight ? lowest : heaviest;  // strict: the darkest of equals stays
        mostWeight = weight > mostWeight ? weight : mostWeight;
    }
    return heaviest;
}

void AddToHistograms(const std::uint8_t* luma, const std::uint8_t* later, LumaHistogram* histogram, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t& weight = histogram[i].weight[luma[i]];
        weight = static_cast<std::uint16_t>(weight + WeightOfSample(luma[i], later[i]));
    }
}

void AddInWindow(TileSamples samples, SampleSums sums, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t luma = samples.luma[i], cb = samples.cb[i], cr = samples.cr[i];
        const std::uint32_t full = WeightOfSample(samples.luma[i], samples.later[i]);
        const std::uint32_t weight = IsInWindow(samples.luma[i], samples.lowest[i]) ? full : 0;
        sums.weight[i] += weight;
        sums.y[i] += weight * luma;
        sums.cb[i] += weight * cb;
        sums.cr[i] += weight * cr;
    }
}

}  // namespace Host::Kernels
