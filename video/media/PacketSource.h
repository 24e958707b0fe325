// Where do the packets of a video come from?  From a file, or from a source that sends them as it happens.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/time/PictureDating.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

// What came of asking for the next packet.
struct Reading {
    enum class Kind {
        Packet,   // here it is
        Nothing,  // none so far: ask again
        End,      // there is none, and those before it were all
        Over      // none is wanted, or to be had: do not wait for the pictures of those before it either
    };
    Kind kind = Kind::Nothing;
    std::string damage = "";                             // what was wrong; empty: nothing
    std::shared_ptr<const StreamFacts> facts = nullptr;  // of the packet's stream; others than before: a new connection
    Ticks arrival = 0;                                   // of live sources: of the packet, on the axis of the results
    std::string hole = "";                               // why packets before it are missing; empty: they are not
};

class PacketSource {
public:
    virtual ~PacketSource() = default;

    // Does it come as it happens, without an end?  Then errors come and go: they do not end it, and are not its damage.
    virtual bool IsLive() const = 0;

    // Of the first packet's stream.
    virtual std::shared_ptr<const StreamFacts> Facts() const = 0;

    // Says when its pictures are shown.
    virtual std::unique_ptr<PictureDating> NewDating() const = 0;

    // Before the first packet: goes on at a keyframe not behind this time of the results. False: it cannot, and stays.
    virtual bool SkipTo(Ticks) { return false; }

    // From here until the next call, packets are read for one picture.
    virtual void AwaitPicture() {}

    // The video's next packet. packet: blank; it holds something afterwards where the answer says so only.
    virtual Reading Read(AVPacket& packet) = 0;

    // Wall clock at time 0; absent where nothing says so believably.
    virtual const std::optional<StartTime>& Started() const = 0;

    // How far one can go in it: ticks; 0: it is read once, from its beginning to its end.
    virtual Ticks SeekableLength() const { return 0; }

    // Goes on with the keyframe at or before this time. Called before the first packet is read. False: it is where it was.
    virtual bool Seek(Ticks) { return false; }

    // How much of it has been read, 0 to 1. time: of the newest picture.
    virtual double Progress(Ticks) const { return 0; }

    // Once it has ended: why the last bytes could not be read; empty: they could.
    virtual std::string EndError() const { return ""; }

    // Once it has ended: did it end too early?  end: of the last picture. complaint: what FFmpeg said meanwhile, if that
    // counts; it does not make a reason by itself. Empty: it is whole.
    virtual std::string Shortfall(Ticks, const std::string&) const { return ""; }

    // The hole that lasts until now. last: time of the last picture.
    virtual std::optional<Gap> OpenGap(Ticks) const { return std::nullopt; }

    virtual std::int64_t DroppedPackets() const { return 0; }  // that came faster than they were asked for
    virtual std::string GaveUp() const { return ""; }          // why nothing more is expected; empty: it is, or was the end
};

// Opens a file or source and finds its first video stream. "-": the standard input.
//   reconnect  seconds for which a live source that breaks is tried again
//   onWait     called once where it is a pipe to which nobody writes yet
// Throws Failure with one line that says what is wrong.
std::unique_ptr<PacketSource> OpenSource(const std::string& path, double reconnect = 0,
                                         const std::function<void()>& onWait = {});

}  // namespace Video
