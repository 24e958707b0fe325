// When is a live source given up, and what has it not shown?
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/LiveReader.h"
#include "video/media/PacketSource.h"
#include "video/time/PictureDating.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

class LiveSource : public PacketSource {
public:
    // first: a connection that was made with that patience.
    LiveSource(const std::string& url, const LiveLimits& limits, std::unique_ptr<Patience> patience, Connection first);

    bool IsLive() const override { return true; }
    std::shared_ptr<const StreamFacts> Facts() const override { return _facts; }
    std::unique_ptr<PictureDating> NewDating() const override;
    void AwaitPicture() override;

    // Waits for a tenth of a second at most.
    Reading Read(AVPacket& packet) override;

    const std::optional<StartTime>& Started() const override { return _started; }
    std::optional<Gap> OpenGap(Ticks last) const override;
    std::int64_t DroppedPackets() const override { return _reader.Dropped(); }
    std::string GaveUp() const override { return _gaveUp; }

private:
    const double _reconnect;                          // seconds
    const std::shared_ptr<const StreamFacts> _facts;  // of the first connection
    LiveReader _reader;
    std::optional<Ticks> _origin;  // ticks of the steady clock; when the first packet came
    std::optional<StartTime> _started;
    Ticks _awaitedSince = 0;  // ticks of the steady clock; when the next picture was asked for
    std::string _gaveUp;
};

}  // namespace Video
