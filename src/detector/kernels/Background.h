// Is a block quiet, did it change, what does it teach the background?  Rules for one block and loops over ranges.
// Called by MotionDetector-Background.cpp. Blocks never read each other.
#pragma once

#include <cmath>
#include <cstdint>

#include "utils/Blocks.h"
#include "utils/Levels.h"
#include "utils/Ticks.h"

namespace MD::Kernels {

// ---- Rules for one block ------------------------------------------------------------------------------------------

// Sample variance of the five values behind a window's sums.
constexpr float SquareDeviation(float sum, float squareSum) { return squareSum - sum * sum * 0.2f; }
constexpr float Dispersion(float sum, float squareSum) { return SquareDeviation(sum, squareSum) * 0.25f; }

constexpr bool IsWithin(float a, float b, float limit) {
    return __builtin_fabsf(a - b) <= limit;  // inclusive
}

// Any two of the three are within the limit: the two farthest apart decide, and theirs is one of the three differences.
constexpr bool AreAllWithin(float a, float b, float c, float limit) {
    const float larger = a > b ? a : b, smaller = a > b ? b : a;
    const float largest = larger > c ? larger : c, smallest = smaller < c ? smaller : c;
    return largest - smallest <= limit;  // inclusive
}

// Grey levels, from the extremes of ten frames.
constexpr float NoiseOfExtremes(int smallest, int largest, float offset) {
    return static_cast<float>(static_cast<std::int16_t>(largest - smallest)) * 1.5f + offset;
}

// Grey levels, from the dispersions of two windows.
inline float NoiseOfDispersions(float first, float second) {
    const float deviation = std::sqrt((second + first) * 0.5f);
    return deviation < 2.0f ? 10.0f : deviation * 3.0f + 4.0f;
}

constexpr float TenFrameMean(float firstSum, float secondSum) { return (firstSum * 0.2f + secondSum * 0.2f) * 0.5f; }

constexpr float ChangeLimit(float noiseLevel) {
    return static_cast<float>(noiseLevel * 0.7);  // the product is a double, rounded once
}

constexpr bool Exceeds(std::uint8_t difference, float limit) { return static_cast<float>(difference) > limit; }  // strict

// A little below the limit of change, in single precision: a difference that does not exceed this does not exceed the limit
// either, and most do not.
constexpr bool MayHaveChanged(std::uint8_t difference, float noiseLevel) {
    return Exceeds(difference, noiseLevel * 0.6999f);
}

// Of the three differences, the largest decides as well as each of them.
// Deliberate: age 3 is not compared (BackgroundTest, ChangeSkipsAgeThree).
constexpr std::uint8_t LargestDifference(std::uint8_t age0, std::uint8_t age1, std::uint8_t age2, std::uint8_t age4) {
    const std::uint8_t since1 = ByteDistance(age0, age1), since2 = ByteDistance(age0, age2),
                       since4 = ByteDistance(age0, age4);
    const std::uint8_t larger = since1 > since2 ? since1 : since2;
    return larger > since4 ? larger : since4;
}

// Partly decoded H.264: five times the population variance of the five newest I-frames.
constexpr float IFrameDispersion(float sum, float squareSum) { return squareSum - sum * (sum * 0.2f); }

// ---- What one block learns ----------------------------------------------------------------------------------------

struct LearningTimes {  // ticks, all limits exclusive
    std::int64_t now;
    std::int64_t quiet;            // without change for longer: may become background
    std::int64_t sampleAge;        // a sample older than this is renewed
    std::int64_t refreshInterval;  // slow learning: background older than this is refreshed
    bool isSlow;
};

struct SeenBlock {
    bool isStable;
    float mean;                   // grey levels, of ten frames
    std::uint8_t cb;              // of the newest frame
    std::uint8_t cr;              // likewise
    std::int64_t lastChangeTime;  // ticks
};

struct KnownBlock {
    bool isBackground;
    std::uint8_t y;  // of the background, as the next two
    std::uint8_t cb;
    std::uint8_t cr;
    std::int64_t backgroundTime;  // ticks; last set or refreshed
    std::int64_t sampleTime;      // ticks
    float sampleValue;            // grey levels: the mean of that time

