// Which pictures need not be decoded?  Those that nobody asks for and no other picture refers to. Decoder asks before every
// packet, and learns which times to count as if they had been shown.
//
// Only in a stream that has run evenly for a while: elsewhere nobody can tell beforehand which picture will be asked for.
// What is asked for is thus the same as if all were decoded; so are the times, and the number, of all pictures.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "video/time/TickTime.h"

namespace Video {

class LeftOut {
public:
    using Needed = std::function<bool(Ticks)>;

    explicit LeftOut(Needed needed) : _needed(std::move(needed)) {}

    // The next packet, in order of decoding: may its picture be left out if no other refers to it?  Ticks of the file;
    // absent: not given. later: added to them, they are times of the scan.
    bool May(std::optional<Ticks> presented, std::optional<Ticks> decoded, Ticks later);

    // The next packet is not decoded, for another reason.
    void Pass(std::optional<Ticks> decoded) { IsEven(decoded); }

    // A picture is shown at this time of the file: which have been left out before it?  In order.
    std::vector<Ticks> Before(Ticks presented);

    // The stream is over: which have been left out at its end?
    std::vector<Ticks> Rest();

private:
    bool IsEven(std::optional<Ticks> decoded);

    Needed _needed;
    std::set<Ticks> _pending;           // of packets whose pictures were neither shown nor passed by; ticks
    std::optional<Ticks> _lastDecoded;  // ticks
    Ticks _distance = 0;                // ticks; between the last two packets
    int _evenInARow = 0;                // packets at the distance of the one before
};

}  // namespace Video
