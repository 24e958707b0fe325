// How do pictures become events and conditions as they come?
#include "gstreamer/MotionAnalysis.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "video/base/Failure.h"
#include "video/zones/IdleZones.h"
#include "video/zones/ZoneFile.h"

namespace Gst {

namespace {

// Of the cadence: so many pictures that do not come are no reason to end an event.
constexpr int periodsWithoutPicture = 3;

// In files, people write objects; so they do where they write the text itself.
bool IsJson(const std::string& zones) {
    const std::size_t first = zones.find_first_not_of(" \t\r\n");
    return first != std::string::npos && zones[first] == '{';
}

std::vector<Video::Zone> ZonesOf(const MotionSettings& settings) {
    if (settings.zones.empty()) {
        return {};
    }
    std::vector<Video::Zone> zones =
        IsJson(settings.zones) ? Video::ReadZoneText(settings.zones, "zones") : Video::ReadZoneFile(settings.zones);
    if (Video::WatchedNames(zones).size() > Video::mostZones) {
        throw Video::Failure(Video::Concern::Usage, "more than " + std::to_string(Video::mostZones) + " zones to watch");
    }
    return zones;
}

Video::WatchRules RulesOf(const MotionSettings& settings, const std::vector<Video::Zone>& zones, Video::Ticks interval) {
    Video::WatchRules rules{.framesPerSecond = 1 / Video::ToSeconds(interval),
                            .shadows = settings.shadows,
                            .minSize = std::nullopt,
                            .zones = zones,
                            .conditioning = {.on = settings.condition, .sensitivity = settings.sensitivity}};
    if (settings.minSize >= 0) {
        rules.minSize = settings.minSize;
    }
    return rules;
}

}  // namespace

MotionAnalysis::MotionAnalysis(const MotionSettings& settings, MotionListener& listener)
    : _settings(settings), _listener(listener), _zones(ZonesOf(settings)) {
    NewCadence();
    NewEvents();
}

void MotionAnalysis::NewCadence() {
    _cadence.emplace(_settings.rate, _interval);
    _longestGap =
        std::max(Video::FromSeconds(_settings.mergeGap), periodsWithoutPicture * std::max(_cadence->Period(), _interval));
}

void MotionAnalysis::NewEvents() {
    _events.emplace(Video::EventRules{.mergeGap = Video::FromSeconds(_settings.mergeGap),
                                      .minDuration = Video::FromSeconds(_settings.minDuration),
                                      .longestGap = _longestGap});
}

void MotionAnalysis::Change(const MotionSettings& settings) {
    std::vector<Video::Zone> zones = settings.zones == _settings.zones ? _zones : ZonesOf(settings);
    const bool isOther = !settings.Detects(_settings);
    const bool joinsOtherwise = settings.mergeGap != _settings.mergeGap || settings.minDuration != _settings.minDuration;
    const bool picksOthers = settings.rate != _settings.rate;
    if (isOther) {
        Restart("settings");
    } else if (joinsOtherwise) {
        EndEvent("settings");
    }
    if (settings.memory != _settings.memory) {
        _wasPrimed = false;
    }
    _settings = settings;
    _zones = std::move(zones);
    if (isOther || joinsOtherwise || picksOthers) {
        NewCadence();
    }
    if (isOther || joinsOtherwise) {
        NewEvents();
    }
}

void MotionAnalysis::SetInterval(Video::Ticks interval) {
    if (interval != _interval) {
        _interval = std::max(interval, Video::Ticks{1});
        Restart("caps");
    }
}

void MotionAnalysis::Begin(const Host::PictureFormat& format) {
    if (_watcher) {
        Restart("caps");
    }
    const Video::WatchRules rules = RulesOf(_settings, _zones, _interval);
    const Video::PictureGrid grid = Video::GridOf(format.width, format.height, _settings.block, rules.conditioning);
    for (const Video::IdleZone& zone : Video::IdleZones(_zones, grid, Video::SizesOf(rules))) {
        _listener.OnWarning(Video::Told(zone));
    }
    _watcher.emplace(format, grid, rules);
    _format = format;
    if (!_settings.memory.empty() && _settings.condition && !_wasPrimed) {
        _wasPrimed = true;
        try {
            if (const auto remembered = Video::LoadBackground(_settings.memory, grid)) {
                _watcher->Prime(*remembered);
            }
        } catch (const Video::Failure& failure) {  // it is learned anew, and the file replaced
            _listener.OnWarning(failure.what());
        }
    }
}

void MotionAnalysis::See(const Host::PictureFormat& format, const Host::PictureView& picture, const PictureTime& time) {
    const bool isOther = _format && (_format->range != format.range || !_watcher || !_watcher->Suits(format));
    if (!_watcher || isOther) {
        Begin(format);
    }
    const Video::BlockPicture blocks = _watcher->Reduce(picture);
    const Video::Findings findings = _watcher->Judge(blocks, time.running);
    _objects = findings.objects;
    FollowConditions(time.running);
    if (!_settings.memory.empty() && _watcher->Disturbances() &&
        !_watcher->Disturbances()->IsRunning(Host::Disturbance::Covered)) {
        if (!_kept) {
            _kept.emplace();
        }
        _kept->Add(blocks, _watcher->Grid(), time.running);
    }
    FollowEvent(findings, time);
    _newest = time.running;
}

void MotionAnalysis::FollowEvent(const Video::Findings& findings, const PictureTime& time) {
    const bool wasUnseen = _newest && time.running - *_newest > _longestGap;
    if (const std::optional<Video::Event> over = _events->Add(findings)) {
        TellEnd(*over, wasUnseen ? "gap" : "still");
    }
    const std::optional<Video::Span> running = _events->Running();
    if (!running) {
        _current.reset();
        return;
    }
    if (!_current || _current->start.running != running->start) {
        _current = Current{.start = time, .peak = time, .end = time};
    }
    if (running->end != time.running) {
        return;
    }
    _current->end = time;
    _current->event.frames += 1;
    for (const Video::MovingObject& object : findings.objects) {
        _current->event.zones |= object.zones;
    }
    if (_events->PeaksNow()) {
        _current->peak = time;
        _current->event.objects = findings.objects;
        _current->event.peakBlocks = Video::MovingBlocks(findings);
    }
    if (!_current->isTold && running->end - running->start >= Video::FromSeconds(_settings.minDuration)) {
        TellBegin(time, findings.objects);
    }
}

void MotionAnalysis::TellBegin(const PictureTime& now, const std::vector<Video::MovingObject>& objects) {
    _current->isTold = true;
    _current->id = ++_lastId;
    _listener.OnBegin({.id = _current->id, .start = _current->start, .now = now, .objects = objects});
}

void MotionAnalysis::TellEnd(const Video::Event& event, const char* reason) {
    if (!_current->isTold) {
        TellBegin(_current->end, event.objects);
    }
    _listener.OnEnd({.id = _current->id,
                     .start = _current->start,
                     .peak = _current->peak,
                     .end = _current->end,
                     .event = event,
                     .isVoid = false,
                     .reason = reason});
    _current.reset();
}

// Who heard of its begin hears that it was none.
void MotionAnalysis::TellVoid() {
    if (_current->isTold) {
        _listener.OnEnd({.id = _current->id,
                         .start = _current->start,
                         .peak = _current->peak,
                         .end = _current->end,
                         .event = _current->event,
                         .isVoid = true,
                         .reason = "disturbance"});
    }
    _current.reset();
}

// What moved since a disturbance began was the disturbance.
void MotionAnalysis::FollowConditions(Video::Ticks time) {
    const Host::Disturbances* disturbances = _watcher->Disturbances();
    if (!disturbances) {
        return;
    }
    _conditions.AddDarkness(_watcher->IsDark(), time);
    if (const std::optional<Video::Ticks> from = _conditions.Add(*disturbances, time)) {
        _events->Discard(*from);
        if (_current && !_events->Running()) {
            TellVoid();
        }
    }
    TellConditions();
}

void MotionAnalysis::TellConditions() {
    for (const Video::Condition& over : _conditions.Take()) {
        _toldConditions.erase(over.kind);
        _listener.OnCondition(over, true);
    }
    for (const Video::Condition& running : _conditions.Running()) {
        if (_toldConditions.emplace(running.kind, running.start).second) {
            _listener.OnCondition(running, false);
        }
    }
}

void MotionAnalysis::Pause(Video::Ticks until) {
    if (_newest && until - *_newest > _longestGap) {
        EndEvent("gap");
    }
}

void MotionAnalysis::EndEvent(const char* reason) {
    if (const std::optional<Video::Event> over = _events->Close()) {
        TellEnd(*over, reason);
    }
    _current.reset();
}

void MotionAnalysis::Restart(const char* reason) {
    EndEvent(reason);
    _conditions.Close();
    TellConditions();
    _conditions = {};
    _toldConditions.clear();
    Remember();  // times may fall now
    _objects.clear();
    _watcher.reset();
    _format.reset();
    _newest.reset();
    NewCadence();
    NewEvents();
}

void MotionAnalysis::Remember() {
    if (!_kept) {
        return;
    }
    try {
        _kept->Save(_settings.memory);
    } catch (const Video::Failure& failure) {
        _listener.OnWarning(failure.what());
    }
    _kept.reset();
}

}  // namespace Gst
