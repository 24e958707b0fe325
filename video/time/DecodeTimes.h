// When must a picture be decoded so that it can be shown in time?  Containers want a decoding time for every packet; made
// from the times at which pictures are shown, given in the order of decoding.
//
// Pure: values in, values out.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <queue>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {

class DecodeTimes {
public:
    // delay: packets by which the encoder stores a picture ahead of its turn. interval: ticks between pictures.
    DecodeTimes(int delay, Ticks interval) : _delay(delay), _interval(interval) {}

    // The next packet's picture is shown then.
    void Add(Ticks shown);

    std::size_t Waiting() const { return _waiting.size(); }  // packets added and not taken

    // Of the oldest packet that waits: never earlier than the packet before; no later than its picture, if enough packets
    // wait behind it; a constant delay apart from the pictures where that is possible.
    // Precondition: Waiting() > 0.
    Ticks Take();

private:
    int _delay;                                                               // packets
    Ticks _interval;                                                          // ticks
    std::deque<Ticks> _waiting;                                               // times shown, in the order of decoding
    std::priority_queue<Ticks, std::vector<Ticks>, std::greater<>> _inOrder;  // times shown that no packet took
    int _taken = 0;                                                           // up to _delay
    bool _isFirst = true;
    Ticks _start = 0;  // ticks; the first packet's picture
    Ticks _last = 0;   // ticks; what Take returned
};

}  // namespace Video
