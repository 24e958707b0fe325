// Is a block quiet, did it change, what does it teach the background?
#include "detector/kernels/Background.h"

#include "utils/Ticks.h"

MD_LEVEL_BEGIN
namespace MD::Kernels::MD_LEVEL {
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

// times[j] = now where the mark is set.
void StampTimes(const std::uint8_t* marks, std::int64_t* times, std::int64_t now, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) times[j] = Select(marks[j], now, times[j]);
}

// Whether any time of the chunk may lie more than `limit` ticks back; no: none does. Asks the sign of limit - age, which
// can be wrong only by saying yes to an age beyond all limits of a signed difference.
bool MayAnyBeOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::size_t count) {
    std::uint64_t signs = 0;
    MD_FOUR_AT_ONCE
    for (std::size_t j = 0; j < count; ++j)
        signs |= static_cast<std::uint64_t>(limit) - static_cast<std::uint64_t>(ElapsedTicks(now, times[j]));
    return signs >> 63 != 0;
}

// 255 where IsOlder(time, now, limit), else 0.
constexpr std::uint8_t MarkOfOlder(std::int64_t time, std::int64_t now, std::int64_t limit) {
    return static_cast<std::uint8_t>(-static_cast<int>(SignOfOlder(now, time, limit) >> 63));
}

void MarkOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) marks[j] = MarkOfOlder(times[j], now, limit);
}

// Of the blocks that are marked, those whose time lies more than `limit` ticks back stay so.
void KeepOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j)
        marks[j] = static_cast<std::uint8_t>(marks[j] & MarkOfOlder(times[j], now, limit));
}

// The others stay so.
void KeepNotOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::uint8_t* marks, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j)
        marks[j] = static_cast<std::uint8_t>(marks[j] & ~MarkOfOlder(times[j], now, limit));
}

// Clears the marks of blocks without a background within the limit of the mean; then of those whose sample is not.
void KeepWithinBackground(LearningBlocks b, const float* mean, float limit, std::uint8_t* marks, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const bool isWithin = IsWithin(b.backgroundY[j], mean[j], limit), isKnown = b.isBackground[j] != 0;
        marks[j] = (isWithin & isKnown) ? marks[j] : std::uint8_t{0};
    }
}

void KeepWithinSample(LearningBlocks b, const float* mean, float limit, std::uint8_t* marks, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j)
        marks[j] = IsWithin(mean[j], b.sampleValue[j], limit) ? marks[j] : std::uint8_t{0};
}

// WithBackground() of the blocks that are marked.
void SetBackgrounds(LearningBlocks b, const float* mean, const std::uint8_t* marks, std::int64_t now, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) b.backgroundY[j] = Select(marks[j], LumaOfMean(mean[j]), b.backgroundY[j]);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        b.backgroundCb[j] = Select(marks[j], b.cb[j], b.backgroundCb[j]);
        b.backgroundCr[j] = Select(marks[j], b.cr[j], b.backgroundCr[j]);
    }
    StampTimes(marks, b.backgroundTime, now, count);
}

// WithSample() of the blocks that are marked.
void TakeSamples(LearningBlocks b, const float* mean, const std::uint8_t* marks, std::int64_t now, std::size_t count) {
    StampTimes(marks, b.sampleTime, now, count);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const float learned = mean[j], known = b.sampleValue[j];
        b.sampleValue[j] = marks[j] ? learned : known;
    }
}

