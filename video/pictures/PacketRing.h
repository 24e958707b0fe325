// Which stored packets may a clip still need?  Those from a keyframe on, each with the time of its picture.
//
// Packets come in the order of decoding, pictures later and in the order of showing: a packet is settled once its picture
// has come, or so many later ones that it will not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

// Pictures may be shown this many packets later than they are stored, no more; twice H.264's and H.265's 16 reference
// pictures, for fields that come one by one.
inline constexpr std::int64_t deepestReorder = 32;

struct KeptPacket {
    PacketPointer packet;
    std::int64_t number;
    std::optional<Ticks> time = {};  // of its picture; where none has come: a guess, once settled
    bool isGuess = false;
    bool isPartial = false;  // a keyframe that holds a part of the picture only: the rest is refreshed behind it

    bool IsKey() const { return (packet->flags & AV_PKT_FLAG_KEY) != 0; }
};

class PacketRing {
public:
    // timeBase: of the packets. mostBytes: beyond this, Trim drops what it was asked to keep.
    PacketRing(AVRational timeBase, std::size_t mostBytes) : _timeBase(timeBase), _mostBytes(mostBytes) {}

    // Numbers rise by one.
    void Push(const AVPacket& packet, std::int64_t number);

    // A picture of this packet was shown. Later pictures of the same packet change nothing. isWhole: it leans on no other.
    void SetTime(std::int64_t number, Ticks time, bool isWhole = true);

    // Packets with smaller numbers count as settled, whether or not their pictures have come.
    void SettleBefore(std::int64_t number);

    // Drops what no clip needs that begins at `start` or later. Packets from `unwritten` on stay in any case.
    void Trim(Ticks start, std::int64_t unwritten);

    bool IsFull() const { return _bytes > _mostBytes; }

    // The last keyframe that is known to be shown by `start`, else the first whose time is known; absent: there is none.
    // Where it is partial, the one before: from there on, pictures are complete by `start`.
    std::optional<std::int64_t> KeyBefore(Ticks start) const;

    // Settled packets are those with smaller numbers.
    std::int64_t SettledEnd() const { return _first + static_cast<std::int64_t>(_settled); }

    // The packet behind the last one whose picture is known to be shown by `limit`; First: there is none.
    std::int64_t EndOf(Ticks limit) const;

    // The packet from there on whose picture is known to be shown later; End: there is none.
    std::int64_t BeginAfter(Ticks limit) const;

    // Precondition: First() <= number < End().
    const KeptPacket& At(std::int64_t number) const { return _packets[Index(number)]; }
    std::int64_t First() const { return _first; }
    std::int64_t End() const { return _first + static_cast<std::int64_t>(_packets.size()); }

private:
    std::size_t Index(std::int64_t number) const { return static_cast<std::size_t>(number - _first); }
    void Guess(std::size_t index);
    void DropBefore(std::int64_t number);

    AVRational _timeBase;
    std::size_t _mostBytes;
    std::deque<KeptPacket> _packets;  // numbers rise by one
    std::deque<std::int64_t> _keys;   // numbers of the keyframes among them
    std::int64_t _first = 0;          // number of the first packet, or of the next one to come
    std::size_t _settled = 0;         // packets, from the front
    std::int64_t _lastShown = -1;     // highest number of a packet whose picture has come
    std::size_t _bytes = 0;
};

}  // namespace Video
