// How do packets become a row of pictures?
//
// Damage is noted and stepped over: a bad packet costs its pictures, not the rest of the file. A file is given up when
// nothing but errors has come for a long while. Where the packets of a live source have a hole, decoding begins anew.
#include "video/media/Decoder.h"

#include <algorithm>
#include <new>
#include <utility>

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

constexpr int mostFailures = 1000;             // in a row, before a file is given up
constexpr Ticks longestPause = 5 * oneSecond;  // between two pictures of a live source; more is a hole

}  // namespace

Decoder::Decoder(std::unique_ptr<PacketSource> source, int threads, SelectionRules rules)
    : _source(std::move(source)),
      _facts(_source->Facts()),
      _threads(threads),
      _unfiltered(rules.unfiltered),
      _selection(_source->IsLive() ? SelectionRules{} : std::move(rules), _facts->Codec()),
      _dating(_source->NewDating()),
      _numbers(_facts->nominalInterval) {
    OpenCodec();
    if (_selection.MaySkip()) {
        _numbers.Lose();
    }
}

void Decoder::OpenCodec() {
    const AVCodec* codec = avcodec_find_decoder(_facts->Codec().codec_id);
    _codec.reset(avcodec_alloc_context3(codec));
    if (!_codec) {
        throw std::bad_alloc();
    }
    int error = avcodec_parameters_to_context(_codec.get(), &_facts->Codec());
    _codec->pkt_timebase = _facts->timeBase;
    _codec->thread_count = _threads;
    if (_unfiltered && codec && codec->id == AV_CODEC_ID_H264) {
        _codec->skip_loop_filter = AVDISCARD_ALL;
    }
    _codec->max_pixels = mostPixels;  // of later ones, too
    if (error >= 0) {
        error = avcodec_open2(_codec.get(), codec, nullptr);
    }
    if (error < 0) {
        throw Failure(Concern::Input, "cannot decode: " + Explained(ErrorText(error)));
    }
    _fed = _draining = false;
}

void Decoder::Tell(PacketListener& listener) {
    _listener = &listener;
    listener.OnStream(_facts->Stream());
}

void Decoder::CountWithin(Ticks begin, Ticks end) {
    _countsFrom = begin;
    _countsUntil = end;
    _wanted = begin;
    _numbers.BeginAt(begin);
}

void Decoder::SkipTo(Ticks time) {
    if (_source->SkipTo(time) && !_countsFrom) {
        _wanted = time;
        _numbers.Lose();
    }
}

const AVFrame& Decoder::Frame() const {
    if (_facts->turn.IsNone()) {
        return *_frame;
    }
    if (!_upright) {
        _upright = Video::Turned(*_frame, _facts->turn);
    }
    return *_upright;
}

bool Decoder::Next() {
    _upright.reset();
    _source->AwaitPicture();
    while (_source->IsLive() || _failuresInARow < mostFailures) {
        const int result = avcodec_receive_frame(_codec.get(), _frame.get());
        if (result == AVERROR_EOF && GoOn()) {
            continue;
        }
        if (result == AVERROR_EOF || _isOver) {
            break;
        }
        if (result == AVERROR(EAGAIN) && _standIn) {
            _frame = std::move(_standIn);
            Accept();
            return true;
        }
        if (result == AVERROR(EAGAIN)) {
            Feed();
        } else if (result < 0) {
            NoteDamage(ErrorText(result));
        } else if (_frame->width > 0 && _frame->height > 0) {
            Accept();
            return true;
        }
    }
    CountDiscarded(_selection.DiscardedAtEnd());
    _time = std::max(_time, _selection.SkippedUntil());
    CheckEnd();
    return false;
}

// What is still in the codec comes first.
void Decoder::Drain() {
    _draining = true;
    avcodec_send_packet(_codec.get(), nullptr);
}

// The codec is empty: does anything wait for that?
bool Decoder::GoOn() {
    if (_behind) {
        BeginAnew(*std::exchange(_behind, std::nullopt));
        return true;
    }
    if (_standIn) {
        avcodec_flush_buffers(_codec.get());
        _draining = _fed = false;
        return true;
    }
    return false;
}

// Gives the codec the next packet of the video, or tells it that there is none.
void Decoder::Feed() {
    if (_draining) {  // a codec that neither delivers nor ends
        ++_failuresInARow;
        return;
    }
    Reading reading = _source->Read(*_packet);
    if (!reading.damage.empty()) {
        NoteDamage(reading.damage);
    }
    switch (reading.kind) {
        case Reading::Kind::Packet:
            if (reading.hole.empty() && reading.facts == _facts) {
                Send(reading.arrival);
            } else {
                _behind = std::move(reading);
                Drain();
            }
            break;
        case Reading::Kind::Nothing: break;
        case Reading::Kind::End: Drain(); break;
        case Reading::Kind::Over: _isOver = true; break;
    }
}

