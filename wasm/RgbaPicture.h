// Which Y, Cb and Cr has a pixel that a browser shows?  BT.601 with luma 16..235, as most videos are stored, in whole
// numbers: every engine and every machine computes the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Web {

struct Ycbcr {
    std::uint8_t y, cb, cr;
};

// The factors have 8 fractional bits. Sums stay within 16 bits, and every result within its range: nothing is clamped.
constexpr Ycbcr YcbcrOf(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    return {.y = static_cast<std::uint8_t>(((66 * red + 129 * green + 25 * blue + 128) >> 8) + 16),
            .cb = static_cast<std::uint8_t>(((-38 * red - 74 * green + 112 * blue + 128) >> 8) + 128),
            .cr = static_cast<std::uint8_t>(((112 * red - 94 * green - 18 * blue + 128) >> 8) + 128)};
}
static_assert(YcbcrOf(0, 0, 0).y == 16 && YcbcrOf(255, 255, 255).y == 235 && YcbcrOf(9, 9, 9).cb == 128);
static_assert(YcbcrOf(0, 0, 255).cb == 240 && YcbcrOf(255, 255, 0).cb == 16 && YcbcrOf(255, 0, 0).cr == 240);

// rgba: four bytes a pixel, of which the last, how opaque it is, is not read. y, cb, cr: [pixel], apart from each other.
inline void SplitRgba(const std::uint8_t* rgba, std::size_t pixels, std::uint8_t* __restrict y, std::uint8_t* __restrict cb,
                      std::uint8_t* __restrict cr) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const Ycbcr pixel = YcbcrOf(rgba[4 * i], rgba[4 * i + 1], rgba[4 * i + 2]);
        y[i] = pixel.y;
        cb[i] = pixel.cb;
        cr[i] = pixel.cr;
    }
}

}  // namespace Web
