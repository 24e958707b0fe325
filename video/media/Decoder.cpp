// How does a file become a row of pictures?  Called by Job through Decoder.h; Decoder-Live.cpp says it of live sources.
//
// Damage is noted and stepped over: a bad packet costs its pictures, not the rest of the file. The file is given up when
// nothing but errors has come for a long while.
#include "video/media/Decoder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/media/Connection.h"
#include "video/media/NonReferenceDiscard.h"
#include "video/media/Libav.h"
#include "video/media/LiveReader.h"
#include "video/media/PacketListener.h"
#include "video/time/GopStarts.h"
#include "video/media/PipeReader.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

constexpr const char* standardInput = "-";
constexpr int patience = 1000;  // errors in a row before the file is given up

// What the plain file itself says before FFmpeg is asked; empty when there is nothing against it.
std::string Obstacle(const std::string& path) {
    namespace fs = std::filesystem;
    if (path == standardInput) {
        return "";
    }
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        return error ? error.message() : std::strerror(ENOENT);
    }
    if (fs::is_directory(status)) {
        return "is a directory";
    }
    if (fs::is_regular_file(status) && fs::file_size(path, error) == 0 && !error) {
        return "is empty";
    }
    return "";
}

// A name is taken as a file's even where it contains a colon. Numbered pictures, "%05d.png", have no file of that name.
std::string UrlOf(const std::string& path) {
    if (path != standardInput) {
        return "file:" + path;
    }
    struct stat status = {};
    const bool isFile = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? "file:/dev/stdin" : "pipe:0";  // a file can be read back and forth
}

bool IsPattern(const std::string& path) { return path.find('%') != std::string::npos; }

// length: ticks, as the header says.
std::optional<StartTime> ContainerStart(const AVFormatContext& input, const AVStream& stream, Ticks length,
                                        const std::string& path) {
    for (const AVDictionary* metadata : {input.metadata, stream.metadata}) {
        const AVDictionaryEntry* entry = av_dict_get(metadata, "creation_time", nullptr, 0);
        const std::optional<WallTicks> created = entry ? ParseWallTime(entry->value) : std::nullopt;
        struct stat status = {};
        const bool isFile = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        if (created && CanBeStart(*created, length, isFile ? Ticks{status.st_mtim.tv_sec} * oneSecond : WallNow())) {
            return StartTime{*created, ClockSource::Container};
        }
    }
    return std::nullopt;
}

}  // namespace

Decoder::Decoder(const std::string& path, int threads, double reconnect) : _threads(threads), _reconnect(reconnect) {
    if (IsUrl(path) || IsCamera(path)) {
        OpenRemoteInput(path);
    } else {
        Examine(path, OpenFile(path));
    }
    OpenCodec();
    _clock.emplace(_facts->nominalInterval, _facts->overflow);
    _liveClock.emplace(_facts->nominalInterval);
    _numbers.emplace(_facts->nominalInterval);
}

Decoder::~Decoder() = default;

InputPointer Decoder::OpenFile(const std::string& path) {
    if (const std::string obstacle = Obstacle(path); !obstacle.empty() && !IsPattern(path)) {
        throw Failure(Concern::Input, "cannot open: " + obstacle);
    }
    TakeComplaint();
    InputPointer input = NewInput(*_patience);
    if (PipeReader::Reads(path)) {
        _pipe = std::make_unique<PipeReader>(path, *_patience);
        input->pb = _pipe->Context();
    }
    AVFormatContext* opened = input.release();  // freed by FFmpeg where it fails
    if (const int error = avformat_open_input(&opened, UrlOf(path).c_str(), nullptr, nullptr); error < 0) {
        throw Failure(Concern::Input, "cannot open: " + Explained(ErrorText(error)));
    }
    input.reset(opened);
    if (std::string_view(input->iformat->name) == "tty") {  // would draw any text as a picture
        throw Failure(Concern::Input, "cannot open: is text, not video");
    }
    return input;
}

