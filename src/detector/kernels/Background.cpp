// Is a block quiet, did it change, what does it teach the background?
#include "detector/kernels/Background.h"

#include <algorithm>
#include <cstring>

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

// Marks of eight blocks side by side in one word.
std::uint64_t EightMarks(const std::uint8_t* marks) {
    std::uint64_t word;
    std::memcpy(&word, marks, sizeof word);
    return word;
}

// times[j] = now where the mark is set.
void StampTimes(const std::uint8_t* marks, std::int64_t* times, std::int64_t now, std::size_t count) {
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) times[j] = Select(marks[j], now, times[j]);
}

// Whether any time of the chunk may lie more than `limit` ticks back; no: none does. Asks the sign of limit - age, which
// can be wrong only by saying yes to an age beyond all limits of a signed difference.
bool MayAnyBeOlder(const std::int64_t* times, std::int64_t now, std::int64_t limit, std::size_t count) {
    const std::uint64_t distance = static_cast<std::uint64_t>(limit) - static_cast<std::uint64_t>(now);
    std::uint64_t signs = 0;
    MD_FOUR_AT_ONCE
    for (std::size_t j = 0; j < count; ++j) signs |= distance + static_cast<std::uint64_t>(times[j]);
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

// visit(j) for each mark, {0,255}, that is set, 0 to count - 1: quickly where few are.
template <class Visit>
MD_PART_OF_CALLER void ForEachMarked(const std::uint8_t* marks, std::size_t count, Visit visit) {
    const auto areAnySet = [&](std::size_t j) {
        return (EightMarks(marks + j) | EightMarks(marks + j + 8) | EightMarks(marks + j + 16) |
                EightMarks(marks + j + 24)) != 0;
    };
    std::size_t j = 0;
    for (; j + 32 <= count; j += 32) {
        if (!areAnySet(j)) continue;
        for (std::size_t eight = j; eight < j + 32; eight += 8)
            for (std::uint64_t word = EightMarks(marks + eight) & Lanes::topBits; word != 0;
                 word = Lanes::WithoutFirst(word))
                visit(eight + static_cast<std::size_t>(Lanes::First<std::uint8_t>(word)));
    }
    for (; j < count; ++j)
        if (marks[j]) visit(j);
}

// What the blocks of a chunk are found to be.
struct LearningNotes {
    std::uint8_t luma[chunkLength];   // that the mean would be as background
    std::uint8_t isSet[chunkLength];  // {0,255}; a background to be written, at first: stable blocks that agree with theirs
    std::uint8_t isCandidate[chunkLength];  // {0,255}; may be confirmed
};

// Candidates are stable blocks whose mean may agree with a sample of their past. For a block that is refreshed already a
// confirmation would write the same again; slow learning confirms unknown blocks only.
void Compare(LearningBlocks b, bool isSlow, float limit, LearningNotes& notes, std::size_t count) {
    std::uint8_t* const luma = notes.luma;
    std::uint8_t* const isSet = notes.isSet;
    std::uint8_t* const isCandidate = notes.isCandidate;
    const std::uint8_t slow = isSlow ? 255 : 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const float mean = TenFrameMean(b.firstSum[j], b.secondSum[j]);
        const std::uint8_t isWithin = MarkOf(IsWithin(b.backgroundY[j], mean, limit));
        const std::uint8_t isKnown = b.isBackground[j] ? 255 : 0, isStable = b.isStable[j] ? 255 : 0;
        const std::uint8_t agrees = isWithin & isKnown;
        luma[j] = LumaOfMean(mean);
        isSet[j] = agrees & isStable;
        isCandidate[j] = static_cast<std::uint8_t>(isStable & ~(agrees | (isKnown & slow)));
    }
}

void ConfirmCandidates(LearningBlocks b, const LearningTimes& times, float limit, LearningNotes& notes, std::size_t count) {
    ForEachMarked(notes.isCandidate, count, [&](std::size_t j) {
        const float mean = TenFrameMean(b.firstSum[j], b.secondSum[j]);
        if (IsConfirmed(mean, b.lastChangeTime[j], b.sampleTime[j], b.sampleValue[j], times, limit))
            notes.isSet[j] = b.isBackground[j] = 255;
    });
}

// WithBackground() of the blocks that are marked.
void SetBackgrounds(LearningBlocks b, const std::uint8_t* luma, const std::uint8_t* marks, std::int64_t now,
                    std::size_t count) {
    std::uint8_t all = 255;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        all &= marks[j];
        b.backgroundY[j] = Select(marks[j], luma[j], b.backgroundY[j]);
        b.backgroundCb[j] = Select(marks[j], b.cb[j], b.backgroundCb[j]);
        b.backgroundCr[j] = Select(marks[j], b.cr[j], b.backgroundCr[j]);
    }
    if (all == 255) std::fill_n(b.backgroundTime, count, now);
    else StampTimes(marks, b.backgroundTime, now, count);
}

