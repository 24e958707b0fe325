// How do frames become events?
#include "video/watch/Events.h"

#include <algorithm>
#include <utility>

#include "video/base/Findings.h"
#include "video/time/TickTime.h"

namespace Video {

void Thin(std::vector<TrackPoint>& track) {
    for (std::size_t i = 0; 2 * i < track.size(); ++i) {
        track[i] = track[2 * i];
    }
    track.resize((track.size() + 1) / 2);
}

EventLog::EventLog(const EventRules& rules) : _rules(rules) { _rules.mergeGap = MergedWithin(rules); }

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
    if (frame.isFlash) {
        _lastFlash = frame.time;
        _hasFlashed = true;
    }
    if (moves) {
        Extend(frame, blocks);
    }
    return over;
}

// What moves there is what a flash has left behind: by itself, hardly anything changes.
bool EventLog::FollowsFromFlash(const Findings& frame, int blocks) const {
    return _lastFlash && frame.time - *_lastFlash <= flashAftermath &&
           100 * std::int64_t{frame.changedBlocks} < std::int64_t{leastChangedPercent} * blocks;
}

// Does the frame show what moves?  Where more than half of the picture does, it is the light that changed, or the camera.
bool EventLog::IsClear(const Findings& frame, int blocks) const {
    const bool isMuch = frame.pictureBlocks > 0 && 2 * std::int64_t{blocks} > frame.pictureBlocks;
    return !isMuch && !frame.isFlash && !FollowsFromFlash(frame, blocks);
}

// The running event, or a new one, by a frame that moves.
void EventLog::Extend(const Findings& frame, int blocks) {
    const bool isClear = IsClear(frame, blocks);
    if (!_running) {
        _running = Event{.start = frame.time,
                         .end = frame.time,
                         .peak = frame.time,
                         .frames = 0,
                         .peakBlocks = blocks,
                         .objects = frame.objects,
                         .onlyFlash = true};
        _hasFlashed = frame.isFlash;
        _running->clearPeak = isClear;
    }
    _running->end = frame.time;
    _running->flash |= std::exchange(_hasFlashed, false);
    _running->onlyFlash &= frame.isFlash || FollowsFromFlash(frame, blocks);
    for (const MovingObject& object : frame.objects) {
        _running->zones |= object.zones;
    }
    const bool isLarger = frame.objects.front().blocks > _running->objects.front().blocks;
    if (isClear == _running->clearPeak ? isLarger : isClear) {
        _running->clearPeak = isClear;
        _running->peak = frame.time;
        _running->peakBlocks = blocks;
        _running->objects = frame.objects;
    }
    std::vector<TrackPoint>& track = _running->track;
    if (_running->frames % _running->trackStep == 0) {
        track.push_back({frame.time, frame.objects.front().box});
    }
    ++_running->frames;
    if (track.size() > longestTrack) {
        Thin(track);
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
    _lastFlash.reset();
    return over;
}

// lastSeen: up to where there was something to see.
std::optional<Event> EventLog::Finish(Ticks lastSeen) {
    std::optional<Event> over = std::exchange(_running, std::nullopt);
    if (!over) {
        return over;
    }
    over->motion = {over->start, over->end};
    if (!MayBeRest(*over) && (!IsLong(*over) || IsIgnored(*over))) {
        ++(IsLong(*over) ? _flashes : _dropped);
        return std::nullopt;
    }
    ++_finished;
    over->start = std::max(over->start - _rules.preRoll, _firstSeen);
    over->end = std::max(over->end, std::min(over->end + _rules.postRoll, lastSeen));
    return over;
}

std::optional<Event> EventLog::Cut() {
    std::optional<Event> cut = std::exchange(_running, std::nullopt);
    if (cut) {
        ++_finished;
        cut->motion = {cut->start, cut->end};
        cut->start = std::max(cut->start - _rules.preRoll, _firstSeen);
        cut->end += _rules.postRoll;
    }
    return cut;
}

std::optional<Span> EventLog::Running() const {
    if (!_running) {
        return std::nullopt;
    }
    return Span{std::max(_running->start - _rules.preRoll, _firstSeen), _running->end + _rules.postRoll};
}

int EventLog::Count() const { return _finished + (_running && IsLong(*_running) && !IsIgnored(*_running) ? 1 : 0); }

}  // namespace Video
