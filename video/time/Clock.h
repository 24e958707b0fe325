// What time is it in this picture?  Turns presentation times as the file gives them into times that only move forward.
//
// The detector forgets all it has learned when time runs backwards, and files give times that are missing, doubled, out of
// order, or start anew where two recordings were joined. Next is called once per picture, in presentation order.
#pragma once

#include <optional>

#include "video/time/TickTime.h"

namespace Video {

class Clock {
public:
    // nominalInterval: ticks between two pictures, at least 1; stands in where a time is missing.
    // period: ticks after which the file's count of time begins at 0 again, as MPEG-TS does every 26.5 hours; 0: never.
    explicit Clock(Ticks nominalInterval, Ticks period = 0) : _interval(nominalInterval), _period(period) {}

    // Time of the next picture: always later than the one before.
    //   missing or absurd           the picture before, plus the nominal interval
    //   less than a second behind   one tick after the picture before, until the file's times have caught up
    //   a period behind             time goes on: the count has overflowed
    //   a second or more behind     a new start: this picture follows at the nominal interval, and those after it keep their
    //                               distances; times that return to the old count within a second of it undo that
    Ticks Next(std::optional<Ticks> presented);

    int Repairs() const { return _repairs; }    // pictures whose time was not the file's own
    int Restarts() const { return _restarts; }  // new starts, as above

private:
    static constexpr Ticks leap = oneSecond;                  // behind by this much: not jitter
    static constexpr Ticks longestOverflow = 60 * oneSecond;  // from the picture before an overflow to the one after
    static constexpr Ticks absurd = Ticks{1} << 59;           // 1800 years; leaves room for sums below

    Ticks Repaired(Ticks time);

    Ticks _interval;             // ticks
    Ticks _period;               // ticks; 0: none
    std::optional<Ticks> _last;  // ticks; what Next returned
    Ticks _offset = 0;           // ticks; added to the file's times since the last new start
    Ticks _formerOffset = 0;     // ticks; the one before that
    int _repairs = 0;
    int _restarts = 0;
};

}  // namespace Video
