// Which pictures does the detector get to see?  Picks them out of the stream at the rate of analysis.
//
// The change test looks 1, 2 and 4 analysed frames back, so the rate of analysis decides how slow a movement may be to
// count. Pictures are picked at even distances wherever the stream has them: with 10 pictures a second and a rate of 6,
// every second one. Uneven distances would make steady movement look restless.
#pragma once

#include <optional>

#include "video/time/TickTime.h"

namespace Video {

class Cadence {
public:
    // rate: pictures per second to analyse; 0 takes every picture.
    // nominalInterval: ticks between two pictures of the stream, at least 1.
    Cadence(double rate, Ticks nominalInterval);

    // Is the picture at this time to be analysed? Times must not fall.
    bool Takes(Ticks time);

    // Could it be, as long as pictures come at the nominal interval?  Any time; nothing is picked.
    bool MayTake(Ticks time) const;

    Ticks Period() const { return _period; }  // ticks between analysed pictures; a multiple of the nominal interval

private:
    Ticks _period;  // ticks
    Ticks _slack;   // ticks; a picture may be this much early
    bool _everyPicture;
    std::optional<Ticks> _taken;  // ticks; time of the last picture taken
};

}  // namespace Video
