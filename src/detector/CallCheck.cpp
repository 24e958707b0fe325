// Would a call go through?
#include "detector/CallCheck.h"

#include <memory>
#include <new>

#include "detector/DetectorState.h"
#include "detector/MotionDetector.h"
#include "utils/Buffers.h"
#include "utils/BrokenCondition.h"

namespace MD {
namespace {

constexpr int mostLabels = 32767;  // of objects in one zone

// A square of two by two blocks holds blocks of one object only.
bool MayHoldTooManyObjects(int columns, int rows) { return (columns + 1) / 2 * ((rows + 1) / 2) > mostLabels; }

}  // namespace

const char* CallCheck::OfFrame(const MotionDetector& detector, const DetectionInfo* info) {
    if (const Broken broken = MotionDetector::BrokenRecord(info); broken.text) return broken.text;
    const bool startsAfresh = detector.StartsAfresh(*info);
    if (startsAfresh)
        if (const Broken broken = detector.BrokenStart(); broken.text) return broken.text;
    if (const Broken broken = Utils::BrokenSource(info->ycbcrForEachBlock, ""); broken.text) return broken.text;
    if (startsAfresh || !detector._processZones)
        return nullptr;  // zones are fitted, and not looked into before there is history

    const FrameStatistics& statistics = detector._frameStatistics;
    const bool entersRing = MotionDetector::EntersRing(info->isH264Partly != 0, info->isH264PartlyIFrame != 0);
    if (!statistics._isFilled && !(entersRing && statistics.IsNextTheLastOfTheRing())) return nullptr;
    return ContentDecides(detector) ? OfTrial(detector, *info) : OfFit(detector);
}

const char* CallCheck::OfZone(const MDZoneInfo* zone) {
    if (const Broken broken = MDZoneList::BrokenRecord(zone); broken.text) return broken.text;
    return MDZoneList::BrokenMask(*zone).text;
}

const char* CallCheck::OfObject(const MotionDetector& detector) { return detector.BrokenReadout().text; }

// Two conditions hold or not by what pictures show; few grids and zones can break them at all.
bool CallCheck::ContentDecides(const MotionDetector& detector) {
    if (MayHoldTooManyObjects(detector.blockCountX, detector.blockCountY)) return detector._zones._first != nullptr;
    for (const MDZone* zone = detector._zones._first; zone; zone = zone->next)
        if (detector.MayDropWholeGrid(*zone)) return true;
    return false;
}

const char* CallCheck::OfFit(const MotionDetector& detector) {
    for (const MDZone* zone = detector._zones._first; zone; zone = zone->next)
        if (const Broken broken = detector.BrokenFit(zone); broken.text) return broken.text;
    return nullptr;
}

// Shows the frame to a copy. Where no memory is left for one, only what is certain is said.
const char* CallCheck::OfTrial(const MotionDetector& detector, DetectionInfo info) {
    try {
        const std::unique_ptr<MotionDetector> copy = DetectorState::Copy(detector);
        copy->_isTrial = true;
        copy->Detect(&info, true);
        return nullptr;
    } catch (const TrialEnd& end) {
        return end.condition;
    } catch (const std::bad_alloc&) {
        return OfFit(detector);
    }
}

}  // namespace MD