// A download that has an end is a file like others; all else is live.
void Decoder::OpenRemoteInput(const std::string& url) {
    const LiveLimits limits{.reconnect = _reconnect};
    _patience->Allow(limits.silence);
    InputPointer input = OpenRemote(url, *_patience, _reconnect);
    if (url.starts_with("http") && ((input->pb && avio_size(input->pb) > 0) || input->duration > 0)) {
        _isDownload = true;
        _patience->Allow(LongestSilence());
        Examine(url, std::move(input));
        return;
    }
    Connection connection = FindVideo(std::move(input));
    _facts = connection.facts;
    _live = std::make_unique<LiveReader>(url, limits, std::move(_patience), std::move(connection));
}

// Of a download, as long as FFmpeg may try to take it up again.
Ticks Decoder::LongestSilence() const { return std::max(LiveLimits{}.silence, FromSeconds(_reconnect)); }

// What the file promises, and where its video is.
void Decoder::Examine(const std::string& path, InputPointer input) {
    // Only what the header itself says tells whether the file is complete; later on FFmpeg adds guesses of its own.
    _promisedByFile = TicksOf(input->duration, av_get_time_base_q()).value_or(0);
    std::vector<Ticks> promised(input->nb_streams, 0);
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVStream& stream = *input->streams[i];
        // In a truncated AVI, FFmpeg has shortened the duration already; its time base counts pictures.
        const bool countsPictures = std::string_view(input->iformat->name) == "avi" && stream.nb_frames > 0;
        promised[i] = TicksOf(countsPictures ? stream.nb_frames : stream.duration, stream.time_base).value_or(0);
    }
    Connection connection = FindVideo(std::move(input));
    _input = std::move(connection.input);
    _stream = connection.stream;
    _facts = connection.facts;
    const auto index = static_cast<std::size_t>(_stream->index);
    _promised = index < promised.size() ? promised[index] : 0;
    _origin = TicksOf(_input->start_time, av_get_time_base_q());
    _started = ContainerStart(*_input, *_stream, std::max(_promised, _promisedByFile), path);
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
    if (error >= 0) {
        error = avcodec_open2(_codec.get(), codec, nullptr);
    }
    if (error < 0) {
        throw Failure(Concern::Input, "cannot decode: " + Explained(ErrorText(error)));
    }
    _draining = false;
}

// Whether a picture is referred to is for the decoder to know; these tell it truly, whatever the encoder.
void Decoder::LeaveOutUnless(NonReferenceDiscard::Needed needed) {
    if (_live) {  // may stall or break at any time
        return;
    }
    const AVCodecID codec = _stream->codecpar->codec_id;
    const AVFieldOrder order = _stream->codecpar->field_order;
    const bool tells = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_MPEG4 || codec == AV_CODEC_ID_MPEG2VIDEO ||
                       codec == AV_CODEC_ID_MPEG1VIDEO;
    if (tells && (order == AV_FIELD_PROGRESSIVE || order == AV_FIELD_UNKNOWN)) {  // a packet may hold a single field
        _discard.emplace(std::move(needed));
    }
}

void Decoder::Tell(PacketListener& listener) {
    _listener = &listener;
    listener.OnStream(_facts->Stream());
}

void Decoder::ShowInstead(StandIn standIn) {
    _standIn = std::move(standIn);
    LoseCount();
}

void Decoder::ShowGroupStarts() {
    _startsOnly = true;
    LoseCount();
}

bool Decoder::Next() {
    _askedAt = SteadyTicks(std::chrono::steady_clock::now());
    while (_live || _failuresInARow < patience) {
        const int result = avcodec_receive_frame(_codec.get(), _frame.get());
        if (result == AVERROR_EOF && _emptying) {
            avcodec_flush_buffers(_codec.get());
            _emptying = _fed = false;
            continue;
        }
        if (result == AVERROR_EOF && _pending) {
            GoOnBehindHole();
            continue;
        }
        if (result == AVERROR_EOF || _isOver) {
            break;
        }
        if (result == AVERROR(EAGAIN) && _instead) {
            _frame = std::move(_instead);
            AcceptFrame();
            return true;
        }
        if (result == AVERROR(EAGAIN)) {
            _live ? FeedLive() : Feed();
        } else if (result < 0) {
            NoteDamage(ErrorText(result));
        } else if (_frame->width > 0 && _frame->height > 0) {
            AcceptFrame();
            return true;
        }
    }
    if (_discard) {
        CountLeftOut(_discard->DiscardedAtEnd());
    }
    _time = std::max(_time, _reached);
    CheckEnd();
    return false;
}

