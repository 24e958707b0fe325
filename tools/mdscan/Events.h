// When did something move, and where?  Joins what was found in single frames into events; used by main.
//
// Pure: values in, values out. No file, no detector.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "TickTime.h"

namespace Scan {

// Pixels of the picture; right and bottom edge exclusive.
struct Box {
    int x;
    int y;
    int width;
    int height;
};

struct MovingObject {
    Box box;        // pixels
    int blocks;     // moving blocks
    std::uint64_t zones = 0;   // bit i: its blocks touch the i-th watched zone
};

// One analysed frame.
struct Findings {
    Ticks time;
    std::vector<MovingObject> objects;     // largest first
};

struct Event {
    Ticks start;                           // first frame with an object
    Ticks end;                             // last frame with an object
    Ticks peak;                            // the frame with the most moving blocks, the first of equals
    int frames;                            // analysed frames with an object
    int peakBlocks;                        // moving blocks at the peak
    std::vector<MovingObject> objects;     // at the peak, largest first
    std::uint64_t zones = 0;               // that its objects touched, as in MovingObject
};

struct EventRules {
    Ticks mergeGap;        // an event ends when frames without an object lie between and span more than this
    Ticks minDuration;     // shorter ones, end - start, are dropped
    Ticks longestGap;      // two frames further apart are never one event: what lay between was not recorded
};

int MovingBlocks(const Findings& frame);

class EventLog {
public:
    explicit EventLog(const EventRules& rules) : _rules(rules) {}

    // Takes the next frame, later than the one before. Returns the event that this frame proves to be over, if it counts.
    std::optional<Event> Add(const Findings& frame);

    // Ends the running event: the stream is over, or its picture has changed beyond comparison.
    std::optional<Event> Close();

    // Events so far, the running one included as soon as it counts.
    int Count() const;

    int Dropped() const { return _dropped; }       // events that were too short

private:
    bool Counts(const Event& event) const { return event.end - event.start >= _rules.minDuration; }

    EventRules _rules;
    std::optional<Event> _running;
    std::optional<Ticks> _lastFrame;
    bool _stillInBetween = false;          // the last frame had no object
    int _finished = 0;
    int _dropped = 0;
};

}  // namespace Scan
