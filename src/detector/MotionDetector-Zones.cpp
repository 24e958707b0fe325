// Which things move in a zone?  Segments the zone's foreground into objects, trims and filters them, keeps the labels
// without gaps. Runs per zone, inside Detect or during the readout. Leaves objects in _zonePool, labels in _objectsMap.
#include <algorithm>
#include <cmath>

#include "detector/CallCheck.h"
#include "detector/MotionDetector.h"
#include "detector/kernels/Segmentation.h"
#include "utils/Assert.h"
#include "utils/Buffers.h"
#include "zones/LeanObjects.h"

namespace MD {
namespace {

using Kernels::ObjectBlocks;

constexpr int tagOffset = 30000;  // label + tagOffset marks a block for the similarity refinement

ObjectBlocks BlocksOf(const MotionObject& object) {
    return {.xs = object.motionX, .ys = object.motionY, .count = object.objectPixelsCount};
}

// Smallest extent kept, in blocks: a single-precision product, truncated. It stays a float, so that no fraction a host
// may give overflows; one that is no number limits nothing.
bool IsLargeEnough(short smallest, short largest, int gridExtent, float minFraction) {
    const short extent = static_cast<short>(largest + 1 - smallest);
    return !(static_cast<float>(extent) < std::trunc(static_cast<float>(gridExtent) * minFraction));
}

// What depends on the content of pictures.
Broken BrokenLabel(unsigned short label) {
    const short motionObjectsCount = static_cast<short>(label);
    MD_UNLESS_IN(MD_DETECTOR_SOURCE, motionObjectsCount >= 0, Kernels::processOneZone);
    return {};
}
Broken BrokenSmallObject(int mOBlocksCount, int blockCount) {
    MD_UNLESS_IN(MD_DETECTOR_SOURCE, mOBlocksCount > 0 && mOBlocksCount < blockCount, Kernels::removeSmallObjects);
    return {};
}

}  // namespace

void MotionDetector::ProcessOneZone() {
    if (!_frameStatistics._isFilled) return;
    assert(_frameStatistics._blockCount == blockCount);
    if (_nextProcessZone) StartLabels();
    ProcessZone();
}

// The label map is cleared once: what a zone leaves in it are labels of its objects, all of which the merge writes anew.
// Without a zone it keeps its last contents.
void MotionDetector::ProcessZones() {
    const bool isReady = _frameStatistics._isFilled;
    if (isReady && _zones._first) StartLabels();
    for (_nextProcessZone = _zones._first; _nextProcessZone; _nextProcessZone = _nextProcessZone->next) {
        if (isReady) ProcessZone();
        for (MotionObject* object = _zonePool._busyList._first; object; object = object->next)
            LeanObjects::Copy(_mergedPool, *object);
    }
}

// Before the zones of a frame: no labels, and where there is foreground at all. What the work mask holds is not known: it is
// a host's to write between frames.
void MotionDetector::StartLabels() {
    std::fill_n(_objectsMap, blockCount, std::uint16_t{0});
    _isUniformMaskClear = false;
    _foregroundGroupCount = Kernels::FindForegroundGroups(_isObject, _foregroundGroups.get(), BlockGrid());
}

void MotionDetector::EnsureOfFrame(const Broken& broken) const {
    if (broken.text && _isTrial) [[unlikely]]
        throw TrialEnd{broken.text};
    Ensure(broken);
}

Broken MotionDetector::BrokenFit(const MDZone* currentZone) const {
    MD_UNLESS_IN(MD_DETECTOR_SOURCE, currentZone->map, Kernels::processOneZone);
    MD_UNLESS_IN(MD_DETECTOR_SOURCE, currentZone->pixelMapWidth == blockCountX, Kernels::processOneZone);
    MD_UNLESS_IN(MD_DETECTOR_SOURCE, currentZone->pixelMapHeight == blockCountY, Kernels::processOneZone);
    return {};
}

// The zone at the cursor.
void MotionDetector::ProcessZone() {
    if (!_processZones) _nextMotionObject = nullptr;  // it may point to an object that ends here
    _zonePool.ReleaseBusyList();
    MDZone* const currentZone = _nextProcessZone;
    if (!currentZone) return;
    EnsureOfFrame(BrokenFit(currentZone));

    const int motionBlocksCount = CollectMovingBlocks(currentZone);
    MD_DETECTOR_ASSERT(motionBlocksCount <= blockCount, Kernels::processOneZone);
    if (motionBlocksCount < 1) return;
    std::fill_n(_objectPixelX, motionBlocksCount, short{0});
    std::fill_n(_objectPixelY, motionBlocksCount, short{0});

    unsigned short lastLabel = 0;
    const auto start = [&](int x, int y, std::ptrdiff_t offsetTmp1) {
        MD_DETECTOR_ASSERT(offsetTmp1 >= 0, Kernels::processOneZone);
        MD_DETECTOR_ASSERT(offsetTmp1 < blockCount, Kernels::processOneZone);
        const unsigned short label = static_cast<unsigned short>(lastLabel + 1);
        _objectPixelX[0] = static_cast<short>(x);
        _objectPixelY[0] = static_cast<short>(y);
        _objectsMap[offsetTmp1] = label;
        int count = 1, processed = 0;
        BuildCurrentMovingObject(processed, count, label);
        EnsureOfFrame(BrokenLabel(label));
        if (KeepObject(count, label)) lastLabel = label;
    };
    Kernels::ForEachUnassigned(_foregroundGroups.get(), _foregroundGroupCount, _objectsMap, BlockGrid(), start);
    RemoveSmallObjects(currentZone);
}

// The first `count` blocks of _objectPixelX, _objectPixelY become an object of _zonePool, unless they are discarded.
bool MotionDetector::KeepObject(int count, int label) {
    const ObjectBlocks object{.xs = _objectPixelX, .ys = _objectPixelY, .count = count};
    const Grid grid = BlockGrid();
    const bool countsAll = !_limitObjectsToMask || _longBackgroundTimes;
    const auto mark = static_cast<std::uint16_t>(label);
    const bool isOneBlock = count == 1;  // as most objects of noise
    const CellBox whole = isOneBlock ? CellBox{_objectPixelX[0], _objectPixelX[0], _objectPixelY[0], _objectPixelY[0]}
                                     : Kernels::BoxOfBlocks(object);
    const auto allSidesCount = [&] {
        if (isOneBlock) return _isMotionPixel[_objectPixelY[0] * blockCountX + _objectPixelX[0]] != 0;
        return Kernels::AllSidesCount(
            whole, mark, {.objectsMap = _objectsMap, .isInZone = _nextProcessZone->pixelMap, .isCounted = _isMotionPixel},
            grid);
    };
    CellBox box = whole;
    if (!countsAll && !allSidesCount() && !Kernels::BoxOfCountedBlocks(object, _isMotionPixel, grid, box)) {
        Kernels::DiscardObject(object, _objectsMap, _zoneResultMap, grid);
        return false;
    }
    ClearUniformMask();
    int remaining = count;
    if (box == whole) {  // nothing to trim: all blocks bear the label, none a mark for the refinement
        Utils::CopyMostlyOne(_objectPixelX, _finalPixelX, count);
        Utils::CopyMostlyOne(_objectPixelY, _finalPixelY, count);
    } else {
        remaining = RefineObject(object, box, label);
    }
    const int curObjBlocksCount = remaining;
    MD_DETECTOR_ASSERT(curObjBlocksCount <= blockCount, Kernels::processOneZone);
    if (remaining <= 0) return false;
    if (remaining == count) LeanObjects::Add(_zonePool, _finalPixelX, _finalPixelY, remaining, blockCount, whole);
    else LeanObjects::Add(_zonePool, _finalPixelX, _finalPixelY, remaining, blockCount);
    return true;
}

// For every object, refined or not; in a pass over the zones nobody but the refinement sets it.
void MotionDetector::ClearUniformMask() {
    if (_isUniformMaskClear) return;
    std::fill_n(_uniformMask, blockCount, std::uint8_t{0});
    _isUniformMaskClear = true;
}

// Blocks outside the box and blocks that the similarity refinement takes leave the object; the others go to _finalPixelX,
// _finalPixelY. Returns their number.
int MotionDetector::RefineObject(ObjectBlocks object, CellBox box, int label) {
    const Grid grid = BlockGrid();
    const auto mark = static_cast<std::uint16_t>(label), tagged = static_cast<std::uint16_t>(label + tagOffset);
    Kernels::TrimObject(object, box, _objectsMap, _zoneResultMap, grid);
    const int uniform = Kernels::RefineSimilarBlocks(object,
                                                     {.current = _frameStatistics.FrameOfAge(0),
                                                      .background = _backgroundY,
                                                      .objectsMap = _objectsMap,
                                                      .uniformMask = _uniformMask,
                                                      .neighbourhoodMask = _neighbourhoodMask},
                                                     tagged, grid);
    _isUniformMaskClear = uniform == 0;
    return Kernels::CollectSurvivors(
        object, {.objectsMap = _objectsMap, .uniformMask = _uniformMask, .xs = _finalPixelX, .ys = _finalPixelY}, mark,
        tagged, grid);
}

int MotionDetector::FindMovingInPixels(MDZone* zone) {
    assert(zone);
    assert(zone->pixelMapWidth == blockCountX);
    assert(zone->pixelMapHeight == blockCountY);
    StartLabels();
    return CollectMovingBlocks(zone);
}

int MotionDetector::CollectMovingBlocks(MDZone* zone) {
    return Kernels::CollectMovingBlocks({.groups = _foregroundGroups.get(),
                                         .groupCount = _foregroundGroupCount,
                                         .isInZone = zone->pixelMap,
                                         .isObject = _isObject,
                                         .objectsMap = _objectsMap,
                                         .xs = _movingPixelX,
                                         .ys = _movingPixelY},
                                        BlockGrid());
}

void MotionDetector::BuildCurrentMovingObject(int& processed, int& count, int label) {
    if (processed >= count) return;
    assert(processed >= 0 && count <= blockCount);
    Kernels::GrowObject(
        {.objectsMap = _objectsMap, .xs = _objectPixelX, .ys = _objectPixelY, .processed = processed, .count = count},
        static_cast<std::uint16_t>(label), BlockGrid());
}

// Deliberate: _zoneResultMap keeps what it holds at the blocks of a dropped object (ZonesTest, SmallObjectKeepsZoneMap).
void MotionDetector::RemoveSmallObjects(MDZone* zone) {
    MD_DETECTOR_ASSERT(zone, Kernels::removeSmallObjects);
    if (zone->minObjectWidth == 0.0f && zone->minObjectHeight == 0.0f) return;
    MD_DETECTOR_ASSERT(zone->pixelMapWidth == blockCountX, Kernels::removeSmallObjects);
    MD_DETECTOR_ASSERT(zone->pixelMapHeight == blockCountY, Kernels::removeSmallObjects);

    int lowestRemoved = _zonePool._busyList._objectsCount;
    int index = lowestRemoved - 1;
    for (MotionObject* object = _zonePool._busyList._last; object; --index) {
        MotionObject* const predecessor = object->prev;
        const bool isKept = IsLargeEnough(object->minX, object->maxX, zone->pixelMapWidth, zone->minObjectWidth) &&
                            IsLargeEnough(object->minY, object->maxY, zone->pixelMapHeight, zone->minObjectHeight);
        if (!isKept) {
            const short* const curObjMotionBlocksX = object->motionX;
            const short* const curObjMotionBlocksY = object->motionY;
            EnsureOfFrame(BrokenSmallObject(object->objectPixelsCount, blockCount));
            MD_DETECTOR_ASSERT(curObjMotionBlocksX && curObjMotionBlocksY, Kernels::removeSmallObjects);
            Kernels::RelabelObject(BlocksOf(*object), _objectsMap, 0, BlockGrid());
            _zonePool.RemoveFromBusy(object);
            lowestRemoved = index;
        }
        object = predecessor;
    }
    ResolveMotionObjectsMapIndex(_zonePool, lowestRemoved);
}

// Only what a fraction above 1 asks for is larger than the grid.
bool MotionDetector::MayDropWholeGrid(const MDZone& zone) const {
    return !IsLargeEnough(0, static_cast<short>(blockCountX - 1), blockCountX, zone.minObjectWidth) ||
           !IsLargeEnough(0, static_cast<short>(blockCountY - 1), blockCountY, zone.minObjectHeight);
}

void MotionDetector::ResolveMotionObjectsMapIndex(MotionObjectPool& pool, int fromIndex) {
    int position = 0;
    for (const MotionObject* object = pool._busyList._first; object; object = object->next, ++position)
        if (position >= fromIndex)
            Kernels::RelabelObject(BlocksOf(*object), _objectsMap, static_cast<std::uint16_t>(position + 1), BlockGrid());
}

void MotionDetector::ResolveMotionObjects(int count) {
    MotionObjectPool& pool = _processZones ? _mergedPool : _zonePool;
    _nextMotionObject = nullptr;  // it may point to an object that ends here
    pool.ReleaseBusyList();
    pool.AddWorkingObjects(count);
    MotionObject* curr = nullptr;
    short currLabel = 0;
    for (int y = 0; y < blockCountY; ++y) {
        for (int x = 0; x < blockCountX; ++x) {
            const short value = static_cast<short>(_objectsMap[static_cast<std::ptrdiff_t>(y) * blockCountX + x]);
            if (value == 0) continue;
            const short* const ptr = &value;
            MD_DETECTOR_ASSERT(*ptr > 0, Kernels::resolveObjects);
            if (value != currLabel) curr = pool._busyList.GetByIndex(static_cast<short>(value - 1));
            currLabel = value;
            MD_DETECTOR_ASSERT(curr, Kernels::resolveObjects);
            curr->AddPixel(x, y);
        }
    }
}

}  // namespace MD
