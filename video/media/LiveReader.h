// What does a source send that does not wait for us?  Reads it in a thread of its own, connects anew when it breaks, and
// keeps a few seconds of packets at most: when the scan cannot keep up, it goes on with the next keyframe.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

struct LiveLimits {
    double reconnect = 60;              // seconds during which a broken source is tried again; 0: never
    Ticks silence = 10 * oneSecond;     // without data, after which a connection counts as broken
    Ticks firstWait = oneSecond / 2;    // before the first attempt to connect anew; doubles,
    Ticks longestWait = 2 * oneSecond;  // up to this
    Ticks mostDelay = 5 * oneSecond;    // between arrival and decoding
    std::size_t mostBytes = 64 << 20;   // waiting to be decoded
};

struct LivePacket {
    PacketPointer packet;
    Ticks arrival = 0;                         // ticks of the steady clock
    std::shared_ptr<const StreamFacts> facts;  // of its connection; another one: a new connection
    std::string hole = "";                     // why packets before it are missing; empty: they are not
};

class LiveReader {
public:
    // first: a connection that was made with that patience.
    LiveReader(const std::string& url, const LiveLimits& limits, std::unique_ptr<Patience> patience, Connection first);

    // Takes about a second at most.
    ~LiveReader();
    LiveReader(const LiveReader&) = delete;
    LiveReader& operator=(const LiveReader&) = delete;

    // The next packet; null when none came in time, or none will.
    std::optional<LivePacket> Take(Ticks longest);

    // Nothing more will come: it broke, and is not to be tried again.
    bool IsOver() const;

    // Why there is no connection now; empty: there is.
    std::string Trouble() const;

    std::int64_t Dropped() const;  // packets that the scan was too slow for

private:
    struct Shared;  // with the thread, which may outlive this for a moment
    std::shared_ptr<Shared> _shared;
};

}  // namespace Video
