// What does each block look like when nothing moves?  The learning of the background, standard and partial H.264, and its
// picture.
#include "ReferenceModel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Reference {

void Model::UpdateBackground() {
    if (!IsFilled() || SkipsThisFrame()) return;
    if (_isPartial && !_isPartialIFrame) {
        Count(Rule::partialPFrameTeachesNothing);
        return;
    }
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        if (_isPartial) {
            LearnPartial(i);
            continue;
        }
        Block& block = _blocks[i];
        block.isStable = IsStable(_statistics[i]);
        if (block.isStable) block.noise = NoiseOf(_statistics[i]);
        TestChange(i);
        if (block.isStable) Learn(i);
        if (HasTimedOut(block)) {
            if (block.isBackground) Count(Rule::backgroundTimeout);
            block.isBackground = false;
            if (!_rules.timeoutKeepsNoise) block.noise = _rules.startNoise;
        }
    }
}

// ------------------------------------------------------------------------------------------------ stability and noise

float Model::Dispersion(const Window& w) const {
    const float squaredFifth = _rules.dispersionFactorFirst ? w.sum * (w.sum * 0.2f) : w.sum * w.sum * 0.2f;
    return (w.squares - squaredFifth) * 0.25f;
}

bool Model::IsStable(const Statistics& s) {
    const float spread1 = Dispersion(s.first);
    const float spread2 = Dispersion(s.second);
    const float spreadC = Dispersion(s.center);
    const struct {
        float difference, limit;
        Rule failure;
    } tests[] = {{s.first.sum - s.second.sum, _rules.sumLimit, Rule::unstableSumFirstSecond},
                 {s.second.sum - s.center.sum, _rules.sumLimit, Rule::unstableSumSecondCenter},
                 {s.center.sum - s.first.sum, _rules.sumLimit, Rule::unstableSumCenterFirst},
                 {spread1 - spread2, _rules.dispersionLimit, Rule::unstableSpreadFirstSecond},
                 {spread2 - spreadC, _rules.dispersionLimit, Rule::unstableSpreadSecondCenter},
                 {spreadC - spread1, _rules.dispersionLimit, Rule::unstableSpreadCenterFirst}};
    for (const auto& test : tests)
        if (std::fabs(test.difference) > test.limit) {
            Count(test.failure);
            return false;
        }
    Count(Rule::stable);
    if (std::fabs(s.first.sum - s.second.sum) == _rules.sumLimit) Count(Rule::stableSumBorder);
    return true;
}

float Model::NoiseOf(const Statistics& s) {
    if (!_detectShadow) {
        Count(Rule::noiseFromExtremes);
        return static_cast<float>(s.maximum - s.minimum) * _rules.extremesFactor + _rules.extremesOffset;
    }
    const float spread1 = Dispersion(s.first);
    const float spread2 = Dispersion(s.second);
    const float deviation = std::sqrt((spread2 + spread1) * 0.5f);
    if (deviation < _rules.flatBelow) {
        Count(Rule::noiseFlat);
        return _rules.flatNoise;
    }
    Count(Rule::noiseFromSpread);
    return deviation * _rules.spreadFactor + _rules.spreadOffset;
}

// -------------------------------------------------------------------------------------------------------- change test

void Model::TestChange(std::size_t index) {
    Block& block = _blocks[index];
    const float limit = static_cast<float>(static_cast<double>(block.noise) * _rules.changeFactor);
    const int newest = _history[0].luma[index];
    const auto difference = [&](int age) {
        return static_cast<float>(std::abs(newest - _history[static_cast<std::size_t>(age)].luma[index]));
    };
    static constexpr Rule rules[3] = {Rule::changedSinceAge1, Rule::changedSinceAge2, Rule::changedSinceAge4};
    block.isMotion = false;
    for (std::size_t i = 0; i < 3; ++i) {
        if (difference(_rules.changeAges[i]) == limit) Count(Rule::changeBorder);
        if (difference(_rules.changeAges[i]) > limit) {
            Count(rules[i]);
            block.isMotion = true;
            block.lastChange = _now;
            return;
        }
    }
    Count(difference(3) > limit ? Rule::changeOnlyAtAge3 : Rule::unchanged);
}

// ----------------------------------------------------------------------------------------------------------- learning

void Model::Learn(std::size_t index) {
    Block& block = _blocks[index];
    const Statistics& s = _statistics[index];
    const float mean =
        _rules.meanInOneStep ? (s.first.sum + s.second.sum) * 0.1f : (s.first.sum * 0.2f + s.second.sum * 0.2f) * 0.5f;
    if (_longTimes && block.isBackground) {
        LearnSlowly(block, mean, index);
        return;
    }
    if (block.isBackground) {
        const bool near = IsMeanNear(block, mean);
        Count(near ? Rule::backgroundRefreshed : Rule::backgroundTooFar);
        if (near) SetBackground(block, mean, index);
        if (_rules.candidateOnlyWhenLearning) return;
    }
    TryCandidate(block, mean, index);
}

void Model::LearnSlowly(Block& block, float mean, std::size_t index) {
    const bool isDue = Since(block.backgroundTime) > _rules.longRefreshInterval;
    if (!IsMeanNear(block, mean)) {
        Count(Rule::backgroundLongTooFar);
    } else if (!isDue) {
        Count(Rule::backgroundLongTooEarly);
    } else {
        Count(Rule::backgroundLongRefreshed);
        SetBackground(block, mean, index);
    }
    if (_rules.longTimesRunCandidate) {
        TryCandidate(block, mean, index);
        return;
    }
    if (RenewSample(block, mean)) Count(Rule::backgroundLongSampled);
}