// WithSample() of the blocks that are marked.
void TakeSamples(LearningBlocks b, const std::uint8_t* marks, std::int64_t now, std::size_t count) {
    StampTimes(marks, b.sampleTime, now, count);
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const float learned = TenFrameMean(b.firstSum[j], b.secondSum[j]), known = b.sampleValue[j];
        b.sampleValue[j] = marks[j] ? learned : known;
    }
}

// WithSample() of stable blocks whose sample is old enough: in nearly every chunk of a scene with noise some are, but few;
// where nothing stirs, none for long, and then all. Those few are looked for by the sign that MayAnyBeOlder() asks.
void RenewSamples(LearningBlocks b, const LearningTimes& times, std::size_t count) {
    bool isAnyDue = false;
    for (std::size_t j = 0; j < count && !isAnyDue; j += 2 * pieceLength)
        isAnyDue = MayAnyBeOlder(b.sampleTime + j, times.now, times.sampleAge, std::min(2 * pieceLength, count - j));
    if (!isAnyDue) return;
    std::uint8_t isDue[chunkLength];
    const std::uint64_t distance = static_cast<std::uint64_t>(times.sampleAge) - static_cast<std::uint64_t>(times.now);
    std::uint8_t all = 255;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint64_t sign = distance + static_cast<std::uint64_t>(b.sampleTime[j]);
        const std::uint8_t mark = static_cast<std::uint8_t>(static_cast<std::int32_t>(sign >> 32) >> 31) & b.isStable[j];
        isDue[j] = mark;
        all &= mark;
    }
    if (all == 255) {
        KeepOlder(b.sampleTime, times.now, times.sampleAge, isDue, count);
        TakeSamples(b, isDue, times.now, count);
        return;
    }
    ForEachMarked(isDue, count, [&](std::size_t j) {
        if (!IsOlder(b.sampleTime[j], times.now, times.sampleAge)) return;
        b.sampleTime[j] = times.now;
        b.sampleValue[j] = TenFrameMean(b.firstSum[j], b.secondSum[j]);
    });
}

// Learned(), one question after the other: who is refreshed, who is confirmed, whose sample is renewed. What the sample was
// decides on the confirmation first; it is renewed after that.
void LearnChunk(LearningBlocks b, LearningTimes times, float meanLimit, std::size_t count) {
    if (!IsAnySet(b.isStable, count)) return;
    LearningNotes notes;
    Compare(b, times.isSlow, meanLimit, notes, count);
    // Background that the scene still agrees with is refreshed: always, or when it is old enough.
    if (times.isSlow) KeepOlder(b.backgroundTime, times.now, times.refreshInterval, notes.isSet, count);
    ConfirmCandidates(b, times, meanLimit, notes, count);
    SetBackgrounds(b, notes.luma, notes.isSet, times.now, count);
    RenewSamples(b, times, count);
}

// Whether a difference of so much may be a change of any block: none that is smaller is one otherwise.
bool MayAnyHaveChanged(std::uint8_t largest, const float* noiseLevel, std::size_t count) {
    std::int32_t any = 0;
    MD_FOUR_AT_ONCE
    for (std::size_t j = 0; j < count; ++j) any |= MayHaveChanged(largest, noiseLevel[j]) ? -1 : 0;
    return any != 0;
}

// The largest difference of the chunk is asked about first and, where it may be a change, each block exactly.
void MarkChangesOfChunk(ChangeBlocks b, std::int64_t now, std::size_t count) {
    std::uint8_t differences[chunkLength];
    std::uint8_t largest = 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j) {
        const std::uint8_t difference = LargestDifference(b.age0[j], b.age1[j], b.age2[j], b.age4[j]);
        differences[j] = difference;
        largest = difference > largest ? difference : largest;
        b.isMotionPixel[j] = 0;
    }
    if (!MayAnyHaveChanged(largest, b.noiseLevel, count)) return;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t j = 0; j < count; ++j)
        b.isMotionPixel[j] = MarkOf(Exceeds(differences[j], ChangeLimit(b.noiseLevel[j])));
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
    // Dispersions are a quarter of these. A power of two changes no digit: the comparisons come out the same.
    const float deviationLimit = limits.dispersion * 4.0f;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const float first = sums.firstSum[i], second = sums.secondSum[i], center = sums.centerSum[i];
        const float firstDeviation = SquareDeviation(first, sums.firstSquareSum[i]);
        const float secondDeviation = SquareDeviation(second, sums.secondSquareSum[i]);
        const float centerDeviation = SquareDeviation(center, sums.centerSquareSum[i]);
        const bool areMeansClose = AreAllWithin(first, second, center, limits.sum);
        const bool areSpreadsClose = AreAllWithin(firstDeviation, secondDeviation, centerDeviation, deviationLimit);
        isStable[i] = MarkOf(areMeansClose & areSpreadsClose);
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
