// How are broken presentation times mended?
#include "video/time/Clock.h"

#include <utility>

#include "video/time/TickTime.h"

namespace Video {

Ticks Clock::Next(std::optional<Ticks> presented) {
    const bool usable = presented && *presented > -absurd && *presented < absurd && _offset < absurd;
    if (!_last) {
        return (_last = usable ? *presented : Repaired(0)).value();
    }
    const Ticks last = *_last;
    if (!usable) {
        return (_last = Repaired(last + _interval)).value();
    }
    const Ticks time = *presented + _offset;
    const Ticks formerly = *presented + _formerOffset;
    if (time >= last + leap && formerly > last && formerly < last + leap) {  // only one picture was out of order
        _offset = _formerOffset;
        return (_last = formerly).value();
    }
    if (time > last) {
        return (_last = time).value();
    }
    if (last - time < leap) {
        return (_last = Repaired(last + 1)).value();
    }
    if (_period > 0 && time + _period > last && time + _period < last + longestOverflow) {
        _formerOffset = std::exchange(_offset, _offset + _period);
        return (_last = time + _period).value();
    }
    ++_restarts;
    _formerOffset = _offset;
    _offset += last + _interval - time;
    return (_last = Repaired(last + _interval)).value();
}

Ticks Clock::Repaired(Ticks time) {
    ++_repairs;
    return time;
}

}  // namespace Video
