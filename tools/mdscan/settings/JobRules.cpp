// Which rule does which setting become?
#include "settings/JobRules.h"

#include <algorithm>

#include "settings/ScanSettings.h"
#include "video/scout/KeyframeScout.h"

namespace Scan {

namespace {

// Analysed frames further apart than this many periods have a hole between them: no event reaches across.
constexpr int periodsWithoutFrame = 10;

}  // namespace

Video::WatchRules WatchRulesOf(const JobSettings& settings, Video::Ticks interval) {
    const ScanSettings& scan = settings.scan;
    return {.framesPerSecond = 1 / Video::ToSeconds(interval),
            .shadows = scan.shadows,
            .minSize = scan.minSize,
            .zones = scan.zones,
            .maxSize = scan.maxSize,
            .heat = settings.files.heatmap || !settings.files.report.empty(),
            .conditioning = ConditioningOf(scan)};
}

Video::EventRules EventRulesOf(const ScanSettings& scan) {
    return {.mergeGap = Video::FromSeconds(scan.mergeGap),
            .minDuration = Video::FromSeconds(scan.minDuration),
            .longestGap = 0,
            .preRoll = Video::FromSeconds(scan.preRoll),
            .postRoll = Video::FromSeconds(scan.postRoll),
            .minBlocks = scan.minBlocks,
            .ignoreFlashes = scan.ignoreFlashes};
}

Video::EventRules EventRulesOf(const JobSettings& settings, Video::Ticks period) {
    const ScanSettings& scan = settings.scan;
    Video::EventRules rules = EventRulesOf(scan);
    rules.longestGap =
        std::max({rules.mergeGap, periodsWithoutFrame * period, scan.fast ? 2 * Video::KeyframeScout::longestHonest : 0});
    if (settings.part && settings.part->from > 0) {
        rules.joinsBefore = settings.part->from + std::max(rules.longestGap, rules.preRoll + rules.postRoll);
    }
    return rules;
}

}  // namespace Scan
