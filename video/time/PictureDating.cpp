// Where is time 0 of a file, and where its first picture?
#include "video/time/PictureDating.h"

#include <algorithm>

#include "video/time/TickTime.h"

namespace Video {

void FileDating::OnPacket(std::optional<Ticks> decoded, Ticks) {
    if (!_firstDecoded) {
        _firstDecoded = decoded;
    }
}

std::optional<Ticks> FileDating::Presented(std::optional<Ticks> stamp, bool isOwn) {
    if (!stamp) {
        return stamp;
    }
    if (_isFirst && !isOwn) {  // AVI: there are times of decoding only
        _decodedLate = std::max<Ticks>(0, *stamp - _firstDecoded.value_or(*stamp));
    }
    _origin = _origin ? _origin : *stamp - _decodedLate;
    return *stamp - _decodedLate;
}

Ticks FileDating::Next(std::optional<Ticks> presented) {
    _isFirst = false;
    return _clock.Next(presented ? std::optional(*presented - _origin.value_or(0)) : std::nullopt);
}

}  // namespace Video
