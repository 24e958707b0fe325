// How does a file become a row of pictures?  Called by Job through Decoder.h.
//
// Damage is noted and stepped over: a bad packet costs its pictures, not the rest of the file. The file is given up when
// nothing but errors has come for a long while.
#include "Decoder.h"

#include <algorithm>
#include <cerrno>
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

#include "Failure.h"

namespace Scan {

namespace {

constexpr AVRational tickBase = {1, static_cast<int>(oneSecond)};
constexpr const char* standardInput = "-";
constexpr int patience = 1000;                     // errors in a row before the file is given up
constexpr AVRational usualRate = {25, 1};          // where the file does not say
constexpr double lowestRate = 0.01, highestRate = 480;     // pictures per second; outside: the file does not know

bool IsPlausible(AVRational rate) {
    return rate.num > 0 && rate.den > 0 && av_q2d(rate) >= lowestRate && av_q2d(rate) <= highestRate;
}

AVRational NominalRate(const AVStream& stream) {
    for (const AVRational rate : {stream.avg_frame_rate, stream.r_frame_rate}) {
        if (IsPlausible(rate)) {
            return rate;
        }
    }
    return usualRate;
}

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
    return isFile ? "file:/dev/stdin" : "pipe:0";                  // a file can be read back and forth
}

bool IsPattern(const std::string& path) {
    return path.find('%') != std::string::npos;
}

// Absent: not given, or beyond any calendar.
std::optional<Ticks> TicksOf(std::int64_t time, AVRational base) {
    constexpr Ticks limit = Ticks{1} << 60;
    const Ticks ticks = time == AV_NOPTS_VALUE ? limit : av_rescale_q(time, base, tickBase);
    return ticks > -limit && ticks < limit ? std::optional(ticks) : std::nullopt;
}

// Ticks after which the stream's count of time overflows; 0: never.
Ticks OverflowPeriod(const AVStream& stream) {
    constexpr Ticks shortest = 600 * oneSecond;
    if (stream.pts_wrap_bits >= 63) {
        return 0;
    }
    const Ticks period = TicksOf(std::int64_t{1} << stream.pts_wrap_bits, stream.time_base).value_or(0);
    return period > shortest ? period : 0;
}

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

// With what FFmpeg said about it, if it did.
std::string Explained(const std::string& what) {
    const std::string detail = TakeComplaint();
    return detail.empty() ? what : what + " (" + detail + ")";
}

}  // namespace

Decoder::Decoder(const std::string& path, int threads) {
    OpenInput(path);
    OpenCodec(threads);
    const AVRational rate = NominalRate(*_stream);
    _nominalInterval = std::max<Ticks>(1, av_rescale_q(1, av_inv_q(rate), tickBase));
    _sampleAspect = av_guess_sample_aspect_ratio(_input.get(), _stream, nullptr);
    _clock.emplace(_nominalInterval, OverflowPeriod(*_stream));
    _numbers.emplace(_nominalInterval);
    _started = ContainerStart(*_input, *_stream, std::max(_promised, _promisedByFile), path);
}

