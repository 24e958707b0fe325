// Does a block differ from its reference?  Both references are loaded before one is chosen: that keeps the loops vectors.
#include "detector/kernels/Foreground.h"

#include <algorithm>

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {

namespace {

// distance[j] = |plane - known or other|, isKnown[j] {0,255}.
void Measure(const std::uint8_t* plane, const std::uint8_t* known, const std::uint8_t* other, const std::uint8_t* isKnown,
             std::uint8_t* distance, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint8_t mark = isKnown[j];
        const std::uint8_t reference = static_cast<std::uint8_t>((mark & known[j]) | (~mark & other[j]));
        distance[j] = ByteDistance(plane[j], reference);
    }
}

// Bytes are compared as bytes, noise levels as floats: a loop for each.
void MarkChunk(ForegroundBlocks b, int chromaLimit, std::size_t count) {
    std::uint8_t isKnown[chunkLength], luma[chunkLength], cb[chunkLength], cr[chunkLength];
    for (std::size_t j = 0; j < count; ++j) isKnown[j] = b.isBackground[j] ? 255 : 0;
    Measure(b.current.y, b.background.y, b.previous.y, isKnown, luma, count);
    Measure(b.current.cb, b.background.cb, b.previous.cb, isKnown, cb, count);
    Measure(b.current.cr, b.background.cr, b.previous.cr, isKnown, cr, count);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const bool lumaDiffers = LumaDiffers(luma[j], b.noiseLevel[j]);
        const bool chromaDiffers = ChromaDiffers(cb[j], cr[j], chromaLimit);
        b.isObject[j] = (lumaDiffers | chromaDiffers) ? 255 : 0;
    }
}

}  // namespace

void MarkForeground(ForegroundBlocks b, int chromaLimit, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) { MarkChunk(b.From(chunk.first), chromaLimit, chunk.Count()); });
}

// Without background the reference luma stands for the previous frame; chroma, compared with itself, never differs.
void MarkForegroundMPEG4(MPEG4ForegroundBlocks b, int chromaLimit, BlockRange range) {
    MarkForeground({.current = b.current,
                    .previous = {.y = b.referenceLuma, .cb = b.current.cb, .cr = b.current.cr},
                    .background = b.background,
                    .isBackground = b.isBackground,
                    .noiseLevel = b.noiseLevel,
                    .isObject = b.isObject},
                   chromaLimit, range);
    std::copy(b.isObject + range.first, b.isObject + range.last, b.isMotionPixel + range.first);
}

void MarkForegroundIFrame(IFrameForegroundBlocks b, PartlyLimits toBackground, PartlyLimits toPrevious,
                          BrightnessRange brightness, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const std::uint8_t luma = b.current[i];
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

}  // namespace MD::Kernels::MD_LEVEL
MD_LEVEL_END

namespace MD::Kernels {

MD_DEFINE_LOOP(MarkForeground);
MD_DEFINE_LOOP(MarkForegroundMPEG4);
MD_DEFINE_LOOP(MarkForegroundIFrame);
MD_DEFINE_LOOP(MarkForegroundPFrame);

}  // namespace MD::Kernels
