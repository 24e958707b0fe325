// How do zones of several origins become one list?
#include "video/zones/ZoneSources.h"

#include <cstddef>

#include "video/base/Failure.h"
#include "video/zones/ZoneFile.h"

namespace Video {

std::vector<Zone> ReadZones(const ZoneSources& sources) {
    std::vector<Zone> zones;
    if (!sources.file.empty()) {
        zones = ReadZoneFile(sources.file);
    }
    if (!sources.mask.empty()) {
        zones.push_back({.name = "mask", .mask = ReadMask(sources.mask)});
    }
    for (std::size_t i = 0; i < sources.rectangles.size(); ++i) {
        zones.push_back(RectangleZone("zone " + std::to_string(i + 1), sources.rectangles[i]));
    }
    if (WatchedNames(zones).size() > mostZones) {
        throw Failure(Concern::Usage, "more than " + std::to_string(mostZones) + " zones to watch");
    }
    return zones;
}

}  // namespace Video
