// What happens to one frame?  The detection pass, in order; called once per frame by the host.
#include <cstddef>
#include <cstring>

#include "detector/MotionDetector.h"
#include "utils/Assert.h"

namespace MD {
namespace {

constexpr char detect[] = "void MD::MotionDetector::Detect(DetectionInfo*, bool)";  // asks, as its message says

}  // namespace

Broken MotionDetector::BrokenRecord(const DetectionInfo* info) {
    MD_UNLESS(info, detect);
    MD_UNLESS(info->width > 0 && info->width < 10000, detect);
    MD_UNLESS(info->height > 0 && info->height < 10000, detect);
    MD_UNLESS(info->bgr24stride > 0, detect);
    MD_UNLESS(info->bgr24ForEachBlock, detect);
    return {};
}

void MotionDetector::Detect(DetectionInfo* info, bool updateBackground) {
    Ensure(BrokenRecord(info));
    _passThroughFlag = info->passThroughFlag != 0;
    _isIFrame = info->isIFrame != 0;
    _h264PartlyIsOptimized = info->isH264Partly != 0;
    _h264PartlyIsIFrame = info->isH264PartlyIFrame != 0;
    CheckMemBuffers(info);  // compares with the time of the frame before
    _currentTime = info->timestamp;
    std::memset(_zoneResultMap, 0, static_cast<std::size_t>(blockCount));
    if (_h264PartlyIsOptimized) {
        CopyImagesToInternalBuffers(info);
        if (updateBackground) UpdateBackground(nullptr, 0);
        FindForeground(info);
    } else {
        ExamineBlocks(info, updateBackground);
    }
    if (_detectShadow) DetectShadow(info);

    FindObjects();
}

void MotionDetector::FindObjects() {
    if (_processZones) {
        _nextMotionObject = nullptr;  // it may point to an object that ends here
        _mergedPool.ReleaseBusyList();
        ProcessZones();
        MergeZones();
    }
    if (_solveForeground) SolveForeground();
}

// Zones take blocks out of the map of shadows: with shadow detection all that is foreground was in it before them.
void MotionDetector::FindObjectsAgain() {
    if (_detectShadow && _frameStatistics._isFilled && !_h264PartlyIsOptimized)
        for (std::ptrdiff_t i = 0; i < blockCount; ++i)
            if (_isObject[i]) _zoneResultMap[i] = 1;
    FindObjects();
}

// Statistics, background and foreground, stretch by stretch, once the frame is taken: blocks do not read each other before
// the foreground is known, and a stretch stays in cache from the first question to the last.
void MotionDetector::ExamineBlocks(DetectionInfo* info, bool updateBackground) {
    TakeFrame(info);
    const bool isStepDue = _frameStatistics.BeginUpdate(false);
    if (!_frameStatistics._isFilled) return;
    const bool isUpdateDue = updateBackground && !SkipFrame();
    ForEachPart(AllBlocks(), stretchLength, [&](BlockRange stretch) {
        if (isStepDue) _frameStatistics.StepStandard(stretch);
        if (isUpdateDue) UpdateStretch(stretch, true);
        MarkForeground(info, stretch);
    });
}

void MotionDetector::SolveForeground() {
    if (!_frameStatistics._isFilled || _h264PartlyIsOptimized) return;
    for (std::ptrdiff_t i = 0; i < blockCount; ++i) _foregroundMask[i] = _objectsMap[i] ? 255 : 0;
}

}  // namespace MD
