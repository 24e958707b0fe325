// Where can decoding begin?  At a complete picture: it and those up to the next one are a group, decoded whole or not at
// all. Decoder cuts the stream into groups, for KeyframeScout and for the scan that it spares pictures.
#pragma once

#include <functional>
#include <optional>

#include "Libav.h"
#include "TickTime.h"

namespace Scan {

// What became of them.
struct GroupTally {
    int groups = 0;     // 0: the input was not taken apart
    int decoded = 0;    // whole; of the others, the first picture only
    int tooLong = 0;    // decoded because of their length alone
    Ticks longest = 0;  // from the start of a group to the start of the next one
};

// The picture to show instead of the group that begins at this time of the file; null: the group is to be decoded.
using StandIn = std::function<FramePointer(Ticks time)>;

class PictureGroups {
public:
    static constexpr Ticks shortest = oneSecond;  // where complete pictures lie closer, a group has several

    // Does a group begin with the complete picture at this time of the file?  Ask for all of them, in order. A time that
    // falls begins one.
    bool Begins(Ticks time) {
        const bool begins = !_last || time < *_last || time - *_last >= shortest - tolerance;
        if (begins) {
            _last = time;
        }
        return begins;
    }

private:
    static constexpr Ticks tolerance = oneSecond / 100;  // containers round
    std::optional<Ticks> _last;                          // ticks; start of the newest group
};

}  // namespace Scan
