// What does the host get to know?  Summary, zone and object cursors, the merge of the zones, the background picture.
#include "detector/MotionDetector.h"
#include "utils/Assert.h"
#include "utils/Utils.h"
#include "zones/ObjectMerger.h"

namespace MD {
namespace {

constexpr int delivered = COREMD_DELIVERED, exhausted = COREMD_EXHAUSTED, notReady = COREMD_NOT_READY;

}  // namespace

int MotionDetector::GetResultInfo(MDResultInfo* out) {
    out->isIFrame = _isIFrame ? 1 : 0;
    out->passThroughFlag = _passThroughFlag ? 1 : 0;
    if (!_frameStatistics._isFilled) {
        out->zoneResultsCount = 0;
        return notReady;
    }
    out->zoneResultsCount = _processZones ? 1 : _zones._count;
    _nextProcessZone = _zones._first;
    assert(!_nextProcessZone || _nextProcessZone->pixelMapWidth <= blockCountX);
    assert(!_nextProcessZone || _nextProcessZone->pixelMapHeight <= blockCountY);
    return delivered;
}

// Deliberate: the merged result is delivered again by every further call (ResultsTest, MergedResultRepeats).
int MotionDetector::GetNextMDZoneResult(MDZoneDetectionInfo* out) {
    if (!_frameStatistics._isFilled) {
        if (_nextProcessZone) _nextProcessZone = _nextProcessZone->next;
        return notReady;
    }
    assert(_isBackground);
    out->zoneMap = _zoneResultMap;
    out->objectsMap = _objectsMap;
    if (!_processZones) {
        if (!_nextProcessZone) return exhausted;
        ProcessOneZone();
        _nextProcessZone = _nextProcessZone->next;
    }
    const MotionObjectList& objects = _processZones ? _mergedPool._busyList : _zonePool._busyList;
    out->objectsCount = objects._objectsCount;
    _nextMotionObject = objects._first;
    return delivered;
}

Broken MotionDetector::BrokenReadout() const {
    MD_UNLESS(_isObject, "int MD::MotionDetector::GetNextMotionObject(MDObjectInfo*)");
    return {};
}

int MotionDetector::GetNextMotionObject(MDObjectInfo* out) {
    Ensure(BrokenReadout());
    if (!_nextMotionObject) return exhausted;
    const MotionObject& object = *_nextMotionObject;
    const bool hasBlocks = object.objectPixelsCount != 0;
    out->pixelsX = object.motionX;
    out->pixelsY = object.motionY;
    out->pixelsCount = object.objectPixelsCount;
    out->index = object.index;
    out->secondIndex = object.secondIndex;
    out->left = hasBlocks ? object.minX : std::int16_t{0};
    out->right = hasBlocks ? object.maxX : std::int16_t{0};
    out->top = hasBlocks ? object.minY : std::int16_t{0};
    out->bottom = hasBlocks ? object.maxY : std::int16_t{0};
    _nextMotionObject = object.next;
    return delivered;
}

void MotionDetector::MergeMDZonesResult() {
    _merger->Merge(_mergedPool);
    ResolveMotionObjectsMapIndex(_mergedPool, -1);
}

// As MergeMDZonesResult, of objects that come from the zones just now: one zone's objects have the labels that they would
// be given, unless one of them was absorbed.
void MotionDetector::MergeZones() {
    const bool isOneZone = _zones._first == _zones._last;
    if (_merger->Merge(_mergedPool) || !isOneZone) ResolveMotionObjectsMapIndex(_mergedPool, -1);
}

int MotionDetector::GetBackground(unsigned char* image, int* mask) {
    Utils::ConvertByteMaskToInt(_isBackground, mask, blockCount);
    Utils::InvertMask(_isBackground, _notBackground, blockCount);
    const int step = blockCountX * 3;
    Utils::YCbCrToBGR(_backgroundY, _backgroundCb, _backgroundCr, image, blockCountX, blockCountY, step);
    return Utils::SetDefaultColor(image, blockCountX, blockCountY, step, 255, 0, 255, _notBackground);  // magenta
}

}  // namespace MD
