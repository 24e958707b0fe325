// Which blocks differ from their reference?  The foreground of each kind of frame, and the machine that decides when the
// I-frames of a partial H.264 stream are analysed.
#include "ReferenceModel.h"

#include <cstdlib>

namespace Reference {

void Model::FindForeground(const DetectionInfo& info) {
    if (_isPartial) {
        FindPartial();
    } else if (!IsFilled()) {
        Count(Rule::foregroundNotFilled);
    } else if (_isMpeg4 && !_isIFrame) {
        FindMpeg4(info);
    } else {
        if (_isMpeg4) Count(Rule::mpeg4IFrame);
        FindStandard();
    }
}

bool Model::LumaMoves(int luma, int reference, float noise) {
    const float difference = static_cast<float>(std::abs(luma - reference));
    if (difference == noise) Count(Rule::lumaBorder);
    return difference > noise;
}

bool Model::ChromaMoves(int chroma, int reference) {
    const int difference = std::abs(chroma - reference);
    if (difference == _rules.chromaLimit) Count(Rule::chromaBorder);
    return difference > _rules.chromaLimit;
}

void Model::FindStandard() {
    const Picture& newest = _history[0];
    const Picture& previous = _history[1];
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        Block& block = _blocks[i];
        const bool known = block.isBackground;
        const bool luma = LumaMoves(newest.luma[i], known ? block.backgroundY : previous.luma[i], block.noise);
        const bool cb = ChromaMoves(newest.cb[i], known ? block.backgroundCb : previous.cb[i]);
        const bool cr = ChromaMoves(newest.cr[i], known ? block.backgroundCr : previous.cr[i]);
        block.isObject = luma || cb || cr;
        if (_rules.standardWritesMotion) block.isMotion = block.isObject;
        if (luma) Count(known ? Rule::standardBackgroundLuma : Rule::standardPreviousLuma);
        else if (cb) Count(known ? Rule::standardBackgroundCb : Rule::standardPreviousCb);
        else if (cr) Count(known ? Rule::standardBackgroundCr : Rule::standardPreviousCr);
        else Count(known ? Rule::standardBackgroundNone : Rule::standardPreviousNone);
    }
}

void Model::FindMpeg4(const DetectionInfo& info) {
    if (info.mpeg4ReferenceLuma == nullptr) {
        Count(Rule::mpeg4NoReference);
        if (_rules.noReferenceClears) ClearMasks();
        return;
    }
    const Picture& newest = _history[0];
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        Block& block = _blocks[i];
        bool moves = false;
        if (block.isBackground) {
            const bool luma = LumaMoves(newest.luma[i], block.backgroundY, block.noise);
            const bool cb = ChromaMoves(newest.cb[i], block.backgroundCb);
            const bool cr = ChromaMoves(newest.cr[i], block.backgroundCr);
            moves = luma || cb || cr;
            Count(moves ? Rule::mpeg4BackgroundMoves : Rule::mpeg4BackgroundRests);
        } else {
            moves = LumaMoves(newest.luma[i], info.mpeg4ReferenceLuma[i], block.noise);
            Count(moves ? Rule::mpeg4ReferenceMoves : Rule::mpeg4ReferenceRests);
        }
        block.isObject = block.isMotion = moves;
    }
}

// ------------------------------------------------------------------------------------------------------ partial H.264

// The frame number that goes with the times never advances, so the times alone decide.
void Model::FindPartial() {
    if (!IsFilled() && _framesSeen < 2) {
        Count(Rule::partialTooEarly);
        return;
    }
    if (!IsFilled()) Count(Rule::partialBeforeFilled);

    FrameMachine& machine = _frameMachine;
    if (!machine.isInitialised) {
        Count(Rule::partialInitialised);
        machine.isInitialised = true;
        machine.lastPFrame = machine.lastMotion = _now;
        machine.motionCount = 0;
    }
    if (_isPartialIFrame) {
        const Ticks withoutPFrame = Since(machine.lastPFrame);
        if (!machine.analysesIFrames && withoutPFrame == _rules.iFrameLimit) Count(Rule::iFrameLimitBorder);
        if (!machine.analysesIFrames && withoutPFrame > _rules.iFrameLimit) {
            Count(Rule::turnedOnByIFrames);
            machine.analysesIFrames = true;
            machine.motionCount = 0;
        }
        Count(machine.analysesIFrames ? Rule::iFrameAnalysed : Rule::iFrameIgnored);
        if (machine.analysesIFrames) FindInIFrame();
        else if (_rules.ignoredIFrameClears) ClearMasks();
        return;
    }
    FindInPFrame();
    machine.lastPFrame = _now;
    if (!machine.analysesIFrames) {
        const Ticks withoutMotion = Since(machine.lastMotion);
        if (withoutMotion == _rules.noMotionLimit) Count(Rule::noMotionLimitBorder);
        if (withoutMotion > _rules.noMotionLimit) {
            Count(Rule::turnedOnByPFrames);
            machine.analysesIFrames = true;
            machine.motionCount = 0;
        }
    } else if (machine.motionCount > _rules.pFrameMotionLimit) {
        Count(Rule::turnedOff);
        machine.analysesIFrames = false;
    }
}

void Model::ClearMasks() {
    for (Block& block : _blocks) block.isObject = block.isMotion = false;
}

bool Model::IsInRange(int reference) {
    if (reference == _rules.darkest || reference == _rules.brightest) Count(Rule::pFrameRangeBorder);
    return reference >= _rules.darkest && reference <= _rules.brightest;
}

void Model::FindInIFrame() {
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        Block& block = _blocks[i];
        const bool known = block.isBackground;
        const int reference = known ? block.backgroundY : _history[1].luma[i];
        const bool inRange = IsInRange(reference);
        const float limit = known ? (inRange ? _rules.backgroundLimit : _rules.backgroundOutOfRangeLimit)
                                  : (inRange ? _rules.interframeLimit : _rules.interframeOutOfRangeLimit);
        const bool moves = static_cast<float>(std::abs(_history[0].luma[i] - reference)) > limit;
        block.isObject = block.isMotion = moves;
        if (known && inRange) Count(moves ? Rule::iFrameBackgroundMoves : Rule::iFrameBackgroundRests);
        else if (known) Count(moves ? Rule::iFrameBackgroundOutMoves : Rule::iFrameBackgroundOutRests);
        else if (inRange) Count(moves ? Rule::iFramePreviousMoves : Rule::iFramePreviousRests);
        else Count(moves ? Rule::iFramePreviousOutMoves : Rule::iFramePreviousOutRests);
    }
}

void Model::FindInPFrame() {
    int moving = 0;
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        const int reference = _history[0].luma[i];
        const bool inRange = IsInRange(reference);
        const float limit = inRange ? _rules.interframeLimit : _rules.interframeOutOfRangeLimit;
        const bool moves = static_cast<float>(std::abs(_pFrame.luma[i] - reference)) > limit;
        _blocks[i].isObject = _blocks[i].isMotion = moves;
        moving += moves ? 1 : 0;
        if (inRange) Count(moves ? Rule::pFrameMoves : Rule::pFrameRests);
        else Count(moves ? Rule::pFrameOutMoves : Rule::pFrameOutRests);
    }
    Count(moving == 0 ? Rule::pFrameStill : Rule::pFrameMotion);
    if (moving == 0) return;
    _frameMachine.lastMotion = _now;
    if (_frameMachine.analysesIFrames) {
        Count(Rule::pFrameMotionCounted);
        ++_frameMachine.motionCount;
    }
}

}  // namespace Reference
