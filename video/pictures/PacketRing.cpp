// How are packets kept, dated and let go?
#include "video/pictures/PacketRing.h"

#include <algorithm>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr Ticks longestGuess = 10 * oneSecond;  // neighbours further apart tell nothing about each other

// By how much the file shows b later than a, where it tells and that is plausible.
std::optional<Ticks> Between(const AVPacket& a, const AVPacket& b, AVRational base) {
    if (a.pts == AV_NOPTS_VALUE || b.pts == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    const Ticks distance = av_rescale_q(b.pts - a.pts, base, tickBase);
    return distance > -longestGuess && distance < longestGuess ? std::optional(distance) : std::nullopt;
}

}  // namespace

void PacketRing::Push(const AVPacket& packet, std::int64_t number) {
    if (_packets.empty()) {
        _first = number;
    }
    KeptPacket kept{NewPacket(), number};
    if (av_packet_ref(kept.packet.get(), &packet) < 0) {
        throw std::bad_alloc();
    }
    if (kept.IsKey()) {
        _keys.push_back(number);
    }
    _bytes += static_cast<std::size_t>(packet.size);
    _packets.push_back(std::move(kept));
}

void PacketRing::SetTime(std::int64_t number, Ticks time, bool isWhole) {
    if (number >= _first && number < End()) {
        KeptPacket& packet = _packets[Index(number)];
        if (!packet.time || packet.isGuess) {
            packet.time = time;
            packet.isGuess = false;
            packet.isPartial = packet.IsKey() && !isWhole;
        }
    }
    _lastShown = std::max(_lastShown, number);
    while (_settled < _packets.size() && (_packets[_settled].time || _lastShown >= SettledEnd() + deepestReorder)) {
        SettleBefore(SettledEnd() + 1);
    }
}

void PacketRing::SettleBefore(std::int64_t number) {
    for (; SettledEnd() < std::min(number, End()); ++_settled) {
        if (!_packets[_settled].time) {
            Guess(_settled);
        }
    }
}

// Damaged, hidden by an edit list, or a picture that only others refer to: a neighbour's time tells about when it was.
void PacketRing::Guess(std::size_t index) {
    KeptPacket& packet = _packets[index];
    packet.isGuess = true;
    if (index > 0) {
        const KeptPacket& before = _packets[index - 1];
        packet.time = *before.time + Between(*before.packet, *packet.packet, _timeBase).value_or(0);
        return;
    }
    for (std::size_t i = 1; i < _packets.size() && !packet.time; ++i) {
        if (const KeptPacket& behind = _packets[i]; behind.time) {
            packet.time = *behind.time - Between(*packet.packet, *behind.packet, _timeBase).value_or(0);
        }
    }
    packet.time = packet.time.value_or(0);
}

void PacketRing::Trim(Ticks start, std::int64_t unwritten) {
    DropBefore(std::min(unwritten, _keys.empty() ? End() : KeyBefore(start).value_or(_keys.front())));
    while (IsFull() && !_packets.empty() && _first < unwritten) {
        const auto next = std::upper_bound(_keys.begin(), _keys.end(), _first);
        DropBefore(std::min(unwritten, next == _keys.end() ? End() : *next));
    }
}

void PacketRing::DropBefore(std::int64_t number) {
    for (; _first < number && !_packets.empty(); ++_first) {
        _bytes -= static_cast<std::size_t>(_packets.front().packet->size);
        _packets.pop_front();
        _settled -= std::min<std::size_t>(_settled, 1);
    }
    while (!_keys.empty() && _keys.front() < _first) {
        _keys.pop_front();
    }
}

std::optional<std::int64_t> PacketRing::KeyBefore(Ticks start) const {
    std::optional<std::int64_t> best, before;
    for (const std::int64_t key : _keys) {
        const std::optional<Ticks> time = At(key).time;
        if (time && best && *time > start) {
            break;
        }
        if (time) {
            before = std::exchange(best, key);
        }
    }
    return best && At(*best).isPartial && before ? before : best;
}

std::int64_t PacketRing::EndOf(Ticks limit) const {
    std::int64_t end = End();
    while (end > _first && At(end - 1).time.value_or(limit + 1) > limit) {
        --end;
    }
    return end;
}

std::int64_t PacketRing::BeginAfter(Ticks limit) const {
    std::int64_t begin = EndOf(limit);
    while (begin < End() && !At(begin).time) {
        ++begin;
    }
    return begin;
}

}  // namespace Video