// Learned(), one question after the other: who is refreshed, whose sample is due, who is confirmed. Each is answered by what
// was known before.
void LearnChunk(LearningBlocks b, LearningTimes times, float meanLimit, std::size_t count) {
    if (!IsAnySet(b.isStable, count)) return;
    float mean[chunkLength];
    std::uint8_t isSet[chunkLength], isDue[chunkLength], isConfirmed[chunkLength];
    for (std::size_t j = 0; j < count; ++j) mean[j] = TenFrameMean(b.firstSum[j], b.secondSum[j]);

    // Background that the scene still agrees with is refreshed: always, or when it is old enough.
    for (std::size_t j = 0; j < count; ++j) isSet[j] = b.isStable[j] ? 255 : 0;
    KeepWithinBackground(b, mean, meanLimit, isSet, count);
    if (times.isSlow && IsAnySet(isSet, count)) KeepOlder(b.backgroundTime, times.now, times.refreshInterval, isSet, count);

    // Every stable block's sample is renewed when it is older than sampleAge: those too old to confirm, which
    // LearnedByCandidate() renews at once, are older still, as `quiet` is longer. What the sample was decides on the
    // confirmation first.
    const bool isAnyDue = MayAnyBeOlder(b.sampleTime, times.now, times.sampleAge, count);
    if (isAnyDue) {
        for (std::size_t j = 0; j < count; ++j) isDue[j] = b.isStable[j] ? 255 : 0;
        KeepOlder(b.sampleTime, times.now, times.sampleAge, isDue, count);
    }

    // Candidates, whose mean may agree with a sample of their past: blocks that were quiet for long. For a block that is
    // refreshed already a confirmation would write the same again; slow learning confirms unknown blocks only.
    for (std::size_t j = 0; j < count; ++j) {
        const bool isCandidate = times.isSlow ? b.isBackground[j] == 0 : isSet[j] == 0;
        isConfirmed[j] = (isCandidate & (b.isStable[j] != 0)) ? 255 : 0;
    }
    if (IsAnySet(isConfirmed, count)) {
        // Candidates are rare in a scene that is known: their times are asked for piece by piece.
        ForEachPiece({0, count}, [&](BlockRange piece) {
            std::uint8_t* const marks = isConfirmed + piece.first;
            if (!IsAnySet(marks, piece.Count())) return;
            const LearningBlocks p = b.From(piece.first);
            KeepOlder(p.lastChangeTime, times.now, times.quiet, marks, piece.Count());
            // Deliberate: one tick below the limit of quiet (LearningKernelTest, SampleOfFiveSecondsIsReplaced).
            KeepNotOlder(p.sampleTime, times.now, times.quiet - 1, marks, piece.Count());
            KeepWithinSample(p, mean + piece.first, meanLimit, marks, piece.Count());
        });
        for (std::size_t j = 0; j < count; ++j) {
            isSet[j] |= isConfirmed[j];
            b.isBackground[j] |= isConfirmed[j];
        }
    }

    if (IsAnySet(isSet, count)) SetBackgrounds(b, mean, isSet, times.now, count);
    if (isAnyDue && IsAnySet(isDue, count)) TakeSamples(b, mean, isDue, times.now, count);
}

// Every block is asked quickly and, where one may have changed, exactly.
void MarkChangesOfChunk(ChangeBlocks b, std::int64_t now, std::size_t count) {
    std::uint8_t largest[chunkLength];
    std::uint8_t any = 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint8_t difference = LargestDifference(b.age0[j], b.age1[j], b.age2[j], b.age4[j]);
        const std::uint8_t mark = MayHaveChanged(difference, b.noiseLevel[j]) ? 255 : 0;
        largest[j] = difference;
        b.isMotionPixel[j] = mark;
        any |= mark;
    }
    if (!any) return;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) b.isMotionPixel[j] = Exceeds(largest[j], ChangeLimit(b.noiseLevel[j])) ? 255 : 0;
    StampTimes(b.isMotionPixel, b.lastChangeTime, now, count);
}

void ForgetChunk(ForgettingBlocks b, std::int64_t now, std::int64_t limit, float defaultNoiseLevel, std::size_t count) {
    if (!MayAnyBeOlder(b.backgroundTime, now, limit, count)) return;
    std::uint8_t isForgotten[chunkLength];
    MarkOlder(b.backgroundTime, now, limit, isForgotten, count);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const float known = b.noiseLevel[j];
        b.noiseLevel[j] = isForgotten[j] ? defaultNoiseLevel : known;
    }
    for (std::size_t j = 0; j < count; ++j) b.isBackground[j] &= static_cast<std::uint8_t>(~isForgotten[j]);
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
    ForEachChunk(range, [=](BlockRange chunk) { MarkChangesOfChunk(b.From(chunk.first), now, chunk.Count()); });
}

void LearnBackground(LearningBlocks b, LearningTimes times, float meanLimit, BlockRange range) {
    ForEachChunk(range, [=](BlockRange chunk) { LearnChunk(b.From(chunk.first), times, meanLimit, chunk.Count()); });
}

void ForgetBackground(ForgettingBlocks b, std::int64_t now, std::int64_t limit, float defaultNoiseLevel, BlockRange range) {
    ForEachChunk(range,
                 [=](BlockRange chunk) { ForgetChunk(b.From(chunk.first), now, limit, defaultNoiseLevel, chunk.Count()); });
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

}  // namespace MD::Kernels::MD_LEVEL
MD_LEVEL_END

namespace MD::Kernels {

MD_DEFINE_LOOP(JudgeStability);
MD_DEFINE_LOOP(LearnNoiseFromExtremes);
MD_DEFINE_LOOP(LearnNoiseFromDispersions);
MD_DEFINE_LOOP(MarkChanges);
MD_DEFINE_LOOP(LearnBackground);
MD_DEFINE_LOOP(ForgetBackground);
MD_DEFINE_LOOP(LearnBackgroundFromIFrame);

}  // namespace MD::Kernels
