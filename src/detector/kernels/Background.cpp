// Is a block quiet, did it change, what does it teach the background?
#include "detector/kernels/Background.h"

#include "utils/Ticks.h"

namespace MD::Kernels {
namespace {

using Utils::ElapsedTicks;
using Utils::SignOfOlder;

// Selects on mask bytes, 0 or 255, with both sides loaded: what a conditional store would do, in vectors.
constexpr std::uint8_t Select(std::uint8_t mark, std::uint8_t chosen, std::uint8_t other) {
    return static_cast<std::uint8_t>((mark & chosen) | (~mark & other));
}
constexpr std::int64_t Select(std::uint8_t mark, std::int64_t chosen, std::int64_t other) {
    const std::int64_t wide = static_cast<std::int8_t>(mark);  // 0 or all ones
    return (wide & chosen) | (~wide & other);
}

// times[i] = now where the mark of the chunk is set.
void StampTimes(const std::uint8_t* marks, std::int64_t* times, std::int64_t now, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) times[i] = Select(marks[i - chunk.first], now, times[i]);
}

// Whether any time of the chunk may lie more than `limit` ticks back; no: none does. Asks the sign of limit - age, which
// can be wrong only by saying yes to an age beyond all limits of a signed difference.
bool MayAnyBeOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, BlockRange chunk) {
    std::uint64_t signs = 0;
    MD_FOUR_AT_ONCE
    for (std::size_t i = chunk.first; i < chunk.last; ++i)
        signs |= static_cast<std::uint64_t>(limit) - static_cast<std::uint64_t>(ElapsedTicks(now, times[i]));
    return signs >> 63 != 0;
}

// 255 where `time` lies more than `limit` ticks back, else 0.
constexpr std::uint8_t MarkOfOlder(std::int64_t time, std::int64_t now, std::int64_t limit) {
    return static_cast<std::uint8_t>(-static_cast<int>(SignOfOlder(now, time, limit) >> 63));
}

void MarkOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) marks[i - chunk.first] = MarkOfOlder(times[i], now, limit);
}

// Of the blocks that are marked, those whose time lies more than `limit` ticks back stay so.
void KeepOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i)
        marks[i - chunk.first] = static_cast<std::uint8_t>(marks[i - chunk.first] & MarkOfOlder(times[i], now, limit));
}

// The others stay so.
void KeepNotOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i)
        marks[i - chunk.first] = static_cast<std::uint8_t>(marks[i - chunk.first] & ~MarkOfOlder(times[i], now, limit));
}

// Clears the marks of blocks without a background within the limit of the mean; then of those whose sample is not.
void KeepWithinBackground(LearningBlocks b, const float* mean, float limit, std::uint8_t* marks, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        const bool isWithin = IsWithin(b.backgroundY[i], mean[i - chunk.first], limit), isKnown = b.isBackground[i] != 0;
        marks[i - chunk.first] = (isWithin & isKnown) ? marks[i - chunk.first] : std::uint8_t{0};
    }
}

void KeepWithinSample(LearningBlocks b, const float* mean, float limit, std::uint8_t* marks, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        const bool isWithin = IsWithin(mean[i - chunk.first], b.sampleValue[i], limit);
        marks[i - chunk.first] = isWithin ? marks[i - chunk.first] : std::uint8_t{0};
    }
}

void SetBackground(LearningBlocks b, const float* mean, const std::uint8_t* marks, std::int64_t now, BlockRange chunk) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        const std::uint8_t learned = static_cast<std::uint8_t>(static_cast<int>(mean[i - chunk.first] + 0.5f));
        b.backgroundY[i] = Select(marks[i - chunk.first], learned, b.backgroundY[i]);
    }
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        b.backgroundCb[i] = Select(marks[i - chunk.first], b.cb[i], b.backgroundCb[i]);
        b.backgroundCr[i] = Select(marks[i - chunk.first], b.cr[i], b.backgroundCr[i]);
    }
    StampTimes(marks, b.backgroundTime, now, chunk);
}

