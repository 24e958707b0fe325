// What does the first line say?  Called by main and ZonePreview through ScanLine.h.
#include "results/ScanLine.h"

#include <nlohmann/json.hpp>

#include "coreMD.hpp"
#include "command/Options.h"
#include "video/zones/Zone.h"

namespace Scan {

using Json = nlohmann::ordered_json;

std::string ScanLine(const Options& options) {
    const auto [major, minor, patch] = coremd::LibraryVersion();
    Json line = {{"type", "scan"},
                 {"schema", schemaVersion},
                 {"version", std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch)},
                 {"rate", options.rate},
                 {"fast", options.fast},
                 {"block", options.blockSize},
                 {"shadows", options.shadows},
                 {"min_size", options.minSize},
                 {"min_blocks", options.minBlocks},
                 {"merge_gap", options.mergeGap},
                 {"min_duration", options.minDuration},
                 {"pre_roll", options.preRoll},
                 {"post_roll", options.postRoll},
                 {"zones", Json::array()},
                 {"excluded", Json::array()}};
    for (const Video::Zone& zone : options.allZones) {
        line[zone.exclude ? "excluded" : "zones"].push_back(zone.name);
    }
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Scan
