// What does an event look like in the video itself?  Cuts a clip of every event out of the stored packets while they come.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "video/base/Clip.h"
#include "video/media/Libav.h"
#include "video/media/PacketListener.h"
#include "video/pictures/ClipWriter.h"
#include "video/pictures/PacketRing.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Video {

class Clips : public PacketListener {
public:
    // Stored video kept in memory for events that may come: beyond this, what has waited longest is given up.
    static constexpr std::size_t mostBytes = std::size_t{256} << 20;

    // folder: for the clips. distinct: as OutputPath takes it. interval: ticks between two pictures.
    Clips(const std::string& folder, const std::string& input, bool distinct, Ticks preRoll, Ticks interval);

    void OnStream(const AVStream& stream) override;
    void OnPacket(const AVPacket& packet, std::int64_t number) override;

    // The next picture, in the order of showing; packet: that it was stored in.
    void OnPicture(const AVFrame& picture, std::int64_t packet, Ticks time);

    // The running event as far as it is known, rolls included, and the number that it will have. Called once per analysed
    // frame. Absent, or another start than before: the one before was dropped, and so is its clip.
    void Follow(const std::optional<Span>& running, int number);

    // The running event is over. Its clip is complete; absent: there was no keyframe to begin with.
    std::optional<Clip> Finish(const Span& event, int number);

private:
    void BeginAgain();
    void Change(const std::optional<Ticks>& start);
    void Open(const Span& event, int number);
    std::int64_t EndWithoutGaps(Ticks limit) const;
    void WriteBefore(std::int64_t end);
    void Advance(const Span& event, int number, bool isOver);

    const std::string _folder;
    const std::string _input;
    const bool _distinct;
    const Ticks _preRoll;
    const Ticks _interval;
    std::optional<StoredVideo> _video;
    std::optional<PacketRing> _ring;
    AVRational _timeBase = {0, 1};      // of the packets
    Ticks _now = 0;                     // newest picture
    std::optional<Ticks> _event;        // start of the running event; absent: there is none
    Ticks _limit = 0;                   // end of the running event as far as it is known
    std::optional<ClipWriter> _writer;  // of its clip
    bool _isComplete = false;           // no further packet belongs into its clip
    std::int64_t _next = 0;             // packet to write into it
    Ticks _shown = 0;                   // latest picture written into it
};

}  // namespace Video
