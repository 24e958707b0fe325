// Which blocks differ from what is known of them?  Runs after the background update; the kind of input picks the variant.
// Writes _isObject and, all but the standard variant, _isMotionPixel.
#include "detector/MotionDetector.h"
#include "detector/kernels/Foreground.h"
#include "utils/Assert.h"

namespace MD {
namespace {

constexpr Kernels::BrightnessRange knownBrightness{.darkest = MotionDetector::_h264MinBlockBrightness,
                                                   .brightest = MotionDetector::_h264MaxBlockBrightness};
constexpr Kernels::PartlyLimits toBackground{.inRange = MotionDetector::_h264DifferenceFromBackgroundThreshold,
                                             .outOfRange = MotionDetector::_h264DifferenceFromBackgroundOutOfRangeThreshold};
constexpr Kernels::PartlyLimits toEarlierFrame{.inRange = MotionDetector::_h264InterframeThreshold,
                                               .outOfRange = MotionDetector::_h264InterframeOutOfRangeThreshold};

Kernels::Planes PlanesOfAge(FrameStatistics& statistics, int age) {
    const unsigned char* frame = statistics.FrameOfAge(age);
    return {.y = frame, .cb = frame + statistics._secondPlaneOffset, .cr = frame + statistics._thirdPlaneOffset};
}

}  // namespace

void MotionDetector::FindForeground(DetectionInfo* info) {
    if (_h264PartlyIsOptimized) {
        FindForegroundOptimyzedForH264Partly();
        return;
    }
    if (!_frameStatistics._isFilled) return;
    assert(_frameStatistics._blockCount == blockCount);
    MarkForeground(info, AllBlocks());
}

void MotionDetector::MarkForeground(DetectionInfo* info, BlockRange range) {
    if (_isMPEG4 && (!_isIFrame || _mpeg4IFrameOverride)) MarkForegroundMPEG4(info, range);
    else MarkForegroundStandard(range);
}

void MotionDetector::FindForegroundStandart() {
    assert(_frameStatistics._blockCount == blockCount);
    MarkForegroundStandard(AllBlocks());
}

void MotionDetector::FindForegroundOptimyzedForMPEG4(DetectionInfo* info) {
    assert(_frameStatistics._blockCount == blockCount);
    MarkForegroundMPEG4(info, AllBlocks());
}

// Deliberate: _isMotionPixel stays as the change test left it (ForegroundTest, StandardVariantLeavesMotionPixels).
void MotionDetector::MarkForegroundStandard(BlockRange range) {
    Kernels::MarkForeground({.current = PlanesOfAge(_frameStatistics, 0),
                             .previous = PlanesOfAge(_frameStatistics, 1),
                             .background = {.y = _backgroundY, .cb = _backgroundCb, .cr = _backgroundCr},
                             .isBackground = _isBackground,
                             .noiseLevel = _noiseLevel,
                             .isObject = _isObject},
                            cbAndCrThreshold, range);
}

void MotionDetector::MarkForegroundMPEG4(DetectionInfo* info, BlockRange range) {
    assert(info);
    if (!info->mpeg4ReferenceLuma) return;
    Kernels::MarkForegroundMPEG4({.current = PlanesOfAge(_frameStatistics, 0),
                                  .referenceLuma = info->mpeg4ReferenceLuma,
                                  .background = {.y = _backgroundY, .cb = _backgroundCb, .cr = _backgroundCr},
                                  .isBackground = _isBackground,
                                  .noiseLevel = _noiseLevel,
                                  .isObject = _isObject,
                                  .isMotionPixel = _isMotionPixel},
                                 cbAndCrThreshold, range);
}

void MotionDetector::FindForegroundOptimyzedForH264Partly() {
    MD_ASSERT_AT(_h264PartlyIsOptimized, "_h264PartlyIsOptimized", "MotionDetector.cpp", 1283,
                 "void MD::MotionDetector::FindForegroundOptimyzedForH264Partly()");
    assert(_frameStatistics._blockCount == blockCount);
    FrameStatistics& s = _frameStatistics;
    H264PartlyStatistic& machine = _h264PartlyStatistic;
    if (!s._isFilled && s._position < 2) return;  // no two I-frames to compare
    machine.InitializeIFrameAlgorithm(_h264FrameCounter, _currentTime);

    if (_h264PartlyIsIFrame) {
        if (!machine.AnalyseIFramesForMotion() && machine.ExceededIFrameLimit(_h264FrameCounter, _currentTime))
            machine.TurnOnIFramesForMotion();
        FindForegroundIFrames(s.FrameOfAge(0), s.FrameOfAge(1));
        return;
    }

    FindForegroundPFrames(s._currentFrame, s.FrameOfAge(0));
    machine.UpdatePFrameData(_h264FrameCounter, _currentTime);
    if (!machine.AnalyseIFramesForMotion()) {
        if (machine.ExceededNoMotionLimit(_h264FrameCounter, _currentTime)) machine.TurnOnIFramesForMotion();
        return;
    }
    if (machine.ExceededPFrameMotionLimit()) machine.TurnOffIFramesForMotion();
}

void MotionDetector::FindForegroundIFrames(unsigned char* current, unsigned char* previous) {
    if (!_h264PartlyStatistic.AnalyseIFramesForMotion()) return;
    assert(blockCount == 0 || (current && previous));
    Kernels::MarkForegroundIFrame({.current = current,
                                   .previous = previous,
                                   .background = _backgroundY,
                                   .isBackground = _isBackground,
                                   .isObject = _isObject,
                                   .isMotionPixel = _isMotionPixel},
                                  toBackground, toEarlierFrame, knownBrightness, AllBlocks());
}

void MotionDetector::FindForegroundPFrames(unsigned char* current, unsigned char* reference) {
    assert(blockCount == 0 || (current && reference));
    const int foreground = Kernels::MarkForegroundPFrame(
        {.current = current, .reference = reference, .isObject = _isObject, .isMotionPixel = _isMotionPixel}, toEarlierFrame,
        knownBrightness, AllBlocks());
    if (foreground == 0) return;
    _h264PartlyStatistic.UpdatePFrameMotionData(_h264FrameCounter, _currentTime);
    if (_h264PartlyStatistic.AnalyseIFramesForMotion()) _h264PartlyStatistic.IncrementPFrameMotion();
}

}  // namespace MD
