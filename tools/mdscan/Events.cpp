// How do frames become events?  Called by main through Events.h.
#include "Events.h"

#include <utility>

namespace Scan {

int MovingBlocks(const Findings& frame) {
    int blocks = 0;
    for (const MovingObject& object : frame.objects) {
        blocks += object.blocks;
    }
    return blocks;
}

std::optional<Event> EventLog::Add(const Findings& frame) {
    std::optional<Event> over;
    const bool moves = !frame.objects.empty();
    const bool unseen = _lastFrame && frame.time - *_lastFrame > _rules.longestGap;
    const bool still = _running && (!moves || _stillInBetween) && frame.time - _running->end > _rules.mergeGap;
    _lastFrame = frame.time;
    _stillInBetween = !moves;
    if (unseen || still) {
        over = Close();
    }
    if (!moves) {
        return over;
    }
    const int blocks = MovingBlocks(frame);
    if (!_running) {
        _running = Event{.start = frame.time, .end = frame.time, .peak = frame.time,
                         .frames = 0, .peakBlocks = blocks, .objects = frame.objects, .zones = 0};
    }
    _running->end = frame.time;
    ++_running->frames;
    for (const MovingObject& object : frame.objects) {
        _running->zones |= object.zones;
    }
    if (blocks > _running->peakBlocks) {
        _running->peak = frame.time;
        _running->peakBlocks = blocks;
        _running->objects = frame.objects;
    }
    return over;
}

std::optional<Event> EventLog::Close() {
    std::optional<Event> over = std::exchange(_running, std::nullopt);
    if (!over) {
        return over;
    }
    if (!Counts(*over)) {
        ++_dropped;
        return std::nullopt;
    }
    ++_finished;
    return over;
}

int EventLog::Count() const {
    return _finished + (_running && Counts(*_running) ? 1 : 0);
}

}  // namespace Scan
