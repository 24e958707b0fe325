// What does a frame teach about the background?  Runs once per frame, before the foreground is looked for.
// Reads the newest frames and the window sums; writes the background, its times, the noise levels and _isMotionPixel.
#include "detector/MotionDetector.h"
#include "detector/kernels/Background.h"
#include "utils/Assert.h"

namespace MD {
namespace {

// Partly decoded H.264, ticks without change before an I-frame sets the background.
constexpr std::int64_t iFrameQuietTime = 15 * MotionDetector::OneSecondInTimeSpan;
constexpr std::int64_t iFrameQuietTimeLong = 30 * MotionDetector::OneSecondInTimeSpan;

}  // namespace

bool MotionDetector::UpdateBackground(unsigned char* mask, int maskRowLength) {
    if (!_frameStatistics._isFilled) return false;
    assert(_frameStatistics._blockCount == blockCount);
    if (SkipFrame()) return false;
    if (_h264PartlyIsOptimized) return UpdateBackgroundOptimyzedForH264Partly();
    if (!mask) {
        UpdateBlocks(AllBlocks(), true);
        return true;
    }
    // Runs of blocks that may learn alike are updated together. 64 bits: the row length is the caller's, unchecked.
    const std::int64_t detectionMaskWidthStep = maskRowLength;
    for (std::int64_t y = 0; y < blockCountY; ++y) {
        const std::size_t row = static_cast<std::size_t>(y * blockCountX);
        std::size_t runStart = row;
        bool runMayLearn = false;
        for (std::int64_t x = 0; x < blockCountX; ++x) {
            const std::int64_t maskOffset = y * detectionMaskWidthStep + x;
            assert(maskOffset >= 0);
            assert(maskOffset < detectionMaskWidthStep * blockCountY);
            const bool mayLearn = mask[maskOffset] == 0;
            const std::size_t block = row + static_cast<std::size_t>(x);
            if (mayLearn != runMayLearn) {
                UpdateBlocks({runStart, block}, runMayLearn);
                runStart = block;
                runMayLearn = mayLearn;
            }
        }
        UpdateBlocks({runStart, row + static_cast<std::size_t>(blockCountX)}, runMayLearn);
    }
    return true;
}

// Blocks do not read each other: one question after another gives the same as block after block. A stretch stays in cache
// from the first question to the last.
void MotionDetector::UpdateBlocks(BlockRange range, bool mayLearn) {
    ForEachPart(range, stretchLength, [=, this](BlockRange stretch) { UpdateStretch(stretch, mayLearn); });
}

void MotionDetector::UpdateStretch(BlockRange range, bool mayLearn) {
    FrameStatistics& s = _frameStatistics;
    const Kernels::WindowSums sums{.firstSum = s._firstPartSum,
                                   .secondSum = s._secondPartSum,
                                   .centerSum = s._centerPartSum,
                                   .firstSquareSum = s._firstPartSquareSum,
                                   .secondSquareSum = s._secondPartSquareSum,
                                   .centerSquareSum = s._centerPartSquareSum};
    Kernels::JudgeStability(sums, {.sum = sumThreshold, .dispersion = dispersionThreshold}, _isStable, range);
    if (mayLearn && _detectShadow) Kernels::LearnNoiseFromDispersions(sums, _isStable, _noiseLevel, range);
    else if (mayLearn)
        Kernels::LearnNoiseFromExtremes(
            {.isStable = _isStable, .min = s._min, .max = s._max, .offset = addToNoiseLevel, .noiseLevel = _noiseLevel},
            range);

    Kernels::MarkChanges({.age0 = s.FrameOfAge(0),
                          .age1 = s.FrameOfAge(1),
                          .age2 = s.FrameOfAge(2),
                          .age4 = s.FrameOfAge(4),
                          .noiseLevel = _noiseLevel,
                          .isMotionPixel = _isMotionPixel,
                          .lastChangeTime = _lastChangeTime},
                         _currentTime, range);
    if (mayLearn)
        Kernels::LearnBackground({.firstSum = s._firstPartSum,
                                  .secondSum = s._secondPartSum,
                                  .cb = s.FrameOfAge(0) + s._secondPlaneOffset,
                                  .cr = s.FrameOfAge(0) + s._thirdPlaneOffset,
                                  .isStable = _isStable,
                                  .lastChangeTime = _lastChangeTime,
                                  .isBackground = _isBackground,
                                  .backgroundY = _backgroundY,
                                  .backgroundCb = _backgroundCb,
                                  .backgroundCr = _backgroundCr,
                                  .backgroundTime = _backgroundTime,
                                  .sampleTime = _sampleTime,
                                  .sampleValue = _sampleValue},
                                 {.now = _currentTime,
                                  .quiet = noChangesToPutBackgroundTimeInTimeSpan,
                                  .sampleAge = noChangesToFastSegmentTimeSpan,
                                  .refreshInterval = updateBgrInterval,
                                  .isSlow = _longBackgroundTimes != 0},
                                 averageThreshold, range);
    Kernels::ForgetBackground({.backgroundTime = _backgroundTime, .isBackground = _isBackground, .noiseLevel = _noiseLevel},
                              _currentTime, resetBackgroundTime, defaultNoiseLevel, range);
}

bool MotionDetector::UpdateBackgroundOptimyzedForH264Partly() {
    assert(_h264PartlyIsOptimized);
    if (!_h264PartlyIsIFrame) return false;
    assert(_frameStatistics._blockCount == blockCount);
    const FrameStatistics& s = _frameStatistics;
    Kernels::LearnBackgroundFromIFrame({.firstSum = s._firstPartSum,
                                        .firstSquareSum = s._firstPartSquareSum,
                                        .lastChangeTime = _lastChangeTime,
                                        .isBackground = _isBackground,
                                        .backgroundY = _backgroundY,
                                        .backgroundTime = _backgroundTime,
                                        .sampleTime = _sampleTime},
                                       {.now = _currentTime,
                                        .quiet = _longBackgroundTimes ? iFrameQuietTimeLong : iFrameQuietTime,
                                        .forget = resetBackgroundTime},
                                       _h264SetBackgroundDispersionThreshold, AllBlocks());
    return true;
}

void MotionDetector::FindDifferenceFromPreviousFrames() {
    if (blockCount < 1) return;
    assert(_frameStatistics._blockCount == blockCount);
    FrameStatistics& s = _frameStatistics;
    Kernels::MarkChanges({.age0 = s.FrameOfAge(0),
                          .age1 = s.FrameOfAge(1),
                          .age2 = s.FrameOfAge(2),
                          .age4 = s.FrameOfAge(4),
                          .noiseLevel = _noiseLevel,
                          .isMotionPixel = _isMotionPixel,
                          .lastChangeTime = _lastChangeTime},
                         _currentTime, AllBlocks());
}

void MotionDetector::FlushNotConfirmedBackground() {
    Kernels::ForgetBackground({.backgroundTime = _backgroundTime, .isBackground = _isBackground, .noiseLevel = _noiseLevel},
                              _currentTime, resetBackgroundTime, defaultNoiseLevel, AllBlocks());
}

}  // namespace MD
