// How are the settings of a result written down?  Called by main through ResultSettings.h.
#include "run/ResultSettings.h"

#include <cstdint>
#include <sstream>

#include "command/Options.h"
#include "video/zones/Zone.h"

namespace Scan {

std::string ResultSettings(const Options& options) {
    std::ostringstream text;
    text.precision(17);
    text << "rate " << options.rate << " fast " << options.fast << " block " << options.blockSize << " shadows "
         << options.shadows << " min-size " << options.minSize << " merge-gap " << options.mergeGap << " min-duration "
         << options.minDuration << " frames " << options.frames << " rolls " << options.preRoll << " " << options.postRoll
         << " min-blocks " << options.minBlocks << " track " << options.track << " thumbnails \"" << options.thumbnails
         << "\" clips \"" << options.clips << "\" background \"" << options.background << "\" overlay \"" << options.overlay
         << "\" heatmap " << !options.heatmap.empty() << " report " << !options.report.empty();
    if (options.startTime) {
        text << " start-time " << *options.startTime;
    }
    for (const Video::Zone& zone : options.allZones) {
        text << " zone \"" << zone.name << "\" " << zone.exclude << " " << zone.minSize.value_or(-1);
        for (const Video::Point& corner : zone.polygon) {
            text << " " << corner.x << "," << corner.y;
        }
        std::uint64_t digest = 14'695'981'039'346'656'037u;  // FNV-1a: tells masks apart, no more is asked of it
        for (const std::uint8_t pixel : zone.mask.pixels) {
            digest = (digest ^ pixel) * 1'099'511'628'211u;
        }
        text << " mask " << zone.mask.width << "x" << zone.mask.height << " " << digest;
    }
    return text.str();
}

}  // namespace Scan
