// What does the first line say?
#include "results/ScanLine.h"

#include <nlohmann/json.hpp>

#include "coreMD.hpp"
#include "results/VisibleText.h"
#include "settings/ScanSettings.h"
#include "video/zones/Zone.h"

namespace Scan {

using Json = nlohmann::ordered_json;

std::string ScanLine(const ScanSettings& settings) {
    const auto [major, minor, patch] = coremd::LibraryVersion();
    Json line = {{"type", "scan"},
                 {"schema", schemaVersion},
                 {"version", std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch)},
                 {"rate", settings.rate},
                 {"fast", settings.fast},
                 {"skip_loop_filter", settings.skipLoopFilter},
                 {"condition", conditionWords[settings.condition ? 1 : 0]},
                 {"stabilise", WordOf(settings.stabilise)},
                 {"sensitivity", WordOf(settings.sensitivity)},
                 {"memory", !settings.memory.empty()},
                 {"block", settings.blockSize},
                 {"shadows", settings.shadows},
                 {"min_size", SizesOf(settings).smallest},
                 {"min_blocks", settings.minBlocks},
                 {"merge_gap", settings.mergeGap},
                 {"min_duration", settings.minDuration},
                 {"pre_roll", settings.preRoll},
                 {"post_roll", settings.postRoll},
                 {"zones", Json::array()},
                 {"excluded", Json::array()}};
    if (settings.ignoreFlashes) {
        line["ignore_flashes"] = true;
    }
    for (const Video::Zone& zone : settings.zones) {
        line[zone.exclude ? "excluded" : "zones"].push_back(zone.name);
    }
    if (settings.maxSize < 1) {
        line["max_size"] = settings.maxSize;
    }
    if (settings.range.from) {
        line["from"] = settings.range.from->text;
    }
    if (settings.range.to) {
        line["to"] = settings.range.to->text;
    }
    return VisibleJson(line.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace Scan
