// How does a live source become a row of pictures?  Members of Decoder: packets come from LiveReader, times from LiveClock,
// and where packets are missing, the decoder begins anew.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

#include "video/base/Gap.h"
#include "video/base/Interruption.h"
#include "video/media/Connection.h"
#include "video/media/Decoder.h"
#include "video/media/Libav.h"
#include "video/media/LiveReader.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

constexpr Ticks askingInterval = oneSecond / 10;  // how late an interruption may be noticed
constexpr Ticks longestPause = 5 * oneSecond;     // between two pictures; more is a hole

Ticks SteadyNow() { return SteadyTicks(std::chrono::steady_clock::now()); }

}  // namespace

// Gives the decoder the next packet, or notices that there will be none.
void Decoder::FeedLive() {
    std::optional<LivePacket> next = _live->Take(askingInterval);
    if (Interrupted()) {
        _isOver = true;
        return;
    }
    const bool waitedLong = _reconnect > 0 && ToSeconds(SteadyNow() - _askedAt) > _reconnect;
    if (waitedLong || (!next && _live->IsOver())) {
        const std::string trouble = _live->Trouble();
        char text[64] = {};
        std::snprintf(text, sizeof text, "gave up after %.0f s without a picture", _reconnect);
        _gaveUp = waitedLong ? text + (trouble.empty() ? "" : ": " + trouble) : trouble;
        _isOver = true;
        return;
    }
    if (!next) {
        return;
    }
    if (!_liveOrigin) {
        _liveOrigin = next->arrival;
        _started = StartTime{WallNow() - (SteadyNow() - next->arrival), ClockSource::Arrival};
        _liveClock->Connect(0);
    }
    if (!next->hole.empty() || next->facts != _facts) {
        _pending = std::move(next);
        _draining = true;
        avcodec_send_packet(_codec.get(), nullptr);  // what is still in it comes first
        return;
    }
    _newestArrival = next->arrival;
    Send(*next->packet);
}

// The decoder is empty, and the first packet behind the hole waits.
void Decoder::GoOnBehindHole() {
    LivePacket packet = std::move(*std::exchange(_pending, std::nullopt));
    if (packet.facts != _facts) {
        _liveClock->Connect(OnAxis(packet.arrival));
    }
    _hole = _hole.empty() ? packet.hole : _hole;
    _facts = std::move(packet.facts);
    _newestArrival = packet.arrival;  // not before: pictures of earlier packets have come since
    LoseCount();
    OpenCodec();
    if (_listener) {
        _listener->OnStream(_facts->Stream());
    }
    Send(*packet.packet);
}

void Decoder::AcceptLiveFrame() {
    const Ticks before = _time;
    const bool isFirst = _pictures == 0;
    _time = _liveClock->Next(TicksOf(_frame->best_effort_timestamp, _facts->timeBase), OnAxis(_newestArrival));
    const bool paused = _time - before > std::max(longestPause, 20 * NominalInterval());
    if (!isFirst && (paused || !_hole.empty())) {
        _gap = Gap{before, _time, _hole.empty() ? "the source sent no picture" : _hole};
        LoseCount();
    }
    _hole.clear();
}

std::optional<Gap> Decoder::TakeGap() {
    if (_gap || !_live || _pictures == 0 || !(_isOver || Interrupted())) {
        return std::exchange(_gap, std::nullopt);
    }
    const std::string trouble = std::exchange(_isOpenGapTaken, true) ? "" : _live->Trouble();
    return trouble.empty() ? std::nullopt : std::optional(Gap{_time, std::max(_time, OnAxis(SteadyNow())), trouble});
}

std::int64_t Decoder::DroppedPackets() const { return _live ? _live->Dropped() : 0; }

}  // namespace Video
