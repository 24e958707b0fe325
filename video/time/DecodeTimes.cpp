// How are decoding times chosen?
//
// The times at which pictures are shown, put in order and moved back by the delay, are as even as the video itself. Where
// the stated delay is too short for that, the earliest picture that is still to come sets the limit.
#include "video/time/DecodeTimes.h"

#include <algorithm>

#include "video/time/TickTime.h"

namespace Video {

void DecodeTimes::Add(Ticks shown) {
    if (_waiting.empty() && _isFirst) {
        _start = shown;
    }
    _waiting.push_back(shown);
    _inOrder.push(shown);
}

Ticks DecodeTimes::Take() {
    Ticks time = *std::min_element(_waiting.begin(), _waiting.end());
    if (_taken < _delay) {
        time = std::min(time, _start - (_delay - _taken) * _interval);
        ++_taken;
    } else {
        time = std::min(time, _inOrder.top());
        _inOrder.pop();
    }
    _last = _isFirst ? time : std::max(_last, time);
    _isFirst = false;
    _waiting.pop_front();
    return _last;
}

}  // namespace Video
