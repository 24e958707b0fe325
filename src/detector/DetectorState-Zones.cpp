// How does a detector go on with other zones?  As one that had them all along: a copy of all but the zones, whose last
// result is made anew. Called by the C interface. And how is a copy made that one frame is shown to?  Called by CallCheck.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "detector/DetectorState.h"
#include "detector/MotionDetector.h"
#include "detector/StateLists.h"

namespace MD {
namespace {

template <class Values, class Owner>
void CopyValues(const Values& values, const Owner& from, Owner& to) {
    std::apply([&](const auto&... value) { ((to.*value.member = from.*value.member), ...); }, values);
}

template <class Planes, class Owner>
void CopyPlanes(const Planes& planes, const Owner& from, Owner& to, std::size_t blocks) {
    std::apply(
        [&](const auto&... plane) { (std::copy_n(from.*plane.member, plane.perBlock * blocks, to.*plane.member), ...); },
        planes);
}

}  // namespace

std::unique_ptr<MotionDetector> DetectorState::WithoutResult(const MotionDetector& from, std::span<const MDZoneInfo> zones) {
    std::unique_ptr<MotionDetector> successor(new MotionDetector(from._skipPhase));
    MotionDetector& to = *successor;
    for (MDZoneInfo zone : zones) to.AddMDZone(&zone);
    if (from.blockCount > 0) {
        DetectionInfo info{};
        info.width = from.blockCountX;
        info.height = from.blockCountY;
        info.bgr24stride = from._bgr24Stride;
        to.MakeBuffers(&info);
        const auto blocks = static_cast<std::size_t>(from.blockCount);
        CopyPlanes(StateLists::detectorPlanes, from, to, blocks);
        CopyPlanes(StateLists::statisticsPlanes, from._frameStatistics, to._frameStatistics, blocks);
    }
    CopyValues(StateLists::detectorValues, from, to);
    CopyValues(StateLists::statisticsValues, from._frameStatistics, to._frameStatistics);
    CopyValues(StateLists::machineValues, from._h264PartlyStatistic, to._h264PartlyStatistic);
    to._isOutOfReach = true;
    return successor;
}

std::unique_ptr<MotionDetector> DetectorState::WithZones(const MotionDetector& from, std::span<const MDZoneInfo> zones) {
    std::unique_ptr<MotionDetector> successor = WithoutResult(from, zones);
    successor->FindObjectsAgain();
    return successor;
}

std::unique_ptr<MotionDetector> DetectorState::Copy(const MotionDetector& from) {
    std::vector<MDZoneInfo> zones;
    for (const MDZone* zone = from._zones._first; zone; zone = zone->next)
        zones.push_back(
            {zone->map, zone->mapWidth, zone->mapHeight, zone->zoneValue, zone->minObjectWidth, zone->minObjectHeight});
    std::unique_ptr<MotionDetector> copy = WithoutResult(from, zones);
    MDZone* fitted = copy->_zones._first;
    for (const MDZone* zone = from._zones._first; zone; zone = zone->next, fitted = fitted->next) {
        fitted->pixelMapWidth = zone->pixelMapWidth;
        fitted->pixelMapHeight = zone->pixelMapHeight;
    }
    return copy;
}

}  // namespace MD
