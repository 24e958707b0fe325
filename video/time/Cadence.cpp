// How are pictures picked at an even distance?
#include "video/time/Cadence.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr double mostPicturesApart = 1e6;  // keeps the period within Ticks for any rate

Ticks EvenPeriod(double rate, Ticks nominalInterval) {
    if (rate <= 0) {
        return nominalInterval;
    }
    const double apart = std::round(static_cast<double>(oneSecond) / rate / static_cast<double>(nominalInterval));
    return static_cast<Ticks>(std::clamp(apart, 1.0, mostPicturesApart)) * nominalInterval;
}

}  // namespace

Cadence::Cadence(double rate, Ticks nominalInterval)
    : _period(EvenPeriod(rate, nominalInterval)), _slack(nominalInterval / 2), _everyPicture(rate <= 0) {}

bool Cadence::Takes(Ticks time) {
    if (_everyPicture) {
        return true;
    }
    if (_taken && time < *_taken + _period - _slack) {
        return false;
    }
    _taken = time;
    return true;
}

bool Cadence::MayTake(Ticks time) const {
    if (_everyPicture || !_taken) {
        return true;
    }
    const Ticks behind = std::abs(time - *_taken) % _period;
    return std::min(behind, _period - behind) <= _slack;
}

}  // namespace Video