// Gives the decoder the next packet of the video, or tells it that there is none.
void Decoder::Feed() {
    if (_draining) {  // a decoder that neither delivers nor ends
        ++_failuresInARow;
        return;
    }
    if (_isDownload) {
        _patience->Allow(LongestSilence());
    }
    const int result = av_read_frame(_input.get(), _packet.get());
    if (result == AVERROR_EOF) {
        _draining = true;
        avcodec_send_packet(_codec.get(), nullptr);
        return;
    }
    if (result == AVERROR_EXIT) {  // the user has had enough, or all have
        if (!Interrupted()) {
            NoteDamage("nothing has come for " + std::to_string(LongestSilence() / oneSecond) + " s");
        }
        _isOver = true;
        return;
    }
    if (result < 0) {
        NoteDamage(ErrorText(result));
        return;
    }
    if (_packet->stream_index == _stream->index) {
        if (!_firstDecoding) {
            _firstDecoding = TicksOf(_packet->dts, _stream->time_base);
        }
        _packetEnd = _packet->pos + _packet->size;
        if ((_packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
            NoteDamage("incomplete packet");
        }
        Send(*_packet);
    }
    av_packet_unref(_packet.get());
}

// Does the packet belong to what is not decoded?  Asks for every group that begins.
bool Decoder::IsPassedBy(const AVPacket& packet, std::int64_t number) {
    const std::optional<Ticks> time = TicksOf(packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts, _facts->timeBase);
    const bool begins = (packet.flags & AV_PKT_FLAG_KEY) != 0 && time && _gops.Begins(*time);
    if (begins && _standIn) {
        _instead = _standIn(*time);
        _unanchored = _unanchored || (_passing && !_instead);
        _passing = _instead != nullptr;
        if (_instead) {
            _instead->reordered_opaque = number;  // another decoder's until now
        }
        if (_passing && _fed) {
            _emptying = true;
            avcodec_send_packet(_codec.get(), nullptr);
        }
    }
    const bool isPassedBy = _passing || (_startsOnly && !begins);
    if (isPassedBy && !begins) {  // the first one is shown
        ++_passedBy;
        _reached = std::max(_reached, time.value_or(0) + _later);
    }
    return isPassedBy;
}

// Of the packet that is about to be decoded.
void Decoder::ChooseDiscard(const AVPacket& packet) {
    const bool cutAway = (packet.flags & AV_PKT_FLAG_DISCARD) != 0;  // by a list of edits: never shown, never counted
    const std::optional<Ticks> decoded = TicksOf(packet.dts, _facts->timeBase);
    bool may = false;
    if (_discard && (cutAway || _unanchored)) {  // which ones will be asked for, the first one shown tells
        _discard->Pass(decoded);
    } else if (_discard) {
        may = _discard->MayDiscard(TicksOf(packet.pts, _facts->timeBase), decoded, _later);
    }
    _codec->skip_frame = may ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
}

void Decoder::Send(const AVPacket& packet) {
    if (_listener) {
        _listener->OnPacket(packet, _packets);
    }
    const std::int64_t number = _packets++;
    if (!_live && IsPassedBy(packet, number)) {
        if (_discard) {
            _discard->Pass(TicksOf(packet.dts, _facts->timeBase));
        }
        return;
    }
    if (!_live) {
        ChooseDiscard(packet);
    }
    _fed = true;
    _codec->reordered_opaque = number;
    const int sent = avcodec_send_packet(_codec.get(), &packet);
    if (sent < 0 && sent != AVERROR(EAGAIN)) {
        NoteDamage(ErrorText(sent));
    }
}

// When the file shows this picture; absent where it does not say.
std::optional<Ticks> Decoder::Presented() {
    const std::optional<Ticks> time = TicksOf(_frame->best_effort_timestamp, _facts->timeBase);
    if (!time) {
        return time;
    }
    if (_pictures == 0 && _frame->pts == AV_NOPTS_VALUE) {  // AVI: there are times of decoding only
        _decodedLate = std::max<Ticks>(0, *time - _firstDecoding.value_or(*time));
    }
    _origin = _origin ? _origin : *time - _decodedLate;
    return *time - _decodedLate;
}

// times: ticks of the file.
void Decoder::CountLeftOut(const std::vector<Ticks>& times) {
    for (const Ticks time : times) {
        _time = _clock->Next(time - _origin.value_or(0));
        ++_pictures;
        _numbers->Count(_time);
    }
}

void Decoder::AcceptFrame() {
    _failuresInARow = 0;
    _unanchored = _unanchored && _passing;
    const std::optional<Ticks> presented = Presented();
    if (_discard && presented) {
        CountLeftOut(_discard->DiscardedBefore(*presented));
    }
    if (_live) {
        AcceptLiveFrame();
    } else {
        _time = _clock->Next(presented ? std::optional(*presented - *_origin) : std::nullopt);
        _later = _time - presented.value_or(_time);
    }
    ++_pictures;
    if (_frame->decode_error_flags != 0 || (_frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
        NoteDamage("damaged picture");
        _failuresInARow = 0;
    }
    if (!presented && !_draining) {  // at the end, times of decoding simply run out
        LoseCount();
    }
    _numbers->Count(_time);
}

// The file is over: did it end where it should?
void Decoder::CheckEnd() {
    if (_live || Interrupted() || _failuresInARow >= patience) {
        return;  // noted already
    }
    if (_input->pb && _input->pb->error < 0) {
        NoteDamage(ErrorText(_input->pb->error));
    }
    if (_pictures == 0) {
        NoteDamage("no picture could be decoded");
    }
    const std::string complaint = TakeComplaint();
    if (_damage.count > 0 || _clock->Restarts() > 0) {
        return;
    }
    // A file may be longer than its video: then a complaint has to tell that this one is not.
    const Ticks end = _time + NominalInterval();
    const Ticks tolerance = 3 * NominalInterval();
    if (_promised - end > std::max(oneSecond, tolerance)) {
        NoteDamage("ends early, its header promises " + std::to_string(_promised / oneSecond) + " s");
    } else if (!_standIn && !complaint.empty() && _promisedByFile - end > tolerance) {
        NoteDamage(complaint);
    } else if (EndsWithinPicture()) {
        NoteDamage("ends within a picture");
    }
}

// Raw video has nothing behind its last picture, and no header that tells how many there are.
bool Decoder::EndsWithinPicture() const {
    const bool raw = std::string_view(_input->iformat->name) == "yuv4mpegpipe";
    return raw && _input->pb && avio_size(_input->pb) > _packetEnd;
}

// Numbers are approximate from here. Whatever leaves out pictures of the input, on purpose or not, calls this first.
void Decoder::LoseCount() {
    if (_numbers) {
        _numbers->Lose();
    }
}

void Decoder::NoteDamage(const std::string& what) {
    ++_failuresInARow;
    LoseCount();
    if (_live) {  // comes and goes; the source is as it is
        return;
    }
    if (_damage.count++ == 0) {
        _damage.what = Explained(what);
        _damage.time = _time;
    }
}

double Decoder::Progress() const {
    if (_live) {
        return 0;
    }
    if (_input->duration > 0) {
        const Ticks duration = av_rescale_q(_input->duration, av_get_time_base_q(), tickBase);
        return std::clamp(static_cast<double>(_time) / static_cast<double>(duration), 0.0, 1.0);
    }
    const std::int64_t size = _input->pb ? avio_size(_input->pb) : 0;
    return size > 0 ? std::clamp(static_cast<double>(avio_tell(_input->pb)) / static_cast<double>(size), 0.0, 1.0) : 0.0;
}

}  // namespace Video
