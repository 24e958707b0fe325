// Which BGR pixel shows a block's Y, Cb and Cr?  BT.601, the matrix of standard-definition video and of JPEG.
// Called by BlockReducer.  For people to look at: the detector reads no pixel of that picture.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Host::Kernels {

// The conversion's factors, 13 fractional bits: as many as leave the largest of them, and every byte with an offset, within
// 16 bits, so that the products vectorise.  Within one grey level of the exact conversion (BlockColourTest).
inline constexpr int colourFractionBits = 13;

struct ColourMatrix {
    std::int16_t black;        // luma of black, a whole number
    std::int16_t luma;         // scale of luma above black
    std::int16_t redFromCr;    // contributions of chroma above 128
    std::int16_t greenFromCb;  // negative
    std::int16_t greenFromCr;  // negative
    std::int16_t blueFromCb;
};

// lumaRange, chromaRange: how many steps lie between black and white, and between a colour's extremes.
constexpr ColourMatrix MatrixOfRange(std::int16_t black, double lumaRange, double chromaRange) {
    const auto fixed = [](double factor) {
        return static_cast<std::int16_t>(factor * (1 << colourFractionBits) + (factor < 0 ? -0.5 : 0.5));
    };
    const double chroma = 255 / chromaRange;
    return {.black = black,
            .luma = fixed(255 / lumaRange),
            .redFromCr = fixed(1.402 * chroma),
            .greenFromCb = fixed(-0.344136 * chroma),
            .greenFromCr = fixed(-0.714136 * chroma),
            .blueFromCb = fixed(1.772 * chroma)};
}

inline constexpr ColourMatrix fullRangeMatrix = MatrixOfRange(0, 255, 255);
inline constexpr ColourMatrix limitedRangeMatrix = MatrixOfRange(16, 219, 224);  // luma 16..235, chroma 16..240
static_assert(fullRangeMatrix.luma == 8192 && fullRangeMatrix.redFromCr == 11485 && fullRangeMatrix.blueFromCb == 14516);
static_assert(limitedRangeMatrix.luma == 9539 && limitedRangeMatrix.redFromCr == 13075);

struct BgrPixel {
    std::uint8_t blue;
    std::uint8_t green;
    std::uint8_t red;
};

constexpr std::uint8_t ByteOfFixed(int value) {  // rounded to nearest, held within 0..255
    const int rounded = (value + (1 << (colourFractionBits - 1))) >> colourFractionBits;
    return static_cast<std::uint8_t>(rounded < 0 ? 0 : rounded > 255 ? 255 : rounded);
}

// One block.
constexpr BgrPixel BgrOfYcbcr(std::uint8_t y, std::uint8_t cb, std::uint8_t cr, const ColourMatrix& matrix) {
    const auto yOffset = static_cast<std::int16_t>(y - matrix.black);
    const auto cbOffset = static_cast<std::int16_t>(cb - 128), crOffset = static_cast<std::int16_t>(cr - 128);
    const int luma = yOffset * matrix.luma;
    return {.blue = ByteOfFixed(luma + cbOffset * matrix.blueFromCb),
            .green = ByteOfFixed(luma + cbOffset * matrix.greenFromCb + crOffset * matrix.greenFromCr),
            .red = ByteOfFixed(luma + crOffset * matrix.redFromCr)};
}

// bgr[3 * i .. 3 * i + 2] = BgrOfYcbcr(y[i], cb[i], cr[i], matrix), i < count.  bgr overlaps none of the planes.
void ColourBlocks(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr, const ColourMatrix& matrix,
                  std::uint8_t* bgr, std::size_t count);

}  // namespace Host::Kernels