void Model::TryCandidate(Block& block, float mean, std::size_t index) {
    const Ticks quiet = Since(block.lastChange);
    const Ticks sampleAge = Since(block.sampleTime);
    if (quiet == _rules.quietTime) Count(Rule::candidateQuietBorder);
    if (quiet > _rules.quietTime) {
        if (sampleAge == _rules.sampleLifetime + 1) Count(Rule::candidateSampleOldBorder);
        if (sampleAge > _rules.sampleLifetime) {
            Count(Rule::candidateSampleOld);
            TakeSample(block, mean);
            return;
        }
        if (std::fabs(mean - block.sample) <= _rules.meanLimit) {
            Count(block.isBackground ? Rule::candidateConfirmedAgain : Rule::candidateConfirmed);
            if (sampleAge <= _rules.sampleInterval) Count(Rule::candidateConfirmedYoung);
            const int before = block.backgroundY;
            const bool wasBackground = block.isBackground;
            block.isBackground = true;
            SetBackground(block, mean, index);
            if (wasBackground && before != block.backgroundY) Count(Rule::candidateReplaced);
            RenewSample(block, mean);
            return;
        }
        Count(Rule::candidateDisagrees);
    } else {
        Count(Rule::candidateNotQuiet);
    }
    Count(RenewSample(block, mean) ? Rule::candidateSampled : Rule::candidateSampleKept);
}

bool Model::RenewSample(Block& block, float mean) {
    if (Since(block.sampleTime) <= _rules.sampleInterval) return false;
    TakeSample(block, mean);
    return true;
}

void Model::TakeSample(Block& block, float mean) {
    block.sampleTime = _now;
    block.sample = mean;
}

void Model::SetBackground(Block& block, float mean, std::size_t index) {
    block.backgroundTime = _now;
    block.backgroundY = static_cast<int>(mean + _rules.rounding);
    block.backgroundCb = _history[0].cb[index];
    block.backgroundCr = _history[0].cr[index];
}

bool Model::IsMeanNear(const Block& block, float mean) {
    const float distance = std::fabs(static_cast<float>(block.backgroundY) - mean);
    if (distance == _rules.meanLimit) Count(Rule::backgroundMeanBorder);
    return distance <= _rules.meanLimit;
}

bool Model::HasTimedOut(const Block& block) {
    const Ticks age = Since(block.backgroundTime);
    if (block.isBackground && age == _rules.backgroundLifetime) Count(Rule::backgroundTimeoutBorder);
    return age > _rules.backgroundLifetime;
}

// ------------------------------------------------------------------------------------------------------ partial H.264

void Model::LearnPartial(std::size_t index) {
    Block& block = _blocks[index];
    const Window& window = _statistics[index].first;
    const float spread = window.squares - window.sum * (window.sum * 0.2f);
    if (spread <= _rules.partialSpreadLimit) {
        block.sampleTime = _now;
        const Ticks limit = _longTimes ? _rules.partialLongQuietTime : _rules.partialQuietTime;
        const Ticks quiet = Since(block.lastChange);
        if (quiet == limit) Count(Rule::partialQuietBorder);
        if (quiet > limit) {
            Count(_longTimes ? Rule::partialConfirmedLong : Rule::partialConfirmed);
            block.isBackground = true;
            block.backgroundTime = _now;
            block.backgroundY = static_cast<int>(window.sum * 0.2f + (_rules.partialRounds ? 0.5f : 0.0f));
            if (_rules.partialSetsChroma) {
                block.backgroundCb = _history[0].cb[index];
                block.backgroundCr = _history[0].cr[index];
            }
        } else {
            Count(Rule::partialNotQuiet);
        }
    } else {
        Count(Rule::partialNoisy);
    }
    if (HasTimedOut(block)) {
        if (block.isBackground) Count(Rule::partialTimeout);
        block.isBackground = false;
        if (_rules.partialTimeoutResetsNoise) block.noise = _rules.startNoise;
    }
}

// ------------------------------------------------------------------------------------------------------------ picture

int Model::Background(std::uint8_t* image, std::int32_t* mask) {
    if (_blocks.empty()) {
        Count(Rule::pictureNone);
        return -1;  // any negative value
    }
    const auto shift16 = [](int value) { return value >> 16; };  // rounds down, below zero too
    const auto clamp = [&](int value) {
        if (value < 0) Count(Rule::pictureClampedLow);
        if (value > 255) Count(Rule::pictureClampedHigh);
        return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    };
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        const Block& block = _blocks[i];
        std::uint8_t* pixel = image + 3 * i;
        mask[i] = block.isBackground ? 255 : 0;
        Count(block.isBackground ? Rule::pictureKnown : Rule::pictureUnknown);
        if (block.isBackground) {
            const int y = block.backgroundY, cb = block.backgroundCb - 128, cr = block.backgroundCr - 128;
            pixel[0] = clamp(y + shift16(116130 * cb + 32768));
            pixel[1] = clamp(y + shift16(-22554 * cb + 32768 + -46802 * cr));
            pixel[2] = clamp(y + shift16(91881 * cr + 32768));
        } else {
            pixel[0] = 255;
            pixel[1] = 0;
            pixel[2] = 255;
        }
    }
    return 0;
}

}  // namespace Reference
