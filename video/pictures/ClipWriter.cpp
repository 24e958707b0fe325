// How is a container filled with packets of another?
//
// A packet's time is that of its picture as the scanner tells it, so that files with missing, doubled and broken times make
// sound clips, and a time within the clip is the event's less the clip's start.
#include "video/pictures/ClipWriter.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mathematics.h>
}

#include "video/base/Failure.h"
#include "video/media/Libav.h"
#include "video/pictures/PacketRing.h"
#include "video/time/TickTime.h"

namespace Video {

namespace {

// Raw pictures fit Matroska only in the way of AVI. Times are set here: the container shall not move them.
int WriteHeader(AVFormatContext& output) {
    AVDictionary* settings = nullptr;
    if (std::string_view(output.oformat->name) == "matroska") {
        av_dict_set(&settings, "allow_raw_vfw", "1", 0);
        av_dict_set(&settings, "avoid_negative_ts", "disabled", 0);
    }
    const int result = avformat_write_header(&output, &settings);
    av_dict_free(&settings);
    return result;
}

}  // namespace

StoredVideo::StoredVideo(const AVStream& stream, Ticks interval)
    : _parameters(avcodec_parameters_alloc()),
      _timeBase(stream.time_base),
      _frameRate(stream.avg_frame_rate),
      _interval(interval) {
    if (!_parameters || avcodec_parameters_copy(_parameters.get(), stream.codecpar) < 0) {
        throw std::bad_alloc();
    }
    if (stream.sample_aspect_ratio.num > 0) {  // the container's word counts; muxers want a single one
        _parameters->sample_aspect_ratio = stream.sample_aspect_ratio;
    }
    _parameters->width = std::max(_parameters->width, 1);  // may not be known before the first picture
    _parameters->height = std::max(_parameters->height, 1);
    const AVOutputFormat* format = av_guess_format(Container(), nullptr, nullptr);
    const AVCodecTag* const* names = format ? format->codec_tag : nullptr;
    unsigned other = 0;
    if (names && av_codec_get_id(names, _parameters->codec_tag) != _parameters->codec_id &&
        av_codec_get_tag2(names, _parameters->codec_id, &other) != 0) {
        _parameters->codec_tag = 0;  // only the input's container calls it that
    }
    for (int i = 0; i < stream.nb_side_data; ++i) {
        const AVPacketSideData& data = stream.side_data[i];
        _sideData.push_back({data.type, {data.data, data.data + data.size}});
    }
}

const char* StoredVideo::Container() const {
    const AVOutputFormat* mp4 = av_guess_format("mp4", nullptr, nullptr);
    return mp4 && avformat_query_codec(mp4, _parameters->codec_id, FF_COMPLIANCE_NORMAL) == 1 ? "mp4" : "matroska";
}

const char* StoredVideo::Ending() const { return std::string_view(Container()) == "mp4" ? ".mp4" : ".mkv"; }

void StoredVideo::Check() const {
    const OutputPointer output = NewOutput();
    const bool isReady = avio_open_dyn_buf(&output->pb) >= 0;
    const int result = isReady ? WriteHeader(*output) : AVERROR(ENOMEM);
    if (result >= 0) {
        av_write_trailer(output.get());  // frees what the header made
    }
    if (isReady) {
        std::uint8_t* content = nullptr;
        avio_close_dyn_buf(output->pb, &content);
        output->pb = nullptr;
        av_free(content);
    }
    const std::string complaint = TakeComplaint();
    if (result < 0) {
        const std::string why = complaint.empty() ? ErrorText(result) : complaint;
        throw Failure(Concern::Input, std::string("cannot cut clips: its video (") +
                                          avcodec_get_name(_parameters->codec_id) +
                                          ") fits neither MP4 nor Matroska: " + why);
    }
}

OutputPointer StoredVideo::NewOutput() const {
    AVFormatContext* made = nullptr;
    if (avformat_alloc_output_context2(&made, nullptr, Container(), nullptr) < 0) {
        throw std::bad_alloc();
    }
    OutputPointer output(made);
    output->flags |= AVFMT_FLAG_BITEXACT;  // equal videos make equal clips
    AVStream* stream = avformat_new_stream(made, nullptr);
    if (!stream || avcodec_parameters_copy(stream->codecpar, _parameters.get()) < 0) {
        throw std::bad_alloc();
    }
    stream->time_base = _timeBase;
    stream->sample_aspect_ratio = _parameters->sample_aspect_ratio;
    stream->avg_frame_rate = _frameRate;
    for (const SideData& data : _sideData) {
        std::uint8_t* copy = av_stream_new_side_data(stream, data.type, data.content.size());
        if (!copy) {
            throw std::bad_alloc();
        }
        std::copy(data.content.begin(), data.content.end(), copy);
    }
    return output;
}

void StoredVideo::SetSize(int width, int height) {
    _parameters->width = width;
    _parameters->height = height;
}

bool StoredVideo::ReplaceExtradata(const std::uint8_t* data, std::size_t size) {
    if (static_cast<std::size_t>(_parameters->extradata_size) == size &&
        std::equal(data, data + size, _parameters->extradata)) {
        return false;
    }
    av_freep(&_parameters->extradata);
    _parameters->extradata_size = 0;
    _parameters->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!_parameters->extradata) {
        throw std::bad_alloc();
    }
    std::copy_n(data, size, _parameters->extradata);
    _parameters->extradata_size = static_cast<int>(size);
    return true;
}

ClipWriter::ClipWriter(const std::string& path, const std::string& input, const StoredVideo& video, Ticks start)
    : _file(path, input),
      _output(video.NewOutput()),
      _start(start),
      _interval(video.Interval()),
      _decodeTimes(video.Delay(), video.Interval()) {
    Check(avio_open(&_output->pb, ("file:" + _file.PassingPath()).c_str(), AVIO_FLAG_WRITE));
    Check(WriteHeader(*_output));
}

void ClipWriter::Check(int result) const {
    if (result < 0) {
        throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(result));
    }
}

void ClipWriter::Write(const AVPacket& packet, Ticks time) {
    Pending pending{NewPacket(), time - _start};
    Check(av_packet_ref(pending.packet.get(), &packet));
    _decodeTimes.Add(pending.time);
    _pending.push_back(std::move(pending));
    if (_pending.size() > static_cast<std::size_t>(deepestReorder)) {
        WriteOldest();
    }
}

void ClipWriter::WriteOldest() {
    const AVStream& stream = *_output->streams[0];
    AVPacket& packet = *_pending.front().packet;
    packet.stream_index = 0;
    packet.flags &= ~AV_PKT_FLAG_DISCARD;  // an edit list of the input's hid it
    packet.pos = -1;
    packet.pts = av_rescale_q(_pending.front().time, tickBase, stream.time_base);
    packet.dts = std::max(_lastDts + 1, av_rescale_q(_decodeTimes.Take(), tickBase, stream.time_base));
    packet.pts = std::max(packet.pts, packet.dts);  // a guess may be too early by far: rather late than no clip
    _lastDts = packet.dts;
    packet.duration = av_rescale_q(_interval, tickBase, stream.time_base);
    Check(av_write_frame(_output.get(), &packet));
    _pending.pop_front();
}

void ClipWriter::Finish() {
    while (!_pending.empty()) {
        WriteOldest();
    }
    Check(av_write_trailer(_output.get()));
    Check(avio_closep(&_output->pb));
    _file.Keep();
}

}  // namespace Video