void TakeSamples(LearningBlocks b, const float* mean, const std::uint8_t* marks, std::int64_t now, BlockRange chunk) {
    StampTimes(marks, b.sampleTime, now, chunk);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = chunk.first; i < chunk.last; ++i) {
        const float learned = mean[i - chunk.first], known = b.sampleValue[i];
        b.sampleValue[i] = marks[i - chunk.first] ? learned : known;
    }
}

void LearnChunk(LearningBlocks b, LearningTimes times, float meanLimit, BlockRange chunk) {
    const std::size_t count = chunk.last - chunk.first;
    const std::uint8_t* const isStable = b.isStable + chunk.first;
    const std::uint8_t* const isBackground = b.isBackground + chunk.first;
    if (!IsAnySet(isStable, count)) return;

    float mean[chunkLength];
    for (std::size_t i = chunk.first; i < chunk.last; ++i)
        mean[i - chunk.first] = TenFrameMean(b.firstSum[i], b.secondSum[i]);

    // Background that the scene still agrees with is refreshed: always, or when it is old enough.
    std::uint8_t isSet[chunkLength];
    for (std::size_t j = 0; j < count; ++j) isSet[j] = isStable[j] ? 255 : 0;
    KeepWithinBackground(b, mean, meanLimit, isSet, chunk);
    if (times.isSlow && IsAnySet(isSet, count)) KeepOlder(b.backgroundTime, times.now, times.refreshInterval, isSet, chunk);

    // Every stable block's sample is renewed when it is older than sampleAge. (The first branch of the rule renews older
    // ones only, its other branches all those.) What it was decides on the confirmation first.
    std::uint8_t isDue[chunkLength];
    const bool isAnyDue = MayAnyBeOlder(b.sampleTime, times.now, times.sampleAge, chunk);
    if (isAnyDue) {
        for (std::size_t j = 0; j < count; ++j) isDue[j] = isStable[j] ? 255 : 0;
        KeepOlder(b.sampleTime, times.now, times.sampleAge, isDue, chunk);
    }

    // Candidates, whose mean may agree with a sample of their past: blocks that were quiet for long. For a block that is
    // refreshed already a confirmation would write the same again; slow learning confirms unknown blocks only.
    std::uint8_t isConfirmed[chunkLength];
    for (std::size_t j = 0; j < count; ++j) {
        const bool isCandidate = times.isSlow ? isBackground[j] == 0 : isSet[j] == 0;
        isConfirmed[j] = (isCandidate & (isStable[j] != 0)) ? 255 : 0;
    }
    if (IsAnySet(isConfirmed, count)) {
        // Candidates are rare in a scene that is known: their times are asked for piece by piece.
        ForEachPiece(chunk, [&](BlockRange piece) {
            const std::size_t offset = piece.first - chunk.first, length = piece.last - piece.first;
            if (!IsAnySet(isConfirmed + offset, length)) return;
            KeepOlder(b.lastChangeTime, times.now, times.quiet, isConfirmed + offset, piece);
            // Deliberate: one tick below the limit of quiet (BackgroundTest, SampleOfFiveSecondsIsReplaced).
            KeepNotOlder(b.sampleTime, times.now, times.quiet - 1, isConfirmed + offset, piece);
            KeepWithinSample(b, mean + offset, meanLimit, isConfirmed + offset, piece);
        });
        for (std::size_t j = 0; j < count; ++j) {
            isSet[j] |= isConfirmed[j];
            b.isBackground[chunk.first + j] |= isConfirmed[j];
        }
    }

    if (IsAnySet(isSet, count)) SetBackground(b, mean, isSet, times.now, chunk);
    if (isAnyDue && IsAnySet(isDue, count)) TakeSamples(b, mean, isDue, times.now, chunk);
}

}  // namespace

void JudgeStability(WindowSums sums, StabilityLimits limits, std::uint8_t* isStable, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const float first = sums.firstSum[i], second = sums.secondSum[i], center = sums.centerSum[i];
        const float firstDispersion = Dispersion(first, sums.firstSquareSum[i]);
        const float secondDispersion = Dispersion(second, sums.secondSquareSum[i]);
        const float centerDispersion = Dispersion(center, sums.centerSquareSum[i]);
        const bool areMeansClose = AreAllWithin(first, second, center, limits.sum);
        const bool areSpreadsClose = AreAllWithin(firstDispersion, secondDispersion, centerDispersion, limits.dispersion);
        isStable[i] = (areMeansClose & areSpreadsClose) ? 255 : 0;
    }
}