void Decoder::OpenInput(const std::string& path) {
    if (const std::string obstacle = Obstacle(path); !obstacle.empty() && !IsPattern(path)) {
        throw Failure(exitFailed, "cannot open: " + obstacle);
    }
    TakeComplaint();
    AVFormatContext* opened = nullptr;
    if (const int error = avformat_open_input(&opened, UrlOf(path).c_str(), nullptr, nullptr); error < 0) {
        throw Failure(exitFailed, "cannot open: " + Explained(ErrorText(error)));
    }
    _input.reset(opened);
    if (std::string_view(_input->iformat->name) == "tty") {        // would draw any text as a picture
        throw Failure(exitFailed, "cannot open: is text, not video");
    }

    // Only what the header itself says tells whether the file is complete; later on FFmpeg adds guesses of its own.
    _promisedByFile = TicksOf(_input->duration, av_get_time_base_q()).value_or(0);
    std::vector<Ticks> promised(_input->nb_streams, 0);
    for (unsigned i = 0; i < _input->nb_streams; ++i) {
        const AVStream& stream = *_input->streams[i];
        // In a truncated AVI, FFmpeg has shortened the duration already; its time base counts pictures.
        const bool countsPictures = std::string_view(_input->iformat->name) == "avi" && stream.nb_frames > 0;
        promised[i] = TicksOf(countsPictures ? stream.nb_frames : stream.duration, stream.time_base).value_or(0);
    }
    if (const int error = avformat_find_stream_info(_input.get(), nullptr); error < 0) {
        throw Failure(exitFailed, "cannot read: " + Explained(ErrorText(error)));
    }
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(_input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index == AVERROR_DECODER_NOT_FOUND) {
        throw Failure(exitFailed, "there is no decoder for its video");
    }
    if (index < 0 || (_input->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw Failure(exitFailed, "contains no video");
    }
    for (unsigned i = 0; i < _input->nb_streams; ++i) {
        _input->streams[i]->discard = i == static_cast<unsigned>(index) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    _stream = _input->streams[index];
    _promised = static_cast<std::size_t>(index) < promised.size() ? promised[static_cast<std::size_t>(index)] : 0;
    _origin = TicksOf(_input->start_time, av_get_time_base_q());
    TakeComplaint();                                               // probing complains about what turns out well
}

void Decoder::OpenCodec(int threads) {
    const AVCodec* codec = avcodec_find_decoder(_stream->codecpar->codec_id);
    _codec.reset(avcodec_alloc_context3(codec));
    if (!_codec) {
        throw std::bad_alloc();
    }
    int error = avcodec_parameters_to_context(_codec.get(), _stream->codecpar);
    _codec->pkt_timebase = _stream->time_base;
    _codec->thread_count = threads;
    if (error >= 0) {
        error = avcodec_open2(_codec.get(), codec, nullptr);
    }
    if (error < 0) {
        throw Failure(exitFailed, "cannot decode: " + Explained(ErrorText(error)));
    }
}

// Whether a picture is referred to is for the decoder to know; these tell it truly, whatever the encoder.
void Decoder::LeaveOutUnless(LeftOut::Needed needed) {
    const AVCodecID codec = _stream->codecpar->codec_id;
    const AVFieldOrder order = _stream->codecpar->field_order;
    const bool tells = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_MPEG4 || codec == AV_CODEC_ID_MPEG2VIDEO ||
                       codec == AV_CODEC_ID_MPEG1VIDEO;
    if (tells && (order == AV_FIELD_PROGRESSIVE || order == AV_FIELD_UNKNOWN)) {       // a packet may hold a single field
        _leftOut.emplace(std::move(needed));
    }
}

void Decoder::Tell(PacketListener& listener) {
    _listener = &listener;
    listener.OnStream(*_stream);
}

bool Decoder::Next() {
    while (_failuresInARow < patience) {
        const int result = avcodec_receive_frame(_codec.get(), _frame.get());
        if (result == AVERROR_EOF) {
            break;
        }
        if (result == AVERROR(EAGAIN)) {
            Feed();
        } else if (result < 0) {
            NoteDamage(ErrorText(result));
        } else if (_frame->width > 0 && _frame->height > 0) {
            AcceptFrame();
            return true;
        }
    }
    if (_leftOut) {
        CountLeftOut(_leftOut->Rest());
    }
    CheckEnd();
    return false;
}

// Gives the decoder the next packet of the video, or tells it that there is none.
void Decoder::Feed() {
    if (_draining) {                                               // a decoder that neither delivers nor ends
        ++_failuresInARow;
        return;
    }
    const int result = av_read_frame(_input.get(), _packet.get());
    if (result == AVERROR_EOF) {
        _draining = true;
        avcodec_send_packet(_codec.get(), nullptr);
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
        ChooseDiscard();
        if (_listener) {
            _listener->OnPacket(*_packet, _packets);
        }
        _codec->reordered_opaque = _packets++;
        const int sent = avcodec_send_packet(_codec.get(), _packet.get());
        if (sent < 0 && sent != AVERROR(EAGAIN)) {
            NoteDamage(ErrorText(sent));
        }
    }
    av_packet_unref(_packet.get());
}

// Of the packet that is about to be decoded.
void Decoder::ChooseDiscard() {
    const bool cutAway = (_packet->flags & AV_PKT_FLAG_DISCARD) != 0;  // by a list of edits: never shown, never counted
    const bool may = _leftOut && !cutAway &&
                     _leftOut->May(TicksOf(_packet->pts, _stream->time_base), TicksOf(_packet->dts, _stream->time_base), _later);
    _codec->skip_frame = may ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
}

// When the file shows this picture; absent where it does not say.
std::optional<Ticks> Decoder::Presented() {
    const std::optional<Ticks> time = TicksOf(_frame->best_effort_timestamp, _stream->time_base);
    if (!time) {
        return time;
    }
    if (_pictures == 0 && _frame->pts == AV_NOPTS_VALUE) {         // AVI: there are times of decoding only
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
    const std::optional<Ticks> presented = Presented();
    if (_leftOut && presented) {
        CountLeftOut(_leftOut->Before(*presented));
    }
    _time = _clock->Next(presented ? std::optional(*presented - *_origin) : std::nullopt);
    _later = _time - presented.value_or(_time);
    ++_pictures;
    if (_frame->decode_error_flags != 0 || (_frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
        NoteDamage("damaged picture");
        _failuresInARow = 0;
    }
    if (!presented && !_draining) {                                // at the end, times of decoding simply run out
        LoseCount();
    }
    _numbers->Count(_time);
}

// The file is over: did it end where it should?
void Decoder::CheckEnd() {
    if (_failuresInARow >= patience) {
        return;                                                    // noted already
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
    const Ticks end = _time + _nominalInterval;
    const Ticks tolerance = 3 * _nominalInterval;
    if (_promised - end > std::max(oneSecond, tolerance)) {
        NoteDamage("ends early, its header promises " + std::to_string(_promised / oneSecond) + " s");
    } else if (!complaint.empty() && _promisedByFile - end > tolerance) {
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
    if (_damage.count++ == 0) {
        _damage.what = Explained(what);
        _damage.time = _time;
    }
}

double Decoder::Progress() const {
    if (_input->duration > 0) {
        const Ticks duration = av_rescale_q(_input->duration, av_get_time_base_q(), tickBase);
        return std::clamp(static_cast<double>(_time) / static_cast<double>(duration), 0.0, 1.0);
    }
    const std::int64_t size = _input->pb ? avio_size(_input->pb) : 0;
    return size > 0 ? std::clamp(static_cast<double>(avio_tell(_input->pb)) / static_cast<double>(size), 0.0, 1.0) : 0.0;
}

}  // namespace Scan
