// How long does one wait for a live source, and what time is it there?
#include "video/media/LiveSource.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "video/base/Interruption.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

constexpr Ticks askingInterval = oneSecond / 10;  // how late an interruption may be noticed

}  // namespace

LiveSource::LiveSource(const std::string& url, const LiveLimits& limits, std::unique_ptr<Patience> patience,
                       Connection first)
    : _reconnect(limits.reconnect), _facts(first.facts), _reader(url, limits, std::move(patience), std::move(first)) {}

std::unique_ptr<PictureDating> LiveSource::NewDating() const {
    return std::make_unique<LiveDating>(_facts->nominalInterval);
}

void LiveSource::AwaitPicture() { _awaitedSince = SteadyNow(); }

Reading LiveSource::Read(AVPacket& packet) {
    std::optional<LivePacket> next = _reader.Take(askingInterval);
    if (Interrupted()) {
        return {.kind = Reading::Kind::Over};
    }
    const bool waitedLong = _reconnect > 0 && ToSeconds(SteadyNow() - _awaitedSince) > _reconnect;
    if (waitedLong || (!next && _reader.IsOver())) {
        const std::string trouble = _reader.Trouble();
        char text[64] = {};
        std::snprintf(text, sizeof text, "gave up after %.0f s without a picture", _reconnect);
        _gaveUp = waitedLong ? text + (trouble.empty() ? "" : ": " + trouble) : trouble;
        return {.kind = Reading::Kind::Over};
    }
    if (!next) {
        return {.kind = Reading::Kind::Nothing};
    }
    if (!_origin) {
        _origin = next->arrival;
        _started = StartTime{WallNow() - (SteadyNow() - next->arrival), ClockSource::Arrival};
    }
    av_packet_move_ref(&packet, next->packet.get());
    return {.kind = Reading::Kind::Packet,
            .facts = std::move(next->facts),
            .arrival = next->arrival - *_origin,
            .hole = std::move(next->hole)};
}

std::optional<Gap> LiveSource::OpenGap(Ticks last) const {
    const std::string trouble = _reader.Trouble();
    return trouble.empty() || !_origin ? std::nullopt
                                       : std::optional(Gap{last, std::max(last, SteadyNow() - *_origin), trouble});
}

}  // namespace Video
