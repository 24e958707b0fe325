// How are stamps and arrivals brought together?
#include "video/time/LiveClock.h"

#include <algorithm>
#include <utility>

#include "video/time/TickTime.h"

namespace Video {

Ticks LiveClock::Next(std::optional<Ticks> presented, Ticks now) {
    if (presented && (*presented < -absurd || *presented > absurd)) {
        presented.reset();
    }
    if (_connected) {
        _offset.reset();
        return Anchor(presented, *std::exchange(_connected, std::nullopt));
    }
    const Ticks last = _last.value_or(now);
    if (!presented) {
        return (_last = last + _interval).value();
    }
    if (!_offset) {
        return Anchor(presented, now);
    }
    const Ticks time = *presented + *_offset;
    const bool jitters = time <= last && last - time < leap;
    if (jitters) {
        return (_last = last + 1).value();
    }
    if (time <= last || time > now + mostAhead || time < now - mostBehind) {
        return Anchor(presented, now);
    }
    return (_last = time).value();
}

// This picture came at that time; those after it keep their distances.
Ticks LiveClock::Anchor(std::optional<Ticks> presented, Ticks arrival) {
    const Ticks time = _last ? std::max(*_last + _interval, arrival) : arrival;
    if (presented) {
        _offset = time - *presented;
    }
    return (_last = time).value();
}

}  // namespace Video
