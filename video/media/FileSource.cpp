// How is a file read to its end, and how does one notice that this is not where it ended once?
#include "video/media/FileSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/PipeReader.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

// What the plain file itself says before FFmpeg is asked; empty when there is nothing against it.
std::string Obstacle(const std::string& path) {
    namespace fs = std::filesystem;
    if (path == PipeReader::standardInput) {
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
    if (path != PipeReader::standardInput) {
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

FileSource::FileSource(const std::string& path, const std::function<void()>& onWait)
    : _path(path), _patience(std::make_unique<Patience>()) {
    Examine(path, Open(path, onWait));
}

FileSource::FileSource(const std::string& url, InputPointer input, std::unique_ptr<Patience> patience, Ticks silence)
    : _patience(std::move(patience)), _silence(silence) {
    _patience->Allow(_silence);
    Examine(url, std::move(input));
}

InputPointer FileSource::Open(const std::string& path, const std::function<void()>& onWait) {
    if (const std::string obstacle = Obstacle(path); !obstacle.empty() && !IsPattern(path)) {
        throw Failure(Concern::Input, "cannot open: " + obstacle);
    }
    TakeComplaint();
    InputPointer input = NewInput(*_patience);
    if (PipeReader::Reads(path)) {
        _pipe = std::make_unique<PipeReader>(path, *_patience, onWait);
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

// What the file promises, and where its video is.
void FileSource::Examine(const std::string& path, InputPointer input) {
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

std::unique_ptr<PictureDating> FileSource::NewDating() const {
    return std::make_unique<FileDating>(_origin, _facts->nominalInterval, _facts->overflow);
}

// Where times begin anew or are guessed, nobody knows what lies where without reading it all.
bool FileSource::IsSeekable() const {
    constexpr int unsure = AVFMT_TS_DISCONT | AVFMT_NOTIMESTAMPS;
    const bool isFile = !_path.empty() && !_pipe && _path != PipeReader::standardInput && !IsPattern(_path);
    return isFile && _origin && _input->pb && (_input->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0 &&
           (_input->iformat->flags & unsure) == 0;
}

// What a container says of its keyframes need not be true, and there is no way back but a new beginning: another one tries.
bool FileSource::SkipTo(Ticks time) {
    if (!IsSeekable()) {
        return false;
    }
    FileSource trial(_path);
    const bool isSure = trial.GoTo(time) && trial.LandsBefore(time);
    TakeComplaint();
    return isSure && GoTo(time);
}

// A second of margin: what is shown first need not have been stored first, nor need it be whole.
bool FileSource::GoTo(Ticks time) {
    const std::int64_t target = av_rescale_q(time - oneSecond + *_origin, tickBase, _stream->time_base);
    return time > oneSecond && av_seek_frame(_input.get(), _stream->index, target, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool FileSource::LandsBefore(Ticks time) {
    const PacketPointer packet = NewPacket();
    Reading reading;
    while ((reading = Read(*packet)).kind == Reading::Kind::Nothing && reading.damage.empty()) {
    }
    const std::optional<Ticks> shown =
        TicksOf(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts, _stream->time_base);
    return reading.kind == Reading::Kind::Packet && (packet->flags & AV_PKT_FLAG_KEY) != 0 && shown &&
           *shown - *_origin <= time - oneSecond;
}

Reading FileSource::Read(AVPacket& packet) {
    if (_silence > 0) {
        _patience->Allow(_silence);
    }
    const int result = av_read_frame(_input.get(), &packet);
    if (result == AVERROR_EOF) {
        return {.kind = Reading::Kind::End};
    }
    if (result == AVERROR_EXIT) {  // the user has had enough, or all have
        const std::string silence = "nothing has come for " + std::to_string(_silence / oneSecond) + " s";
        return {.kind = Reading::Kind::Over, .damage = Interrupted() ? "" : silence};
    }
    if (result < 0) {
        return {.kind = Reading::Kind::Nothing, .damage = ErrorText(result)};
    }
    if (packet.stream_index != _stream->index) {
        av_packet_unref(&packet);
        return {.kind = Reading::Kind::Nothing};
    }
    _packetEnd = packet.pos + packet.size;
    const bool isCut = (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
    return {.kind = Reading::Kind::Packet, .damage = isCut ? "incomplete packet" : "", .facts = _facts};
}

Ticks FileSource::SeekableLength() const {
    const bool goesBack = !_pipe && _silence == 0 && _input->pb && (_input->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    return goesBack ? TicksOf(_input->duration, av_get_time_base_q()).value_or(0) : 0;
}

bool FileSource::Seek(Ticks time) {
    const std::int64_t stamp = av_rescale_q(time + _origin.value_or(0), tickBase, _stream->time_base);
    return av_seek_frame(_input.get(), _stream->index, stamp, AVSEEK_FLAG_BACKWARD) >= 0;
}

double FileSource::Progress(Ticks time) const {
    if (_input->duration > 0) {
        const Ticks duration = av_rescale_q(_input->duration, av_get_time_base_q(), tickBase);
        return std::clamp(static_cast<double>(time) / static_cast<double>(duration), 0.0, 1.0);
    }
    const std::int64_t size = _input->pb ? avio_size(_input->pb) : 0;
    return size > 0 ? std::clamp(static_cast<double>(avio_tell(_input->pb)) / static_cast<double>(size), 0.0, 1.0) : 0.0;
}

std::string FileSource::EndError() const { return _input->pb && _input->pb->error < 0 ? ErrorText(_input->pb->error) : ""; }

std::string FileSource::Shortfall(Ticks end, const std::string& complaint) const {
    // A file may be longer than its video: then a complaint has to tell that this one is not.
    const Ticks tolerance = 3 * _facts->nominalInterval;
    if (_promised - end > std::max(oneSecond, tolerance)) {
        return "ends early, its header promises " + std::to_string(_promised / oneSecond) + " s";
    }
    if (!complaint.empty() && _promisedByFile - end > tolerance) {
        return complaint;
    }
    return EndsWithinPicture() ? "ends within a picture" : "";
}

// Raw video has nothing behind its last picture, and no header that tells how many there are.
bool FileSource::EndsWithinPicture() const {
    const bool raw = std::string_view(_input->iformat->name) == "yuv4mpegpipe";
    return raw && _input->pb && avio_size(_input->pb) > _packetEnd;
}

}  // namespace Video