// behind: of the first packet behind a hole, for which the codec was emptied.
void Decoder::BeginAnew(const Reading& behind) {
    if (behind.facts != _facts) {
        _dating->OnConnection(behind.arrival);
    }
    _hole = _hole.empty() ? behind.hole : _hole;
    _facts = behind.facts;
    _numbers.Lose();
    OpenCodec();
    if (_listener) {
        _listener->OnStream(_facts->Stream());
    }
    Send(behind.arrival);
}

// The packet that was read, or what is shown instead of it.
void Decoder::Send(Ticks arrival) {
    _dating->OnPacket(TicksOf(_packet->dts, _facts->timeBase), arrival);
    if (_listener) {
        _listener->OnPacket(*_packet, _packets);
    }
    const std::int64_t number = _packets++;
    PictureChoice choice = _selection.Choose(*_packet, _facts->timeBase, _later);
    if (choice.standIn) {
        _standIn = std::move(choice.standIn);
        _standIn->reordered_opaque = number;  // another decoder's until now
        if (_fed) {
            Drain();
        }
    }
    if (choice.decoding != PictureChoice::Decoding::Never) {
        const bool discards = choice.decoding == PictureChoice::Decoding::IfReference;
        _codec->skip_frame = discards ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        _codec->reordered_opaque = number;
        _fed = true;
        const int sent = avcodec_send_packet(_codec.get(), _packet.get());
        if (sent < 0 && sent != AVERROR(EAGAIN)) {
            NoteDamage(ErrorText(sent));
        }
    }
    av_packet_unref(_packet.get());
}

// The picture that has come is the next one to be shown.
void Decoder::Accept() {
    _failuresInARow = 0;
    const std::optional<Ticks> presented =
        _dating->Presented(TicksOf(_frame->best_effort_timestamp, _facts->timeBase), _frame->pts != AV_NOPTS_VALUE);
    CountDiscarded(_selection.Show(presented));
    const Ticks before = _time;
    _time = _dating->Next(presented);
    _later = _time - presented.value_or(_time);
    NoticeGap(before);
    CountPicture();
    if (_frame->decode_error_flags != 0 || (_frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
        NoteDamage("damaged picture");
        _failuresInARow = 0;
    }
    if (!presented && !_draining) {  // at the end, times of decoding simply run out
        _numbers.Lose();
    }
    _numbers.Count(_time);
}

void Decoder::CountPicture() { _pictures += _time >= _countsFrom.value_or(_time) && _time < _countsUntil ? 1 : 0; }

// Is something missing between the picture before and this one?  before: ticks, its time. Holes in a file are its own.
void Decoder::NoticeGap(Ticks before) {
    const bool paused = _source->IsLive() && _time - before > std::max(longestPause, 20 * NominalInterval());
    if (_pictures > 0 && (paused || !_hole.empty())) {
        _gap = Gap{before, _time, _hole.empty() ? "the source sent no picture" : _hole};
        _numbers.Lose();
    }
    _hole.clear();
}

// times: ticks, as the file counts.
void Decoder::CountDiscarded(const std::vector<Ticks>& times) {
    for (const Ticks time : times) {
        _time = _dating->Next(time);
        CountPicture();
        _numbers.Count(_time);
    }
}

std::optional<Gap> Decoder::TakeGap() {
    const bool isEnd = _pictures > 0 && (_isOver || Interrupted());
    if (!_gap && isEnd && !std::exchange(_isOpenGapTaken, true)) {
        return _source->OpenGap(_time);
    }
    return std::exchange(_gap, std::nullopt);
}

// The file is over: did it end where it should?
void Decoder::CheckEnd() {
    if (_source->IsLive() || Interrupted() || _failuresInARow >= mostFailures) {
        return;  // noted already
    }
    if (const std::string error = _source->EndError(); !error.empty()) {
        NoteDamage(error);
    }
    if (_pictures == 0) {
        NoteDamage("no picture could be decoded");
    }
    const std::string complaint = TakeComplaint();
    if (_damage.count > 0 || _dating->HasRestarted()) {
        return;
    }
    const std::string counting = _selection.MaySkip() ? "" : complaint;  // of skipped GOPs, nobody knows
    if (const std::string shortfall = _source->Shortfall(_time + NominalInterval(), counting); !shortfall.empty()) {
        NoteDamage(shortfall);
    }
}

// Numbers are approximate from there.
void Decoder::NoteDamage(const std::string& what) {
    ++_failuresInARow;
    const bool isUnwanted = _time < _wanted;  // of pictures that refer to what was left out
    if (!isUnwanted || !_countsFrom) {
        _numbers.Lose();
    }
    if (isUnwanted || _time >= _countsUntil) {
        return;
    }
    if (_source->IsLive()) {  // comes and goes; the source is as it is
        return;
    }
    if (_damage.count++ == 0) {
        _damage.what = Explained(what);
        _damage.time = _time;
    }
}

}  // namespace Video
