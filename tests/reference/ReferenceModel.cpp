// What happens to a frame, and in which order?  The detection pass with its buffers, its history of 11 frames, the sums and
// extremes over that history, frame skipping, the two setters and the summary.
#include "ReferenceModel.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Reference {

int Model::StartPhase(int drawn) {
    return static_cast<int>(static_cast<std::uint32_t>(drawn) * 6u / 2147483647u);  // the product wraps
}

void Model::SetLimit(int value) {
    _limitToMotion = ((value ^ 1) & 0xFF) != 0;
    Count(_limitToMotion ? Rule::limitOn : Rule::limitOff);
}

void Model::SetLongTimes(int value) {
    _longTimes = (value & 0xFF) != 0;
    Count(_longTimes ? Rule::longTimesOn : Rule::longTimesOff);
}

void Model::Detect(const DetectionInfo& info) {
    _passThrough = info.passThroughFlag != 0;
    _isIFrame = info.isIFrame != 0;
    _isPartial = info.isH264Partly != 0;
    _isPartialIFrame = info.isH264PartlyIFrame != 0;
    if (MustStartAfresh(info)) StartAfresh(info);
    _now = info.timestamp;
    TakePicture(info);
    _results.assign(BlockCount(), 0);
    UpdateBackground();
    FindForeground(info);
    if (_detectShadow) RemoveShadows();
    _objects.clear();
    if (_zones.empty()) Count(Rule::zoneNone);
    for (std::size_t zone = 0; zone < _zones.size(); ++zone) {
        ProcessZone(zone);
        _objects.insert(_objects.end(), _zoneObjects.begin(), _zoneObjects.end());
    }
    Merge();
}

int Model::Summary(MDResultInfo& out) {
    out.isIFrame = _isIFrame ? 1 : 0;
    out.passThroughFlag = _passThrough ? 1 : 0;
    out.zoneResultsCount = IsFilled() ? 1 : 0;
    Count(IsFilled() ? Rule::summaryReady : Rule::summaryNotReady);
    return IsFilled() ? COREMD_DELIVERED : COREMD_NOT_READY;
}

ZoneResult Model::Result() {
    if (!IsFilled()) return {};
    if (_zones.empty()) Count(Rule::readAfterRemoval);
    Count(_objects.empty() ? Rule::resultEmpty : _objects.size() == 1 ? Rule::resultOne : Rule::resultSeveral);
    return {COREMD_DELIVERED, &_objects, &_labels, &_results};
}

// ---------------------------------------------------------------------------------------------------------- buffers

bool Model::MustStartAfresh(const DetectionInfo& info) {
    if (info.width != _width || info.height != _height) {
        Count(Rule::buffersNewGrid);
        return true;
    }
    if (_now > info.timestamp) {
        Count(Rule::buffersTimeBackward);
        return true;
    }
    Count(Rule::buffersKept);
    if (_now == info.timestamp) Count(Rule::buffersEqualTime);
    const bool sameRate = info.fps == _fps || (std::isnan(info.fps) && std::isnan(_fps));
    if (!sameRate || (info.detectShadow != 0) != _detectShadow || (info.isMPEG4 != 0) != _isMpeg4)
        Count(Rule::buffersSettingsIgnored);
    return false;
}

void Model::StartAfresh(const DetectionInfo& info) {
    _detectShadow = info.detectShadow != 0;
    _isMpeg4 = info.isMPEG4 != 0;
    _fps = info.fps;
    _width = info.width;
    _height = info.height;

    const std::size_t count = static_cast<std::size_t>(_width) * static_cast<std::size_t>(_height);
    Block fresh;
    fresh.noise = _rules.startNoise;
    fresh.lastChange = fresh.backgroundTime = fresh.sampleTime = info.timestamp;
    _blocks.assign(count, fresh);
    _statistics.assign(count, Statistics());
    _labels.assign(count, 0);
    _results.assign(count, 0);
    _framesSeen = 0;
    _history.clear();
    _pFrame = Picture();
    _zoneObjects.clear();
    _objects.clear();
    for (Zone& zone : _zones) Fit(zone);

    if (_rules.restartResetsSkipping) _skipPhase = _skipCounter = 0;
    if (_rules.restartResetsFrameMachine) _frameMachine = FrameMachine();
}

// ---------------------------------------------------------------------------------------------------------- history

