// Is a block quiet, did it change, what does it teach the background?
#include "detector/kernels/Background.h"

#include "utils/Ticks.h"

namespace MD::Kernels {
namespace {

using Utils::ElapsedTicks;

void TakeSample(const LearningBlocks& b, std::size_t i, std::int64_t now, float mean) {
    b.sampleTime[i] = now;
    b.sampleValue[i] = mean;
}

void SetBackground(const LearningBlocks& b, std::size_t i, std::int64_t now, float mean) {
    b.backgroundTime[i] = now;
    b.backgroundY[i] = static_cast<std::uint8_t>(mean + 0.5f);
    b.backgroundCb[i] = b.cb[i];
    b.backgroundCr[i] = b.cr[i];
}

// A block that was quiet for long is confirmed when its mean agrees with a sample of its past.
void TryCandidate(const LearningBlocks& b, std::size_t i, const LearningTimes& times, float mean, float meanLimit) {
    const std::int64_t sampleAge = ElapsedTicks(times.now, b.sampleTime[i]);
    if (ElapsedTicks(times.now, b.lastChangeTime[i]) > times.quiet) {
        // Deliberate: one tick below the limit of quiet (BackgroundTest, SampleOfFiveSecondsIsReplaced).
        if (sampleAge > times.quiet - 1) {
            TakeSample(b, i, times.now, mean);
            return;
        }
        if (IsWithin(mean, b.sampleValue[i], meanLimit)) {
            b.isBackground[i] = 255;
            SetBackground(b, i, times.now, mean);
        }
    }
    if (sampleAge > times.sampleAge) TakeSample(b, i, times.now, mean);
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
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i)
        b.isMotionPixel[i] =
            HasChanged(b.age0[i], b.age1[i], b.age2[i], b.age4[i], ChangeLimit(b.noiseLevel[i])) ? 255 : 0;
    MD_INDEPENDENT_BLOCKS
    for (std::size_t i = range.first; i < range.last; ++i) {
        const std::int64_t earlier = b.lastChangeTime[i];
        b.lastChangeTime[i] = b.isMotionPixel[i] ? now : earlier;
    }
}

void LearnBackground(LearningBlocks b, LearningTimes times, float meanLimit, BlockRange range) {
    for (std::size_t i = range.first; i < range.last; ++i) {
        if (!b.isStable[i]) continue;
        const float mean = TenFrameMean(b.firstSum[i], b.secondSum[i]);
        const bool isKnown = b.isBackground[i];
        if (isKnown && IsWithin(b.backgroundY[i], mean, meanLimit) &&
            (!times.isSlow || ElapsedTicks(times.now, b.backgroundTime[i]) > times.refreshInterval))
            SetBackground(b, i, times.now, mean);
        if (!isKnown || !times.isSlow)
            TryCandidate(b, i, times, mean, meanLimit);
        else if (ElapsedTicks(times.now, b.sampleTime[i]) > times.sampleAge)
            TakeSample(b, i, times.now, mean);
    }
}

void ForgetBackground(ForgettingBlocks b, std::int64_t now, std::int64_t limit, float defaultNoiseLevel, BlockRange range) {
    for (std::size_t i = range.first; i < range.last; ++i) {
        if (ElapsedTicks(now, b.backgroundTime[i]) <= limit) continue;
        b.isBackground[i] = 0;
        b.noiseLevel[i] = defaultNoiseLevel;
    }
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
