// How do blocks become events of a third?
#include "ThirdEvents.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "tools/mdscan/settings/ScanSettings.h"
#include "video/base/Findings.h"

namespace Accuracy {

namespace {

int CountMatched(const std::vector<Video::Event>& these, const std::vector<Video::Event>& those) {
    return static_cast<int>(std::count_if(these.begin(), these.end(), [&](const Video::Event& a) {
        return std::any_of(those.begin(), those.end(),
                           [&](const Video::Event& b) { return a.start <= b.end && b.start <= a.end; });
    }));
}

}  // namespace

Video::EventRules UsualEvents() {
    const Scan::ScanSettings defaults;
    return {.mergeGap = Video::FromSeconds(defaults.mergeGap),
            .minDuration = Video::FromSeconds(defaults.minDuration),
            .longestGap = 1000 * Video::oneSecond};
}

ThirdEvents::Opinion::Opinion() : log(UsualEvents()) {}

void ThirdEvents::Opinion::Add(Video::Ticks time, bool moves) {
    Video::Findings findings{time, {}};
    if (moves) {
        findings.objects.push_back({{0, 0, 1, 1}, 1});
    }
    if (std::optional<Video::Event> event = log.Add(findings)) {
        events.push_back(std::move(*event));
    }
}

void ThirdEvents::Add(Video::Ticks time, int columns, const std::vector<Truth>& truth,
                      const std::vector<std::uint8_t>& found) {
    std::array<bool, 3> moves = {}, finds = {};
    for (std::size_t i = 0; i < truth.size(); ++i) {
        const std::size_t third = i % static_cast<std::size_t>(columns) * 3 / static_cast<std::size_t>(columns);
        moves[third] |= truth[i] == Truth::Moving;
        finds[third] |= truth[i] != Truth::Unknown && found[i] != 0;
    }
    for (std::size_t third = 0; third < 3; ++third) {
        _real[third].Add(time, moves[third]);
        _found[third].Add(time, finds[third]);
    }
}

std::array<EventCount, 3> ThirdEvents::Close() {
    std::array<EventCount, 3> counts;
    for (std::size_t third = 0; third < 3; ++third) {
        for (Opinion* opinion : {&_real[third], &_found[third]}) {
            if (std::optional<Video::Event> event = opinion->log.Close()) {
                opinion->events.push_back(std::move(*event));
            }
        }
        const std::vector<Video::Event>&real = _real[third].events, &found = _found[third].events;
        counts[third] = {static_cast<int>(real.size()), CountMatched(real, found),
                         static_cast<int>(found.size()) - CountMatched(found, real)};
    }
    return counts;
}

}  // namespace Accuracy
