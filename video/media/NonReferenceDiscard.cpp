// When is it safe not to decode a picture, and which were not?
#include "video/media/NonReferenceDiscard.h"

#include <cstdlib>

#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr int evenForAWhile = 25;  // packets
constexpr Ticks roundings = 4;     // a distance may differ by 1 part of so many: containers round to milliseconds

}  // namespace

bool NonReferenceDiscard::IsEven(std::optional<Ticks> decoded) {
    const Ticks distance = decoded && _lastDecoded ? *decoded - *_lastDecoded : 0;
    const bool even = distance > 0 && std::abs(distance - _distance) < distance / roundings;
    _lastDecoded = decoded;
    _distance = distance;
    _evenInARow = even ? _evenInARow + 1 : 0;
    return _evenInARow >= evenForAWhile;
}

bool NonReferenceDiscard::MayDiscard(std::optional<Ticks> presented, std::optional<Ticks> decoded, Ticks later) {
    if (!IsEven(decoded) || !presented || _needed(*presented + later)) {
        return false;
    }
    _pending.insert(*presented);
    return true;
}

std::vector<Ticks> NonReferenceDiscard::DiscardedBefore(Ticks presented) {
    const auto shown = _pending.lower_bound(presented);
    std::vector<Ticks> discarded(_pending.begin(), shown);
    _pending.erase(_pending.begin(), shown);
    _pending.erase(presented);  // others do refer to this one
    return discarded;
}

std::vector<Ticks> NonReferenceDiscard::DiscardedAtEnd() {
    std::vector<Ticks> rest(_pending.begin(), _pending.end());
    _pending.clear();
    return rest;
}

}  // namespace Video
