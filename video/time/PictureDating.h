// When is a picture shown, on the axis of the results?  A file's own times tell, mended where they are broken; those of a
// live source are held against their arrival.
//
// Pure: values in, values out.
#pragma once

#include <optional>

#include "video/time/Clock.h"
#include "video/time/LiveClock.h"
#include "video/time/TickTime.h"

namespace Video {

class PictureDating {
public:
    virtual ~PictureDating() = default;

    // A packet goes to the decoder. decoded: when it is to be decoded, ticks as the source counts; arrival: of live sources,
    // ticks on the axis of the results.
    virtual void OnPacket(std::optional<Ticks> decoded, Ticks arrival) = 0;

    // The next packet, which arrived then, is the first of a new connection.
    virtual void OnConnection(Ticks) {}

    // Presentation time of the next picture, ticks as the source counts. stamp: what the decoder says; isOwn: it is a
    // presentation time indeed, rather than a decoding time that had to stand in.
    virtual std::optional<Ticks> Presented(std::optional<Ticks> stamp, bool isOwn) = 0;

    // When the next picture is shown: ticks on the axis of the results, later than the one before. presented: what
    // Presented said.
    virtual Ticks Next(std::optional<Ticks> presented) = 0;

    // Did the source's own times begin anew?  Then they do not tell how much of it there was.
    virtual bool HasRestarted() const { return false; }
};

class FileDating : public PictureDating {
public:
    // origin: the file's time that counts as 0, ticks; absent: that of its first picture. Others as Clock takes them.
    FileDating(std::optional<Ticks> origin, Ticks nominalInterval, Ticks overflow)
        : _clock(nominalInterval, overflow), _origin(origin) {}

    void OnPacket(std::optional<Ticks> decoded, Ticks arrival) override;
    std::optional<Ticks> Presented(std::optional<Ticks> stamp, bool isOwn) override;
    Ticks Next(std::optional<Ticks> presented) override;
    bool HasRestarted() const override { return _clock.Restarts() > 0; }

private:
    Clock _clock;
    std::optional<Ticks> _origin;        // ticks; the file's time that counts as 0, absent until one is known
    std::optional<Ticks> _firstDecoded;  // ticks; the file's time at which its first packet is decoded
    Ticks _decodedLate = 0;              // ticks; the first picture shown, behind that
    bool _isFirst = true;                // no picture was shown so far
};

// Time 0 is when the first packet arrived.
class LiveDating : public PictureDating {
public:
    explicit LiveDating(Ticks nominalInterval) : _clock(nominalInterval) { _clock.Connect(0); }

    void OnPacket(std::optional<Ticks>, Ticks arrival) override { _newestArrival = arrival; }
    void OnConnection(Ticks arrival) override { _clock.Connect(arrival); }
    std::optional<Ticks> Presented(std::optional<Ticks> stamp, bool) override { return stamp; }
    Ticks Next(std::optional<Ticks> presented) override { return _clock.Next(presented, _newestArrival); }

private:
    LiveClock _clock;
    Ticks _newestArrival = 0;  // ticks; of the packet decoded last
};

}  // namespace Video
