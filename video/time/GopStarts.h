// Which keyframes begin a GOP?  The stream is cut there into pieces that are decoded whole or not at all: a keyframe and all
// pictures before the next. Where keyframes lie closer than a second, such a piece has several.
//
// Pure: times in, decision out.
#pragma once

#include <optional>

#include "video/time/TickTime.h"

namespace Video {

class GopStarts {
public:
    static constexpr Ticks shortest = oneSecond;

    // Does a GOP begin with the keyframe at this time of the file?  Ask for all keyframes, in order. A time that falls
    // begins one.
    bool Begins(Ticks time) {
        const bool begins = !_last || time < *_last || time - *_last >= shortest - tolerance;
        if (begins) {
            _last = time;
        }
        return begins;
    }

private:
    static constexpr Ticks tolerance = oneSecond / 100;  // containers round
    std::optional<Ticks> _last;                          // ticks; start of the newest GOP
};

}  // namespace Video
