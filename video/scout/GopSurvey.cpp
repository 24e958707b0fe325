// How are packets counted without being decoded?
#include "video/scout/GopSurvey.h"

#include <algorithm>
#include <utility>

#include "video/base/Interruption.h"

namespace Video {

namespace {

constexpr int mostFailures = 1000;  // of reading, in a row: as for a decoder

std::size_t PicturesIn(Ticks length, Ticks interval) {
    return static_cast<std::size_t>(std::max<Ticks>(1, (length + interval / 2) / interval));
}

}  // namespace

GopSurvey::GopSurvey(std::unique_ptr<PacketSource> source)
    : _source(std::move(source)),
      _timeBase(_source->Facts()->timeBase),
      _window(PicturesIn(oneSecond / 2, _source->Facts()->nominalInterval)) {}

std::int64_t GopSurvey::PromisedPictures() const { return _source->SeekableLength() / _source->Facts()->nominalInterval; }

// The next packet of the video. False: there is none.
bool GopSurvey::Read() {
    while (_failuresInARow < mostFailures && !Interrupted()) {
        const Reading reading = _source->Read(*_packet);
        if (reading.kind == Reading::Kind::Packet) {
            _failuresInARow = 0;
            return true;
        }
        if (reading.kind != Reading::Kind::Nothing) {
            return false;
        }
        _failuresInARow += reading.damage.empty() ? 0 : 1;
    }
    return false;
}

void GopSurvey::Add(std::int64_t bytes) {
    ++_running->pictures;
    _running->otherBytes += bytes;
    _newest.push_back(bytes);
    _newestBytes += bytes;
    if (_newest.size() > _window) {
        _newestBytes -= _newest.front();
        _newest.pop_front();
    }
    _running->burst = std::max(_running->burst, _newestBytes);
}

std::optional<StoredGop> GopSurvey::Next() {
    while (Read()) {
        const std::optional<Ticks> time = TicksOf(_packet->pts != AV_NOPTS_VALUE ? _packet->pts : _packet->dts, _timeBase);
        const bool isKey = (_packet->flags & AV_PKT_FLAG_KEY) != 0;
        const std::int64_t bytes = _packet->size;
        av_packet_unref(_packet.get());
        if (isKey && time && _starts.Begins(*time)) {
            const StoredGop next{.begin = *time, .pictures = 1, .keyBytes = bytes};
            std::optional<StoredGop> complete = std::exchange(_running, next);
            _newest.clear();
            _newestBytes = 0;
            if (complete) {
                complete->length = *time > complete->begin ? std::optional(*time - complete->begin) : std::nullopt;
                return complete;
            }
        } else if (_running) {  // what comes before the first one belongs to none
            Add(bytes);
        }
    }
    return std::exchange(_running, std::nullopt);
}

}  // namespace Video
