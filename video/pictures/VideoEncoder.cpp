// With which encoder, and how well, is a video made that people look at?
#include "video/pictures/VideoEncoder.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}

#include "video/base/Failure.h"

namespace Video {

namespace {

// Fine enough for every usual frame rate, coarse enough for MPEG-4, which counts in 16 bits.
constexpr AVRational timeBase = {1, 60000};

const AVCodec* Encoder() {
    const AVCodec* wanted = avcodec_find_encoder_by_name("libx264");
    return wanted ? wanted : avcodec_find_encoder(AV_CODEC_ID_MPEG4);
}

}  // namespace

const AVOutputFormat* FormatOf(const std::string& path) {
    const AVOutputFormat* format = av_guess_format(nullptr, path.c_str(), nullptr);
    return format && format->video_codec != AV_CODEC_ID_NONE ? format : av_guess_format("mp4", nullptr, nullptr);
}

int EvenSize(int size) { return std::max(2, size & ~1); }

void VideoEncoder::CheckIsThere(const std::string& path) {
    if (!Encoder()) {
        throw Failure(Concern::Output, "cannot write " + path + ": FFmpeg has no encoder for it");
    }
}

VideoEncoder::VideoEncoder(const AtomicFile& file, const VideoForm& form, const std::vector<Chapter>& chapters)
    : _file(file), _interval(form.interval) {
    CheckIsThere(file.Path());
    AVFormatContext* made = nullptr;
    Check(avformat_alloc_output_context2(&made, FormatOf(_file.Path()), nullptr, _file.PassingPath().c_str()));
    _output.reset(made);

    const AVCodec* encoder = Encoder();
    _codec.reset(avcodec_alloc_context3(encoder));
    _stream = avformat_new_stream(_output.get(), nullptr);
    if (!_codec || !_stream) {
        throw std::bad_alloc();
    }
    _codec->width = EvenSize(form.width);
    _codec->height = EvenSize(form.height);
    _codec->pix_fmt = AV_PIX_FMT_YUV420P;
    _codec->color_range = form.range;
    _codec->sample_aspect_ratio = form.sampleAspect;
    _codec->time_base = timeBase;
    _codec->framerate = av_inv_q(av_mul_q(av_make_q(static_cast<int>(std::min<Ticks>(_interval, INT32_MAX)), 1), tickBase));
    _codec->thread_count = 0;
    if (encoder->id == AV_CODEC_ID_MPEG4) {
        _codec->flags |= AV_CODEC_FLAG_QSCALE;
        _codec->global_quality = 3 * FF_QP2LAMBDA;  // hardly a difference to be seen
    } else {
        av_opt_set(_codec->priv_data, "preset", "veryfast", 0);
        av_opt_set(_codec->priv_data, "crf", "21", 0);
    }
    if ((_output->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
        _codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    Check(avcodec_open2(_codec.get(), encoder, nullptr));
    Check(avcodec_parameters_from_context(_stream->codecpar, _codec.get()));
    _stream->time_base = timeBase;
    _stream->sample_aspect_ratio = form.sampleAspect;
    _stream->avg_frame_rate = _codec->framerate;
    AddChapters(*_output, chapters);
    Check(avio_open(&_output->pb, ("file:" + _file.PassingPath()).c_str(), AVIO_FLAG_WRITE));
    Check(avformat_write_header(_output.get(), nullptr));

    _canvas = NewFrame();
    _canvas->width = _codec->width;
    _canvas->height = _codec->height;
    _canvas->format = AV_PIX_FMT_YUV420P;
    _canvas->color_range = _codec->color_range;
    _canvas->pts = std::numeric_limits<std::int64_t>::min();
    Check(av_frame_get_buffer(_canvas.get(), 0));
}

void VideoEncoder::Check(int result) const {
    if (result < 0) {
        throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(result));
    }
}

AVFrame& VideoEncoder::Canvas() {
    Check(av_frame_make_writable(_canvas.get()));
    return *_canvas;
}

void VideoEncoder::Write(Ticks time) {
    const std::int64_t before = _canvas->pts;
    _canvas->pts = std::max(av_rescale_q(time, tickBase, timeBase), before + 1);
    Encode(_canvas.get());
}

// Null: no picture follows.
void VideoEncoder::Encode(const AVFrame* frame) {
    Check(avcodec_send_frame(_codec.get(), frame));
    for (;;) {
        const int result = avcodec_receive_packet(_codec.get(), _packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        Check(result);
        if (_packet->duration == 0) {
            _packet->duration = av_rescale_q(_interval, tickBase, timeBase);
        }
        av_packet_rescale_ts(_packet.get(), timeBase, _stream->time_base);
        _packet->stream_index = _stream->index;
        Check(av_interleaved_write_frame(_output.get(), _packet.get()));
    }
}

void VideoEncoder::Finish() {
    Encode(nullptr);
    Check(av_write_trailer(_output.get()));
    Check(avio_closep(&_output->pb));
}

}  // namespace Video
