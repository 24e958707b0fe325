// When did something move, and where?  Joins what was found in single frames into events.
//
// Pure: values in, values out. No file, no detector.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "video/base/Box.h"
#include "video/base/Findings.h"
#include "video/time/TickTime.h"

namespace Video {

struct Span {
    Ticks start;
    Ticks end;
};

// Where the largest object was at one time.
struct TrackPoint {
    Ticks time;
    Box box;  // pixels
};

inline constexpr std::size_t longestTrack = 256;  // points

// A flash leaves blocks behind that differ from what was known for so long, while nothing moves.
inline constexpr Ticks flashAftermath = 4 * oneSecond;
// Of the moving blocks, so many percent change from frame to frame where something goes on moving in there.
inline constexpr int leastChangedPercent = 10;

struct Event {
    Ticks start;                         // first frame that moved, less the pre-roll
    Ticks end;                           // last frame that moved, and the post-roll
    Ticks peak;                          // the frame in which a single object has the most blocks, the first of equals;
                                         // one that shows what moves rather than a flash, where there is any: IsClear
    int frames;                          // analysed frames that moved
    int peakBlocks;                      // moving blocks of all objects at the peak
    std::vector<MovingObject> objects;   // at the peak, largest first
    std::uint64_t zones = 0;             // that its objects touched, as in MovingObject
    std::vector<TrackPoint> track = {};  // of the frames that moved; of long events, every second, fourth, ...
    int trackStep = 1;                   // frames that moved from one point to the next
    bool flash = false;                  // in a frame of it, nearly everything changed at once
    bool onlyFlash = false;              // all frames that moved are such ones, or follow from one
    Span motion = {};                    // from the first frame that moved to the last one
    bool clearPeak = false;              // the peak shows what moves rather than a flash
};

struct EventRules {
    Ticks mergeGap;              // an event ends when frames without an object lie between and span more than this
    Ticks minDuration;           // shorter ones, end - start, are dropped
    Ticks longestGap;            // two frames further apart are never one event: what lay between was not recorded
    Ticks preRoll = 0;           // added before and after an event, as far as there was something to see; events that would
    Ticks postRoll = 0;          // overlap then are one
    int minBlocks = 1;           // a frame with fewer moving blocks does not count as one that moved
    bool ignoreFlashes = false;  // events that consist of flashes are dropped
    Ticks joinsBefore = std::numeric_limits<Ticks>::min();  // what begins earlier may be the rest of an event that nobody
                                                            // here has seen begin: it is told, however short
};

// Events whose frames that moved are no further apart are one: their rolls would overlap, if nothing else.
inline Ticks MergedWithin(const EventRules& rules) { return std::max(rules.mergeGap, rules.preRoll + rules.postRoll); }

// Leaves out every second point, not the first one.
void Thin(std::vector<TrackPoint>& track);

class EventLog {
public:
    explicit EventLog(const EventRules& rules);

    // Takes the next frame, later than the one before. Returns the event that this frame proves to be over, if it counts.
    std::optional<Event> Add(const Findings& frame);

    // Is the frame that was taken last the peak of the running event so far?
    bool PeaksNow() const { return _running && _lastFrame == _running->peak; }

    // From where to where the running event reaches so far, rolls included; absent: none is running.
    std::optional<Span> Running() const;

    // From then on, what moved was something else: forgets the running event where it began no earlier,
    // and counts it nowhere.
    void Discard(Ticks from);

    // Ends the running event: the stream is over, or its picture has changed beyond comparison.
    std::optional<Event> Close();

    // Ends it for whoever goes on with what comes next: it is told, however short, and with all of its post-roll.
    std::optional<Event> Cut();

    // Events so far, the running one included as soon as it counts.
    int Count() const;

    int Dropped() const { return _dropped; }  // events that were too short
    int Flashes() const { return _flashes; }  // events that were dropped as flashes

private:
    std::optional<Event> Finish(Ticks lastSeen);
    void Extend(const Findings& frame, int blocks);
    bool FollowsFromFlash(const Findings& frame, int blocks) const;
    bool IsClear(const Findings& frame, int blocks) const;
    bool IsLong(const Event& event) const { return event.end - event.start >= _rules.minDuration; }
    bool MayBeRest(const Event& event) const { return event.start < _rules.joinsBefore; }
    bool IsIgnored(const Event& event) const { return _rules.ignoreFlashes && event.onlyFlash; }

    EventRules _rules;
    std::optional<Event> _running;
    std::optional<Ticks> _lastFrame;  // absent: nothing seen yet, or nothing that counts any more
    Ticks _firstSeen = 0;             // first frame since then
    bool _stillInBetween = false;     // the last frame had no object
    bool _hasFlashed = false;         // since the running event's last frame that moved
    std::optional<Ticks> _lastFlash;
    int _finished = 0;
    int _dropped = 0;
    int _flashes = 0;
};

}  // namespace Video
