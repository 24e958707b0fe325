// How is a plane of blocks coloured?  See BlockColour.h.
#include "kernels/BlockColour.h"

#include <algorithm>

#include "kernels/ColumnLoop.h"

namespace Host::Kernels {
namespace {

// Blocks coloured in one go, plane by plane, before their bytes are brought into the picture's order: twice as fast on
// baseline x86-64 as storing every third byte straight away.
constexpr std::size_t batchSize = 256;

struct BatchOfColours {
    std::uint8_t blue[batchSize];
    std::uint8_t green[batchSize];
    std::uint8_t red[batchSize];
};

void Convert(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr, ColourMatrix matrix,
             BatchOfColours& batch, std::size_t count) {
    std::uint8_t* const blue = batch.blue;
    std::uint8_t* const green = batch.green;
    std::uint8_t* const red = batch.red;
    HOST_INDEPENDENT_COLUMNS
    for (std::size_t i = 0; i < count; ++i) {
        const BgrPixel pixel = BgrOfYcbcr(y[i], cb[i], cr[i], matrix);
        blue[i] = pixel.blue;
        green[i] = pixel.green;
        red[i] = pixel.red;
    }
}

// Not marked: baseline x86-64 has no byte shuffle, and this loop stays scalar there.
void Interleave(const BatchOfColours& batch, std::uint8_t* bgr, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bgr[3 * i] = batch.blue[i];
        bgr[3 * i + 1] = batch.green[i];
        bgr[3 * i + 2] = batch.red[i];
    }
}

}  // namespace

void ColourBlocks(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr, const ColourMatrix& matrix,
                  std::uint8_t* bgr, std::size_t count) {
    BatchOfColours batch;
    for (std::size_t first = 0; first < count; first += batchSize) {
        const std::size_t length = std::min(batchSize, count - first);
        Convert(y + first, cb + first, cr + first, matrix, batch, length);
        Interleave(batch, bgr + 3 * first, length);
    }
}

}  // namespace Host::Kernels
