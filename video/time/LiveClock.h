// What time is it in this picture of a live source?  Its own stamps tell how far pictures lie apart; when every connection
// began is told by this machine's clock, for stamps may start anew with each. Next is called once per picture.
//
// Pure: the arrival times are handed in.
#pragma once

#include <optional>

#include "video/time/TickTime.h"

namespace Video {

class LiveClock {
public:
    // nominalInterval: ticks between two pictures, at least 1; stands in where a stamp is missing.
    explicit LiveClock(Ticks nominalInterval) : _interval(nominalInterval) {}

    // A connection begins: its next picture came at this time, in ticks on the axis of the results.
    void Connect(Ticks arrival) { _connected = arrival; }

    // Time of the next picture: always later than the one before. Precondition: Connect was called before the first.
    //   presented  its stamp, ticks; absent: it has none
    //   now        ticks on the axis of the results; when the newest data came
    // Stamps may be ahead of the arrival, as sources send what they hold at once, and behind it, as networks stall. Where
    // they get too far away from it or step back by a second, the arrival counts.
    Ticks Next(std::optional<Ticks> presented, Ticks now);

private:
    static constexpr Ticks leap = oneSecond;
    static constexpr Ticks mostAhead = 60 * oneSecond;
    static constexpr Ticks mostBehind = 15 * oneSecond;
    static constexpr Ticks absurd = Ticks{1} << 59;

    Ticks Anchor(std::optional<Ticks> presented, Ticks arrival);

    Ticks _interval;                  // ticks
    std::optional<Ticks> _connected;  // ticks; of a connection without a picture so far
    std::optional<Ticks> _last;       // ticks; what Next returned
    std::optional<Ticks> _offset;     // ticks; added to stamps, absent until there was one
};

}  // namespace Video