    constexpr bool operator==(const KnownBlock&) const = default;
};

constexpr bool IsOlder(std::int64_t time, std::int64_t now, std::int64_t limit) {
    return Utils::ElapsedTicks(now, time) > limit;  // strict
}

constexpr std::uint8_t LumaOfMean(float mean) { return static_cast<std::uint8_t>(static_cast<int>(mean + 0.5f)); }

constexpr KnownBlock WithSample(KnownBlock known, const SeenBlock& seen, std::int64_t now) {
    known.sampleTime = now;
    known.sampleValue = seen.mean;
    return known;
}

constexpr KnownBlock WithBackground(KnownBlock known, const SeenBlock& seen, std::int64_t now) {
    known.backgroundTime = now;
    known.y = LumaOfMean(seen.mean);
    known.cb = seen.cb;
    known.cr = seen.cr;
    return known;
}

// A block that was quiet for long becomes background when it agrees with a sample of its past that is not too old.
constexpr bool IsConfirmed(float mean, std::int64_t lastChangeTime, std::int64_t sampleTime, float sampleValue,
                           const LearningTimes& times, float meanLimit) {
    return IsOlder(lastChangeTime, times.now, times.quiet) &&
           // Deliberate: one tick below the limit of quiet (LearningKernelTest, SampleOfFiveSecondsIsReplaced).
           !IsOlder(sampleTime, times.now, times.quiet - 1) && IsWithin(mean, sampleValue, meanLimit);
}

// A sample too old to confirm is older than sampleAge, too, as `quiet` is longer.
constexpr KnownBlock LearnedByCandidate(KnownBlock known, const SeenBlock& seen, const LearningTimes& times,
                                        float meanLimit) {
    const bool isSampleDue = IsOlder(known.sampleTime, times.now, times.sampleAge);
    if (IsConfirmed(seen.mean, seen.lastChangeTime, known.sampleTime, known.sampleValue, times, meanLimit)) {
        known = WithBackground(known, seen, times.now);
        known.isBackground = true;
    }
    return isSampleDue ? WithSample(known, seen, times.now) : known;
}

// Background that the scene agrees with is refreshed. Learning fast, known blocks are candidates as unknown ones are, so
// that a settled scene replaces what was known; learning slowly, they only renew their sample.
constexpr KnownBlock Learned(KnownBlock known, const SeenBlock& seen, const LearningTimes& times, float meanLimit) {
    if (!seen.isStable) return known;
    const bool isRefreshed = known.isBackground && IsWithin(known.y, seen.mean, meanLimit) &&
                             (!times.isSlow || IsOlder(known.backgroundTime, times.now, times.refreshInterval));
    const bool isCandidate = !times.isSlow || !known.isBackground;
    if (isRefreshed) known = WithBackground(known, seen, times.now);
    if (isCandidate) return LearnedByCandidate(known, seen, times, meanLimit);
    return IsOlder(known.sampleTime, times.now, times.sampleAge) ? WithSample(known, seen, times.now) : known;
}

// ---- Loops over blocks ---------------------------------------------------------------------------------------------

struct WindowSums {          // [block] each
    const float* firstSum;   // ages 0 to 4
    const float* secondSum;  // ages 5 to 9
    const float* centerSum;  // ages 2 to 6
    const float* firstSquareSum;
    const float* secondSquareSum;
    const float* centerSquareSum;
};

struct StabilityLimits {
    float sum;         // between window sums
    float dispersion;  // between window dispersions
};

// isStable[i] = 255 where the three windows agree, else 0.
extern const Loop<void(WindowSums sums, StabilityLimits limits, std::uint8_t* isStable, BlockRange range)> JudgeStability;

// Noise level of stable blocks; the others keep theirs.
struct NoiseOfExtremesBlocks {
    const std::uint8_t* isStable;
    const std::uint8_t* min;
    const std::uint8_t* max;
    float offset;  // grey levels
    float* noiseLevel;
};
extern const Loop<void(NoiseOfExtremesBlocks b, BlockRange range)> LearnNoiseFromExtremes;
extern const Loop<void(WindowSums sums, const std::uint8_t* isStable, float* noiseLevel, BlockRange range)>
    LearnNoiseFromDispersions;

// isMotionPixel[i] = 255 where the luma differs from age 1, 2 or 4, else 0; lastChangeTime of these blocks = now.
struct ChangeBlocks {
    const std::uint8_t* age0;
    const std::uint8_t* age1;
    const std::uint8_t* age2;
    const std::uint8_t* age4;
    const float* noiseLevel;
    std::uint8_t* isMotionPixel;
    std::int64_t* lastChangeTime;

    ChangeBlocks From(std::size_t first) const {
        return {age0 + first,       age1 + first,          age2 + first,          age4 + first,
                noiseLevel + first, isMotionPixel + first, lastChangeTime + first};
    }
};
extern const Loop<void(ChangeBlocks b, std::int64_t now, BlockRange range)> MarkChanges;

// The learning state of the blocks, with the newest frame's chroma.
struct LearningBlocks {
    const float* firstSum;
    const float* secondSum;
    const std::uint8_t* cb;
    const std::uint8_t* cr;
    const std::uint8_t* isStable;
    const std::int64_t* lastChangeTime;
    std::uint8_t* isBackground;
    std::uint8_t* backgroundY;
    std::uint8_t* backgroundCb;
    std::uint8_t* backgroundCr;
    std::int64_t* backgroundTime;
    std::int64_t* sampleTime;
    float* sampleValue;

    LearningBlocks From(std::size_t first) const {
        return {
            firstSum + first,       secondSum + first,    cb + first,          cr + first,           isStable + first,
            lastChangeTime + first, isBackground + first, backgroundY + first, backgroundCb + first, backgroundCr + first,
            backgroundTime + first, sampleTime + first,   sampleValue + first};
    }
};

// Every block as Learned() says.
extern const Loop<void(LearningBlocks b, LearningTimes times, float meanLimit, BlockRange range)> LearnBackground;

struct ForgettingBlocks {
    const std::int64_t* backgroundTime;
    std::uint8_t* isBackground;
    float* noiseLevel;

    ForgettingBlocks From(std::size_t first) const {
        return {backgroundTime + first, isBackground + first, noiseLevel + first};
    }
};
// Blocks not refreshed for longer than `limit` ticks lose their background and, with it, what is known of their noise.
extern const Loop<void(ForgettingBlocks b, std::int64_t now, std::int64_t limit, float defaultNoiseLevel, BlockRange range)>
    ForgetBackground;

// Partly decoded H.264: what an I-frame teaches. `quiet`, `forget`: ticks, exclusive.
struct IFrameLearningBlocks {
    const float* firstSum;
    const float* firstSquareSum;
    const std::int64_t* lastChangeTime;
    std::uint8_t* isBackground;
    std::uint8_t* backgroundY;
    std::int64_t* backgroundTime;
    std::int64_t* sampleTime;
};
struct IFrameLearningTimes {
    std::int64_t now;
    std::int64_t quiet;
    std::int64_t forget;
};
extern const Loop<void(IFrameLearningBlocks b, IFrameLearningTimes times, float dispersionLimit, BlockRange range)>
    LearnBackgroundFromIFrame;

}  // namespace MD::Kernels
