// How are brightness, range and colour counted?  See LumaMeasures.h.
#include "conditioning/kernels/LumaMeasures.h"

#include <array>

namespace Host::Kernels {
namespace {

using Histogram = std::array<std::size_t, 256>;

// The smallest value that more than `rank` samples do not exceed.
int ValueOfRank(const Histogram& histogram, std::size_t rank) {
    std::size_t passed = 0;
    for (int value = 0; value < 256; ++value)
        if ((passed += histogram[static_cast<std::size_t>(value)]) > rank) return value;
    return 255;
}

// A level to either side is grey, too: conversions round.
int ColourOf(int chroma) {
    const int distance = chroma < 128 ? 128 - chroma : chroma - 128;
    return distance > 1 ? distance - 1 : 0;
}

}  // namespace

RatioQuartiles CompareBrightness(const std::uint8_t* luma, const std::uint8_t* before, std::size_t count) {
    Histogram histogram = {};
    RatioQuartiles ratios;
    for (std::size_t i = 0; i < count; i += ratioStep) {
        if (before[i] < blackLuma + brightEnough) continue;
        ++histogram[static_cast<std::size_t>(BrightnessRatio(luma[i], before[i]))];
        ++ratios.compared;
    }
    if (ratios.compared == 0) return ratios;
    ratios.low = ValueOfRank(histogram, ratios.compared / 4);
    ratios.middle = ValueOfRank(histogram, ratios.compared / 2);
    ratios.high = ValueOfRank(histogram, ratios.compared * 3 / 4);
    return ratios;
}

int LumaSpread(const std::uint8_t* luma, std::size_t count) {
    Histogram histogram = {};
    for (std::size_t i = 0; i < count; ++i) ++histogram[luma[i]];
    const std::size_t tail = count / 20;
    return ValueOfRank(histogram, count - 1 - tail) - ValueOfRank(histogram, tail);
}

int Colourfulness(const std::uint8_t* cb, const std::uint8_t* cr, int columns, BlockBox box) {
    const std::int64_t blocks = std::int64_t{box.right - box.left} * (box.bottom - box.top);
    if (blocks <= 0) return 0;
    std::int64_t sum = 0;
    for (int row = box.top; row < box.bottom; ++row)
        for (int column = box.left; column < box.right; ++column) {
            const std::size_t block =
                static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
            sum += ColourOf(cb[block]) + ColourOf(cr[block]);
        }
    return static_cast<int>(sum * 16 / blocks);
}

}  // namespace Host::Kernels
