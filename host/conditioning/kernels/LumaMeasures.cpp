// How are brightness, range and colour counted?  See LumaMeasures.h.
#include "conditioning/kernels/LumaMeasures.h"

#include <array>

#include "kernels/ColumnLoop.h"

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

// A level to either side is grey, too: conversions round.  0..127.
std::uint8_t ColourOf(std::uint8_t chroma) {
    const auto distance = static_cast<std::uint8_t>(chroma < 128 ? 128 - chroma : chroma - 128);
    return static_cast<std::uint8_t>(distance > 1 ? distance - 1 : 0);
}

std::uint32_t ColoursOfRow(const std::uint8_t* cb, const std::uint8_t* cr, std::size_t count) {
    std::uint32_t sum = 0;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) sum += static_cast<std::uint8_t>(ColourOf(cb[i]) + ColourOf(cr[i]));
    return sum;
}

// BrightnessRatio is at most `limit`, which is below 255.
bool IsRatioAtMost(int limit, int luma, int before) {
    const int now = luma > blackLuma ? luma - blackLuma : 0, then = before - blackLuma;
    return now * evenRatio + then / 2 < (limit + 1) * then;
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

RatioTails CountRatioTails(const std::uint8_t* luma, const std::uint8_t* before, int low, int high, std::size_t count) {
    unsigned compared = 0, below = 0, notAbove = 0;
    for (std::size_t i = 0; i < count; i += ratioStep) {
        const bool isAsked = before[i] >= blackLuma + brightEnough;
        compared += isAsked;
        below += isAsked & IsRatioAtMost(low, luma[i], before[i]);
        notAbove += isAsked & IsRatioAtMost(high - 1, luma[i], before[i]);
    }
    return {compared, below, compared - notAbove};
}

void StepTowards(const std::uint8_t* luma, std::uint8_t* reference, std::uint8_t step, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t to = luma[i], from = reference[i];
        const auto above = static_cast<std::uint8_t>(to > from ? to - from : 0);
        const auto below = static_cast<std::uint8_t>(from > to ? from - to : 0);
        const std::uint8_t up = above < step ? above : step, down = below < step ? below : step;
        reference[i] = static_cast<std::uint8_t>(from + up - down);
    }
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
    for (int row = box.top; row < box.bottom; ++row) {
        const std::size_t first =
            static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(box.left);
        sum += ColoursOfRow(cb + first, cr + first, static_cast<std::size_t>(box.right - box.left));
    }
    return static_cast<int>(sum * 16 / blocks);
}

}  // namespace Host::Kernels