void LearnNoiseFromExtremes(NoiseOfExtremesBlocks b, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const float learned = NoiseOfExtremes(b.min[i], b.max[i], b.offset);
        const float known = b.noiseLevel[i];
        b.noiseLevel[i] = b.isStable[i] ? learned : known;
    }
}

void LearnNoiseFromDispersions(WindowSums sums, const std::uint8_t* isStable, float* noiseLevel, BlockRange range) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const float learned = NoiseOfDispersions(Dispersion(sums.firstSum[i], sums.firstSquareSum[i]),
                                                 Dispersion(sums.secondSum[i], sums.secondSquareSum[i]));
        const float known = noiseLevel[i];
        noiseLevel[i] = isStable[i] ? learned : known;
    }
}

void MarkChanges(ChangeBlocks b, std::int64_t now, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) {
        std::uint8_t* const isMotionPixel = b.isMotionPixel + chunk.first;
        std::uint8_t largest[chunkLength];
        std::uint8_t any = 0;
        MD_INDEPENDENT_BLOCKS
        for (std::size_t i = chunk.first; i < chunk.last; ++i) {
            const std::uint8_t difference = LargestDifference(b.age0[i], b.age1[i], b.age2[i], b.age4[i]);
            const std::uint8_t mark = MayHaveChanged(difference, b.noiseLevel[i]) ? 255 : 0;
            largest[i - chunk.first] = difference;
            isMotionPixel[i - chunk.first] = mark;
            any |= mark;
        }
        if (!any) return;
        MD_INDEPENDENT_BLOCKS
        for (std::size_t i = chunk.first; i < chunk.last; ++i)
            isMotionPixel[i - chunk.first] = Exceeds(largest[i - chunk.first], ChangeLimit(b.noiseLevel[i])) ? 255 : 0;
        StampTimes(isMotionPixel, b.lastChangeTime, now, chunk);
    });
}

void LearnBackground(LearningBlocks b, LearningTimes times, float meanLimit, BlockRange range) {
    ForEachChunk(range, [&](BlockRange chunk) { LearnChunk(b, times, meanLimit, chunk); });
}

void ForgetBackground(ForgettingBlocks b, std::int64_t now, std::int64_t limit, float defaultNoiseLevel, BlockRange range) {
    ForEachChunk(range, [&](BlockRange chunk) {
        if (!MayAnyBeOlder(b.backgroundTime, now, limit, chunk)) return;
        std::uint8_t isForgotten[chunkLength];
        MarkOlder(b.backgroundTime, now, limit, isForgotten, chunk);
        MD_INDEPENDENT_BLOCKS
        for (std::size_t i = chunk.first; i < chunk.last; ++i) {
            const float known = b.noiseLevel[i];
            b.noiseLevel[i] = isForgotten[i - chunk.first] ? defaultNoiseLevel : known;
        }
        for (std::size_t i = chunk.first; i < chunk.last; ++i)
            b.isBackground[i] &= static_cast<std::uint8_t>(~isForgotten[i - chunk.first]);
    });
}

void LearnBackgroundFromIFrame(IFrameLearningBlocks b, IFrameLearningTimes times, float dispersionLimit, BlockRange range) {
    for (std::size_t i = range.first; i < range.last; ++i) {
        if (IFrameDispersion(b.firstSum[i], b.firstSquareSum[i]) <= dispersionLimit) {
            b.sampleTime[i] = times.now;
            if (ElapsedTicks(times.now, b.lastChangeTime[i]) > times.quiet) {
                b.isBackground[i] = 255;
                b.backgroundTime[i] = times.now;
                // Deliberate: truncated, not rounded (BackgroundTest, IFrameBackgroundIsTruncated).
                b.backgroundY[i] = static_cast<std::uint8_t>(b.firstSum[i] * 0.2f);
            }
        }
        if (ElapsedTicks(times.now, b.backgroundTime[i]) > times.forget) b.isBackground[i] = 0;
    }
}

}  // namespace MD::Kernels
