// Which non-reference pictures need not be decoded?  Those that nobody asks for. Asked before every packet, it says of which
// pictures the decoder may discard what no other refers to, and which times to count as if they had been shown.
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

class NonReferenceDiscard {
public:
    using Needed = std::function<bool(Ticks)>;

    explicit NonReferenceDiscard(Needed needed) : _needed(std::move(needed)) {}

    // The next packet, in order of decoding: may its picture be discarded if no other refers to it?  Ticks of the file;
    // absent: not given. later: added to them, they are times of the scan.
    bool MayDiscard(std::optional<Ticks> presented, std::optional<Ticks> decoded, Ticks later);

    // The next packet is decoded in any case, or skipped: nobody is to be asked.
    void Pass(std::optional<Ticks> decoded) { IsEven(decoded); }

    // A picture is shown at this time of the file: which have been discarded before it?  In presentation order.
    std::vector<Ticks> DiscardedBefore(Ticks presented);

    // The stream is over: which have been discarded at its end?
    std::vector<Ticks> DiscardedAtEnd();

private:
    bool IsEven(std::optional<Ticks> decoded);

    Needed _needed;
    std::set<Ticks> _pending;           // of packets whose pictures may be discarded and were not shown so far; ticks
    std::optional<Ticks> _lastDecoded;  // ticks
    Ticks _distance = 0;                // ticks; between the last two packets
    int _evenInARow = 0;                // packets at the distance of the one before
};

}  // namespace Video
