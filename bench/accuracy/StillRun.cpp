// How does a video without labels meet its subjects?
#include "StillRun.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CpuClock.h"
#include "ThirdEvents.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/watch/Condition.h"
#include "video/watch/ConditionLog.h"
#include "video/watch/Events.h"

namespace Accuracy {

namespace {

// One subject, and what became of it.
struct Watch {
    std::unique_ptr<Subject> subject;
    CpuClock clock;
    Video::EventLog events{UsualEvents()};
    Video::ConditionLog conditions;
    int analysed = 0, alarms = 0;  // pictures
    Video::Ticks told = 0;         // of events

    void Take(Video::Ticks time, const Mask& mask) {
        Video::Findings findings{time, {}};
        const auto blocks =
            static_cast<int>(std::count_if(mask.moving.begin(), mask.moving.end(), [](int m) { return m != 0; }));
        if (blocks > 0) {
            findings.objects.push_back({{0, 0, 1, 1}, blocks});
        }
        ++analysed;
        alarms += blocks > 0;
        if (const Host::Disturbances* const disturbances = subject->Disturbances()) {
            if (const std::optional<Video::Ticks> from = conditions.Add(*disturbances, time)) {
                events.Discard(*from);
            }
        }
        Tell(events.Add(findings));
    }

    void Tell(const std::optional<Video::Event>& event) { told += event ? event->end - event->start : 0; }

    std::set<std::string> Conditions() {
        conditions.Close();
        std::set<std::string> names;
        for (const Video::Condition& condition : conditions.Take()) {
            names.emplace(NameOf(condition.kind));
        }
        return names;
    }
};

}  // namespace

std::vector<StillOutcome> JudgeStill(const std::string& video, const std::vector<Candidate>& candidates) {
    Video::Decoder decoder(Video::OpenSource(video), 1);
    std::vector<Watch> watches(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        Watch& watch = watches[i];
        watch.subject = candidates[i].make(decoder.NominalInterval(), [&watch](Video::Ticks time, const Mask& mask) {
            watch.clock.Except([&] { watch.Take(time, mask); });
        });
    }
    Video::Ticks end = 0;
    while (decoder.Next()) {
        for (Watch& watch : watches) {
            watch.clock.Time([&] { watch.subject->Show(decoder.Frame(), decoder.Time()); });
        }
        end = decoder.Time() + decoder.NominalInterval();
    }
    if (decoder.Found().count > 0 || end == 0) {
        throw Video::Failure(Video::Concern::Input, video + ": damaged, or without a picture");
    }
    std::vector<StillOutcome> outcomes;
    for (Watch& watch : watches) {
        watch.clock.Time([&] { watch.subject->End(); });
        watch.Tell(watch.events.Close());
        const double length = Video::ToSeconds(end);
        outcomes.push_back({length, watch.analysed > 0 ? length * watch.alarms / watch.analysed : 0, watch.events.Count(),
                            Video::ToSeconds(watch.told), watch.analysed, watch.clock.Seconds(), watch.Conditions()});
    }
    return outcomes;
}

}  // namespace Accuracy