void Model::TakePicture(const DetectionInfo& info) {
    const std::uint8_t* luma = info.ycbcrForEachBlock;
    const std::uint8_t* cb = luma + BlockCount();
    const std::uint8_t* cr = cb + BlockCount();
    Picture picture{{luma, cb}, {cb, cr}, {cr, cr + BlockCount()}};
    if (_isPartial && !_isPartialIFrame) {
        _pFrame = std::move(picture);
        Count(Rule::historyKeptOut);
        return;
    }
    _history.push_front(std::move(picture));
    if (_history.size() > historyLength) _history.pop_back();
    ++_framesSeen;
    if (_framesSeen == historyLength) Count(Rule::historyFilled);
    if (IsFilled()) UpdateStatistics();
    else Count(Rule::historyNotFilled);
}

// In partial-H.264 mode only the first window follows the frames; the others keep what they last held, and the extremes are
// widened when that mode begins and then stay.
void Model::UpdateStatistics() {
    const bool begins = _framesSeen == historyLength || _lastWasPartial != _isPartial;
    if (_framesSeen > historyLength && _lastWasPartial != _isPartial)
        Count(_isPartial ? Rule::historyPartialRebuild : Rule::historyStandardRebuild);
    else Count(_isPartial ? Rule::historyPartialStep : Rule::historyStandardStep);
    _lastWasPartial = _isPartial;

    for (std::size_t i = 0; i < BlockCount(); ++i) {
        Statistics& statistics = _statistics[i];
        statistics.first = SumUp(i, 0, 4);
        if (_isPartial) {
            if (begins) FoldExtremes(i, 4);
        } else {
            statistics.second = SumUp(i, 5, 9);
            statistics.center = SumUp(i, 2, 6);
            statistics.minimum = 255;
            statistics.maximum = 0;
            FoldExtremes(i, 9);
        }
    }
}

Model::Window Model::SumUp(std::size_t block, std::size_t firstAge, std::size_t lastAge) const {
    int sum = 0, squares = 0;
    for (std::size_t age = firstAge; age <= lastAge; ++age) {
        const int luma = _history[age].luma[block];
        sum += luma;
        squares += luma * luma;
    }
    return {static_cast<float>(sum), static_cast<float>(squares)};  // exact: both are below 2^24
}

void Model::FoldExtremes(std::size_t block, std::size_t lastAge) {
    Statistics& statistics = _statistics[block];
    for (std::size_t age = 0; age <= lastAge; ++age) {
        const int luma = _history[age].luma[block];
        statistics.minimum = std::min(statistics.minimum, luma);
        statistics.maximum = std::max(statistics.maximum, luma);
    }
}

// ---------------------------------------------------------------------------------------------------- frame skipping

// The time from `then` to now; wraps around in 64 bits where the two are too far apart.
Ticks Model::Since(Ticks then) {
    const Ticks elapsed = static_cast<Ticks>(static_cast<std::uint64_t>(_now) - static_cast<std::uint64_t>(then));
    if (_now < then) Count(Rule::timeBelowZero);
    else if (elapsed < 0) Count(Rule::timeWraps);
    return elapsed;
}

bool Model::SkipsThisFrame() {
    if (!_detectShadow && _skipPhase != 0) {
        const double seconds = static_cast<double>(Since(_lastPassed)) / 10000000.0;
        const double intervals = seconds * _fps;
        if (intervals == _rules.skipUpTo) Count(Rule::skipExactInterval);
        if (std::isnan(intervals)) Count(Rule::skipNotANumber);
        if (_rules.skipUpTo >= intervals) {
            Count(Rule::skipTooSoon);
            return true;
        }
    }
    _lastPassed = _now;
    if (_skipCounter + 1 < _rules.framesPerPhase) {
        ++_skipCounter;
        Count(_skipPhase != 0 ? Rule::skipLaterPhaseCounts
              : _detectShadow ? Rule::skipShadowPhaseZero
                              : Rule::skipPhaseZeroCounts);
        return false;
    }
    if (_skipPhase == 0 && !_detectShadow) Count(Rule::skipPhaseZeroEnds);
    _skipCounter = 0;
    _skipPhase = (_skipPhase + 1) % _rules.phases;
    static constexpr std::array<Rule, 6> begins = {Rule::skipPhaseWrap,  Rule::skipPhaseOne,  Rule::skipPhaseTwo,
                                                   Rule::skipPhaseThree, Rule::skipPhaseFour, Rule::skipPhaseFive};
    Count(begins[static_cast<std::size_t>(_skipPhase)]);
    if (_isMpeg4) {
        _isIFrame = _skipPhase == 0;
        if (_skipPhase == 0 && !_rules.wrapKeepsBackground)
            for (Block& block : _blocks) block.isBackground = block.isStable = false;
        Count(_skipPhase == 0 ? Rule::skipIFrameForcedOn : Rule::skipIFrameForcedOff);
    }
    return false;
}

}  // namespace Reference
