// Does a block differ from its reference?  Both references are loaded before one is chosen: that keeps the loops vectors.
#include "detector/kernels/Foreground.h"

#include <algorithm>

namespace MD::Kernels {

namespace {

// Bytes are compared as bytes, noise levels as floats: a loop for each, chunk by chunk.
constexpr std::size_t chunkLength = 256;

constexpr std::uint8_t ByteDistance(std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>(a > b ? a - b : b - a); }

void MarkKnown(const std::uint8_t* isBackground, std::uint8_t* isKnown, BlockRange chunk) {
    for (std::size_t i = chunk.first; i < chunk.last; ++i) isKnown[i - chunk.first] = isBackground[i] ? 255 : 0;
}

// distance[j] = |plane - known or other|.
void Measure(const std::uint8_t* plane, const std::uint8_t* known, const std::uint8_t* other, const std::uint8_t* isKnown,
             std::uint8_t* distance, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        const std::uint8_t mark = isKnown[i - chunk.first];
        const std::uint8_t reference = static_cast<std::uint8_t>((mark & known[i]) | (~mark & other[i]));
        distance[i - chunk.first] = ByteDistance(plane[i], reference);
    }
}

template <class Work>
void ForEachChunk(BlockRange range, Work work) {
    for (std::size_t first = range.first; first < range.last; first += chunkLength)
        work(BlockRange{first, std::min(first + chunkLength, range.last)});
}

}  // namespace

void MarkForeground(ForegroundBlocks b, int chromaLimit, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) {
        std::uint8_t isKnown[chunkLength], luma[chunkLength], cb[chunkLength], cr[chunkLength];
        MarkKnown(b.isBackground, isKnown, chunk);
        Measure(b.current.y, b.background.y, b.previous.y, isKnown, luma, chunk);
        Measure(b.current.cb, b.background.cb, b.previous.cb, isKnown, cb, chunk);
        Measure(b.current.cr, b.background.cr, b.previous.cr, isKnown, cr, chunk);
        MD_INDEPENDENT_BLOCKS
        for (std::size_t i = chunk.first; i < chunk.last; ++i) {
            const std::uint8_t chroma = std::max(cb[i - chunk.first], cr[i - chunk.first]);
            const bool lumaDiffers = static_cast<float>(luma[i - chunk.first]) > b.noiseLevel[i];
            const bool chromaDiffers = chroma > chromaLimit;
            b.isObject[i] = (lumaDiffers | chromaDiffers) ? 255 : 0;
        }
    });
}

void MarkForegroundMPEG4(MPEG4ForegroundBlocks b, int chromaLimit, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) {
        std::uint8_t isKnown[chunkLength], luma[chunkLength], cb[chunkLength], cr[chunkLength];
        MarkKnown(b.isBackground, isKnown, chunk);
        Measure(b.current.y, b.background.y, b.referenceLuma, isKnown, luma, chunk);
        Measure(b.current.cb, b.background.cb, b.current.cb, isKnown, cb, chunk);  // no chroma without background
        Measure(b.current.cr, b.background.cr, b.current.cr, isKnown, cr, chunk);
        MD_INDEPENDENT_BLOCKS
        for (std::size_t i = chunk.first; i < chunk.last; ++i) {
            const std::uint8_t chroma = std::max(cb[i - chunk.first], cr[i - chunk.first]);
            const bool lumaDiffers = static_cast<float>(luma[i - chunk.first]) > b.noiseLevel[i];
            const bool chromaDiffers = chroma > chromaLimit;
            b.isObject[i] = (lumaDiffers | chromaDiffers) ? 255 : 0;
        }
        std::copy(b.isObject + chunk.first, b.isObject + chunk.last, b.isMotionPixel + chunk.first);
    });
}

void MarkForegroundIFrame(IFrameForegroundBlocks b, PartlyLimits toBackground, PartlyLimits toPrevious,
                          BrightnessRange brightness, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const int luma = b.current[i];
        const bool differsFromBackground = DiffersPartly(luma, b.background[i], toBackground, brightness);
        const bool differsFromPrevious = DiffersPartly(luma, b.previous[i], toPrevious, brightness);
        const bool isKnown = b.isBackground[i] != 0;
        const bool differs = (isKnown & differsFromBackground) | (!isKnown & differsFromPrevious);
        const std::uint8_t mark = differs ? 255 : 0;
        b.isObject[i] = mark;
        b.isMotionPixel[i] = mark;
    }
}

int MarkForegroundPFrame(PFrameForegroundBlocks b, PartlyLimits limits, BrightnessRange brightness, BlockRange range) {
    int count = 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const bool differs = DiffersPartly(b.current[i], b.reference[i], limits, brightness);
        const std::uint8_t mark = differs ? 255 : 0;
        b.isObject[i] = mark;
        b.isMotionPixel[i] = mark;
        count += differs;
    }
    return count;
}

}  // namespace MD::Kernels
