// How are the settings of a result written down?
#include "run/SettingsFingerprint.h"

#include <cstdint>
#include <sstream>

#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/zones/Zone.h"

namespace Scan {

std::string SettingsFingerprint(const ScanSettings& scan, const JobFiles& files) {
    std::ostringstream text;
    text.precision(17);
    text << "rate " << scan.rate << " fast " << scan.fast << " condition " << scan.condition << " stabilise "
         << WordOf(scan.stabilise) << " sensitivity " << WordOf(scan.sensitivity) << " memory \"" << scan.memory
         << "\" block " << scan.blockSize << " shadows " << scan.shadows << " min-size " << SizesOf(scan).smallest
         << " merge-gap " << scan.mergeGap << " min-duration " << scan.minDuration << " frames " << scan.frames << " rolls "
         << scan.preRoll << " " << scan.postRoll << " min-blocks " << scan.minBlocks << " track " << scan.track
         << " thumbnails \"" << files.thumbnails << "\" clips \"" << files.clips << "\" background \"" << files.background
         << "\" overlay \"" << files.overlay << "\" heatmap " << files.heatmap << " report " << !files.report.empty()
         << " name-time \"" << scan.nameTime << "\"";
    if (scan.skipLoopFilter) {
        text << " skip-loop-filter";
    }
    if (scan.maxSize < 1) {
        text << " max-size " << scan.maxSize;
    }
    if (!scan.range.IsAll()) {
        text << " range " << scan.range.Text();
    }
    if (scan.startTime) {
        text << " start-time " << *scan.startTime;
    }
    if (scan.ignoreFlashes) {
        text << " ignore-flashes";
    }
    for (const Video::Zone& zone : scan.zones) {
        text << " zone \"" << zone.name << "\" " << zone.exclude << " " << zone.minSize.value_or(-1);
        if (zone.maxSize) {
            text << " to " << *zone.maxSize;
        }
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
