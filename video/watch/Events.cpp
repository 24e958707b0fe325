// How do frames become events?
#include "video/watch/Events.h"

#include <algorithm>
#include <utility>

#include "video/base/Findings.h"
#include "video/time/TickTime.h"

namespace Video {

EventLog::EventLog(const EventRules& rules) : _rules(rules) {
    _rules.mergeGap = std::max(_rules.mergeGap, _rules.preRoll + _rules.postRoll);
}

std::optional<Event> EventLog::Add(const Findings& frame) {
    std::optional<Event> over;
    const int blocks = MovingBlocks(frame);
    const bool moves = !frame.objects.empty() && blocks >= _rules.minBlocks;
    const bool unseen = _lastFrame && frame.time - *_lastFrame > _rules.longestGap;
    const bool still = _running && (!moves || _stillInBetween) && frame.time - _running->end > _rules.mergeGap;
    if (unseen || still) {
        over = Finish(unseen ? *_lastFrame : frame.time);
    }
    if (!_lastFrame || unseen) {
        _firstSeen = frame.time;
    }
    _lastFrame = frame.time;
    _stillInBetween = !moves;
    if (moves) {
        Extend(frame, blocks);
    }
    return over;
}

// The running event, or a new one, by a frame that moves.
void EventLog::Extend(const Findings& frame, int blocks) {
    if (!_running) {
        _running = Event{.start = frame.time,
                         .end = frame.time,
                         .peak = frame.time,
                         .frames = 0,
                         .peakBlocks = blocks,
                         .objects = frame.objects};
    }
    _running->end = frame.time;
    for (const MovingObject& object : frame.objects) {
        _running->zones |= object.zones;
    }
    if (blocks > _running->peakBlocks) {
        _running->peak = frame.time;
        _running->peakBlocks = blocks;
        _running->objects = frame.objects;
    }
    std::vector<TrackPoint>& track = _running->track;
    if (_running->frames % _running->trackStep == 0) {
        track.push_back({frame.time, frame.objects.front().box});
    }
    ++_running->frames;
    if (track.size() > longestTrack) {  // every second point goes
        for (std::size_t i = 0; 2 * i < track.size(); ++i) {
            track[i] = track[2 * i];
        }
        track.resize((track.size() + 1) / 2);
        _running->trackStep *= 2;
    }
}

void EventLog::Discard(Ticks from) {
    if (_running && _running->start >= from) {
        _running.reset();
    }
}

std::optional<Event> EventLog::Close() {
    std::optional<Event> over = Finish(_lastFrame.value_or(0));
    _lastFrame.reset();
    return over;
}

// lastSeen: up to where there was something to see.
std::optional<Event> EventLog::Finish(Ticks lastSeen) {
    std::optional<Event> over = std::exchange(_running, std::nullopt);
    if (!over) {
        return over;
    }
    if (!Counts(*over)) {
        ++_dropped;
        return std::nullopt;
    }
    ++_finished;
    over->start = std::max(over->start - _rules.preRoll, _firstSeen);
    over->end = std::max(over->end, std::min(over->end + _rules.postRoll, lastSeen));
    return over;
}

std::optional<Span> EventLog::Running() const {
    if (!_running) {
        return std::nullopt;
    }
    return Span{std::max(_running->start - _rules.preRoll, _firstSeen), _running->end + _rules.postRoll};
}

int EventLog::Count() const { return _finished + (_running && Counts(*_running) ? 1 : 0); }

}  // namespace Video
