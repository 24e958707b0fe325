// Does a block differ from its reference?  One rule per kind of input, loops over ranges.
// Called by MotionDetector-Foreground.cpp. Blocks never read each other; every comparison is strict.
#pragma once

#include <cstddef>
#include <cstdint>

#include "utils/Blocks.h"
#include "utils/Levels.h"

namespace MD::Kernels {

// ---- Rules for one block ------------------------------------------------------------------------------------------

constexpr bool LumaDiffers(std::uint8_t distance, float noiseLevel) { return static_cast<float>(distance) > noiseLevel; }

constexpr bool ChromaDiffers(std::uint8_t cbDistance, std::uint8_t crDistance, std::uint8_t limit) {
    return (cbDistance > crDistance ? cbDistance : crDistance) > limit;
}

// Grey levels by which luma may differ, when the reference is within the brightness range and when it is not.
struct PartlyLimits {
    float inRange;
    float outOfRange;
};

struct BrightnessRange {  // grey levels, inclusive
    float darkest;
    float brightest;
};

// The reference decides, never the current value.
constexpr bool DiffersPartly(std::uint8_t luma, std::uint8_t reference, PartlyLimits limits, BrightnessRange range) {
    const float brightness = static_cast<float>(reference);
    const bool isTooDark = brightness<range.darkest, isTooBright = brightness> range.brightest;
    const float limit = (isTooDark | isTooBright) ? limits.outOfRange : limits.inRange;
    return static_cast<float>(ByteDistance(luma, reference)) > limit;
}

// ---- Loops over blocks: isObject[i], isMotionPixel[i] = 255 or 0 ----------------------------------------------------

struct Planes {  // [block] each
    const std::uint8_t* y;
    const std::uint8_t* cb;
    const std::uint8_t* cr;

    Planes From(std::size_t first) const { return {y + first, cb + first, cr + first}; }
};

// All three planes against the background, or against the previous frame where there is none.
struct ForegroundBlocks {
    Planes current;
    Planes previous;
    Planes background;
    const std::uint8_t* isBackground;
    const float* noiseLevel;
    std::uint8_t* isObject;

    ForegroundBlocks From(std::size_t first) const {
        return {current.From(first),  previous.From(first), background.From(first),
                isBackground + first, noiseLevel + first,   isObject + first};
    }
};
extern const Loop<void(ForegroundBlocks b, std::uint8_t chromaLimit, BlockRange range)> MarkForeground;

// The same, with the decoder's reference luma where there is no background (and no chroma there).
struct MPEG4ForegroundBlocks {
    Planes current;
    const std::uint8_t* referenceLuma;
    Planes background;
    const std::uint8_t* isBackground;
    const float* noiseLevel;
    std::uint8_t* isObject;
    std::uint8_t* isMotionPixel;
};
extern const Loop<void(MPEG4ForegroundBlocks b, std::uint8_t chromaLimit, BlockRange range)> MarkForegroundMPEG4;

// Luma of an I-frame against the background, or against the previous I-frame where there is none.
struct IFrameForegroundBlocks {
    const std::uint8_t* current;
    const std::uint8_t* previous;
    const std::uint8_t* background;
    const std::uint8_t* isBackground;
    std::uint8_t* isObject;
    std::uint8_t* isMotionPixel;
};
extern const Loop<void(IFrameForegroundBlocks b, PartlyLimits toBackground, PartlyLimits toPrevious,
                       BrightnessRange brightness, BlockRange range)>
    MarkForegroundIFrame;

// Luma of a P-frame against the last I-frame. Returns the number of foreground blocks.
struct PFrameForegroundBlocks {
    const std::uint8_t* current;
    const std::uint8_t* reference;
    std::uint8_t* isObject;
    std::uint8_t* isMotionPixel;
};
extern const Loop<int(PFrameForegroundBlocks b, PartlyLimits limits, BrightnessRange brightness, BlockRange range)>
    MarkForegroundPFrame;

}  // namespace MD::Kernels
