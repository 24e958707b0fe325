// Does a block differ from its reference?  Both references are loaded before one is chosen: that keeps the loops vectors.
#include "detector/kernels/Foreground.h"

namespace MD::Kernels {

void MarkForeground(ForegroundBlocks b, int chromaLimit, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const bool isKnown = b.isBackground[i] != 0;
        const int knownY = b.background.y[i], earlierY = b.previous.y[i];
        const int knownCb = b.background.cb[i], earlierCb = b.previous.cb[i];
        const int knownCr = b.background.cr[i], earlierCr = b.previous.cr[i];
        const bool lumaDiffers = LumaDiffers(b.current.y[i], isKnown ? knownY : earlierY, b.noiseLevel[i]);
        const bool chromaDiffers = ChromaDiffers(b.current.cb[i], isKnown ? knownCb : earlierCb,
                                                 b.current.cr[i], isKnown ? knownCr : earlierCr, chromaLimit);
        b.isObject[i] = (lumaDiffers | chromaDiffers) ? 255 : 0;
    }
}

void MarkForegroundMPEG4(MPEG4ForegroundBlocks b, int chromaLimit, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const bool isKnown = b.isBackground[i] != 0;
        const int knownY = b.background.y[i], decodedY = b.referenceLuma[i];
        const bool lumaDiffers = LumaDiffers(b.current.y[i], isKnown ? knownY : decodedY, b.noiseLevel[i]);
        const bool chromaDiffers = ChromaDiffers(b.current.cb[i], b.background.cb[i],
                                                 b.current.cr[i], b.background.cr[i], chromaLimit);
        const std::uint8_t mark = (lumaDiffers | (chromaDiffers & isKnown)) ? 255 : 0;
        b.isObject[i] = mark;
        b.isMotionPixel[i] = mark;
    }
}

void MarkForegroundIFrame(IFrameForegroundBlocks b, PartlyLimits toBackground, PartlyLimits toPrevious,
                          BrightnessRange brightness, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const int luma = b.current[i];
        const bool differsFromBackground = DiffersPartly(luma, b.background[i], toBackground, brightness);
        const bool differsFromPrevious = DiffersPartly(luma, b.previous[i], toPrevious, brightness);
        const std::uint8_t mark = (b.isBackground[i] ? differsFromBackground : differsFromPrevious) ? 255 : 0;
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
