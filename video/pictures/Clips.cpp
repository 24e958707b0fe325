// When does a clip begin, grow and end?
//
// An event shows itself when its first pictures have passed: packets are kept from a keyframe on that lies the pre-roll
// back. Those of a running event are written at once, up to where it is known to reach: a long event needs no more memory
// than a short one. What follows waits, until the event goes on or is over.
#include "video/pictures/Clips.h"

#include <algorithm>
#include <limits>

#include "video/base/Clip.h"
#include "video/files/OutputPath.h"
#include "video/media/Libav.h"
#include "video/pictures/PacketRing.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Video {

Clips::Clips(const std::string& folder, const std::string& input, bool distinct, Ticks preRoll, Ticks interval)
    : _folder(folder), _input(input), _distinct(distinct), _preRoll(preRoll), _interval(interval) {}

void Clips::OnStream(const AVStream& stream) {
    BeginAgain();
    _timeBase = stream.time_base;
    _video.emplace(stream, _interval);
    _video->Check();
    _ring.emplace(_timeBase, mostBytes);
}

void Clips::OnPacket(const AVPacket& packet, std::int64_t number) {
    std::size_t size = 0;
    const std::uint8_t* extradata = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
    if (extradata && size > 0 && _video->ReplaceExtradata(extradata, size)) {
        BeginAgain();  // a clip has one description of its contents
    }
    _ring->Push(packet, number);
    if (_writer && !_isComplete && _ring->IsFull()) {
        WriteBefore(_ring->SettledEnd());
    }
    _ring->Trim(_now - _preRoll, _writer && !_isComplete ? _next : std::numeric_limits<std::int64_t>::max());
}

void Clips::OnPicture(const AVFrame& picture, std::int64_t packet, Ticks time) {
    _now = time;
    _video->SetSize(picture.width, picture.height);
    const bool leans = picture.pict_type == AV_PICTURE_TYPE_P || picture.pict_type == AV_PICTURE_TYPE_B;
    _ring->SetTime(packet, time, !leans);
}

// Packets to come cannot be joined to those that were.
void Clips::BeginAgain() {
    if (_ring && _writer && !_isComplete) {
        const std::int64_t end = _ring->EndOf(_limit);
        _ring->SettleBefore(end);
        WriteBefore(end);
    }
    _isComplete = true;
    if (_ring) {
        _ring.emplace(_timeBase, mostBytes);
    }
}

// Which event is it about?
void Clips::Change(const std::optional<Ticks>& start) {
    if (start != _event) {
        _writer.reset();
        _isComplete = false;
        _event = start;
    }
}

void Clips::Follow(const std::optional<Span>& running, int number) {
    Change(running ? std::optional(running->start) : std::nullopt);
    if (running) {
        Advance(*running, number, false);
    }
}

std::optional<Clip> Clips::Finish(const Span& event, int number) {
    Change(event.start);
    Advance(event, number, true);
    std::optional<Clip> clip;
    if (_writer) {
        _writer->Finish();
        clip = Clip{_writer->Path(), _writer->Start()};
    }
    Change(std::nullopt);
    return clip;
}

void Clips::Advance(const Span& event, int number, bool isOver) {
    _limit = event.end;
    if (isOver) {
        _ring->SettleBefore(_ring->BeginAfter(event.end));  // what has no picture yet lies in between
    }
    if (!_writer && !_isComplete) {
        Open(event, number);
    }
    if (_writer && !_isComplete) {
        const std::int64_t end = isOver ? EndWithoutGaps(event.end) : std::min(_ring->EndOf(event.end), _ring->SettledEnd());
        _ring->SettleBefore(end);
        WriteBefore(end);
    }
}

void Clips::Open(const Span& event, int number) {
    const std::optional<std::int64_t> key = _ring->KeyBefore(event.start);
    if (!key || *_ring->At(*key).time > event.end) {
        return;  // a keyframe may come yet
    }
    const std::string path = OutputPath(_folder, _input, _distinct, number, _video->Ending());
    _writer.emplace(path, _input, *_video, *_ring->At(*key).time);
    _next = *key;
    _shown = _writer->Start();
}

// A picture stored ahead of its turn may be shown behind the limit: those in between belong to the clip, too.
std::int64_t Clips::EndWithoutGaps(Ticks limit) const {
    limit = std::max(limit, _shown);
    std::int64_t end = _ring->EndOf(limit);
    for (std::int64_t number = _next; number < end; ++number) {
        limit = std::max(limit, _ring->At(number).time.value_or(limit));
        end = std::max(end, _ring->EndOf(limit));
    }
    return end;
}

// Pictures that are shown before the first one lean on what is not there.
void Clips::WriteBefore(std::int64_t end) {
    try {
        for (; _next < end; ++_next) {
            const KeptPacket& kept = _ring->At(_next);
            if (*kept.time >= _writer->Start()) {
                _writer->Write(*kept.packet, *kept.time);
                _shown = std::max(_shown, *kept.time);
            }
        }
    } catch (...) {
        _writer.reset();
        _isComplete = true;
        throw;
    }
}

}  // namespace Video
