// Where can decoding begin?  At a complete picture: it and those up to the next one are a group, decoded whole or not at
// all. Decoder cuts the stream into groups, for KeyframeScout and for the scan that it spares pictures.
#pragma once

#include <functional>
#include <optional>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

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

}  // namespace Video
