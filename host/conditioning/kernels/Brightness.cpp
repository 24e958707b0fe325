// How is a plane compared with its reference, and changed?  See Brightness.h.
#include "conditioning/kernels/Brightness.h"

#include <algorithm>
#include <array>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

constexpr std::size_t pieceOfSums = 16384;  // blocks whose sums of squares fit 32 bits
static_assert(std::uint64_t{255} * 255 * pieceOfSums <= UINT32_MAX);

LumaSums SumPiece(const std::uint8_t* luma, const std::uint16_t* reference, std::size_t count) {
    std::uint32_t y = 0, r = 0, yy = 0, rr = 0, yr = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t seen = luma[i], known = (reference[i] + referenceUnit / 2u) / referenceUnit;
        y += seen;
        r += known;
        yy += seen * seen;
        rr += known * known;
        yr += seen * known;
    }
    return {y, r, yy, rr, yr};
}

}  // namespace

LumaSums SumLuma(const std::uint8_t* luma, const std::uint16_t* reference, std::size_t count) {
    LumaSums sums = {};
    for (std::size_t first = 0; first < count; first += pieceOfSums) {
        const LumaSums piece = SumPiece(luma + first, reference + first, std::min(pieceOfSums, count - first));
        sums.y += piece.y;
        sums.r += piece.r;
        sums.yy += piece.yy;
        sums.rr += piece.rr;
        sums.yr += piece.yr;
    }
    return sums;
}

std::size_t CountColoured(const std::uint8_t* cb, const std::uint8_t* cr, std::size_t count) {
    std::uint32_t coloured = 0;
    for (std::size_t i = 0; i < count; ++i) coloured += HasColour(cb[i], cr[i]) ? 1 : 0;
    return coloured;
}

void CountRatios(const std::uint8_t* luma, const std::uint16_t* reference, int black, std::uint32_t* histogram,
                 std::size_t count) {
    std::fill_n(histogram, ratioBins, std::uint32_t{0});
    for (std::size_t i = 0; i < count; ++i) ++histogram[RatioOf(luma[i], reference[i], black) - smallestRatio];
}

int MedianRatio(const std::uint32_t* histogram, std::size_t count) {
    std::size_t below = 0;
    for (std::size_t bin = 0; bin + 1 < ratioBins; ++bin) {
        below += histogram[bin];
        if (below > count / 2) return smallestRatio + static_cast<int>(bin);
    }
    return largestRatio;
}

void BalanceLuma(std::uint8_t* luma, int ratio, int black, std::size_t count) {
    std::array<std::uint8_t, 256> balanced;
    for (int level = 0; level < 256; ++level) balanced[static_cast<std::size_t>(level)] = Balanced(level, ratio, black);
    for (std::size_t i = 0; i < count; ++i) luma[i] = balanced[luma[i]];
}

void FollowLuma(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = Followed(reference[i], luma[i] * referenceUnit);
}

void FollowBalancedLuma(std::uint16_t* reference, const std::uint8_t* luma, int ratio, int black, std::size_t count) {
    std::array<std::uint16_t, 256> target;
    for (int level = 0; level < 256; ++level)
        target[static_cast<std::size_t>(level)] = BalancedReference(level, ratio, black);
    for (std::size_t i = 0; i < count; ++i) reference[i] = Followed(reference[i], target[luma[i]]);
}

void RelaxReference(std::uint16_t* reference, int black, int direction, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = Relaxed(reference[i], black, direction);
}

void TakeReference(std::uint16_t* reference, const std::uint8_t* luma, std::size_t count) {
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) reference[i] = static_cast<std::uint16_t>(luma[i] * referenceUnit);
}

}  // namespace Host::Kernels
