// Does a block differ from its reference?  Both references are loaded before one is chosen: that keeps the loops vectors.
#include "detector/kernels/Foreground.h"

#include <algorithm>

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {

namespace {

constexpr std::uint8_t DistanceFromReference(std::uint8_t value, std::uint8_t isKnown, std::uint8_t known,
                                             std::uint8_t other) {
    return ByteDistance(value, static_cast<std::uint8_t>((isKnown & known) | (~isKnown & other)));
}

// Bytes are compared as bytes: luma[j] = distance from the reference, isObject[j] = 255 where the chroma differs. Returns
// the largest distance of luma.
std::uint8_t MeasureChunk(ForegroundBlocks b, std::uint8_t chromaLimit, std::uint8_t* luma, std::size_t count) {
    std::uint8_t largest = 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint8_t isKnown = b.isBackground[j] ? 255 : 0;
        const std::uint8_t y = DistanceFromReference(b.current.y[j], isKnown, b.background.y[j], b.previous.y[j]);
        const std::uint8_t cb = DistanceFromReference(b.current.cb[j], isKnown, b.background.cb[j], b.previous.cb[j]);
        const std::uint8_t cr = DistanceFromReference(b.current.cr[j], isKnown, b.background.cr[j], b.previous.cr[j]);
        luma[j] = y;
        largest = y > largest ? y : largest;
        b.isObject[j] = ChromaDiffers(cb, cr, chromaLimit) ? 255 : 0;
    }
    return largest;
}

// Whether the largest distance is above the noise level of any block: none is above its own otherwise.
bool MayAnyDiffer(std::uint8_t largest, const float* noiseLevel, std::size_t count) {
    std::int32_t any = 0;
    MD_FOUR_AT_ONCE
    for (std::size_t j = 0; j < count; ++j) any |= LumaDiffers(largest, noiseLevel[j]) ? -1 : 0;
    return any != 0;
}

void MarkChunk(ForegroundBlocks b, std::uint8_t chromaLimit, std::size_t count) {
    std::uint8_t luma[chunkLength];
    const std::uint8_t largest = MeasureChunk(b, chromaLimit, luma, count);
    if (!MayAnyDiffer(largest, b.noiseLevel, count)) return;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        b.isObject[j] |= MarkOf(LumaDiffers(luma[j], b.noiseLevel[j]));
    }
}

}  // namespace

void MarkForeground(ForegroundBlocks b, std::uint8_t chromaLimit, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) { MarkChunk(b.From(chunk.first), chromaLimit, chunk.Count()); });
}

// Without background the reference luma stands for the previous frame; chroma, compared with itself, never differs.
void MarkForegroundMPEG4(MPEG4ForegroundBlocks b, std::uint8_t chromaLimit, BlockRange range) {
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
