// How is the video with boxes written?  Called by main through Overlay.h.
#include "Overlay.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}

#include "Failure.h"

namespace Scan {

namespace {

// Fine enough for every usual frame rate, coarse enough for MPEG-4, which counts in 16 bits.
constexpr AVRational timeBase = {1, 60000};
constexpr AVRational tickBase = {1, static_cast<int>(oneSecond)};

struct Color {
    std::uint8_t y, cb, cr;
};
constexpr Color boxColor = {210, 16, 146};         // yellow: seen on asphalt, grass and snow
constexpr int lineDivisor = 240;                   // a line is this fraction of the picture's height thick, at least 2 pixels

// Fills pixels [x0, x1) x [y0, y1) of a frame of YUV 4:2:0, as far as they lie in it.
void Fill(AVFrame& frame, int x0, int y0, int x1, int y1, Color color) {
    const auto fillPlane = [&](int plane, int shift, std::uint8_t value) {
        const int columns = (frame.width + shift) >> shift, rows = (frame.height + shift) >> shift;
        const int left = std::clamp(x0 >> shift, 0, columns), right = std::clamp((x1 + shift) >> shift, left, columns);
        const int top = std::clamp(y0 >> shift, 0, rows), bottom = std::clamp((y1 + shift) >> shift, top, rows);
        for (int y = top; y < bottom; ++y) {
            std::uint8_t* row = frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
            std::fill(row + left, row + right, value);
        }
    };
    fillPlane(0, 0, color.y);
    fillPlane(1, 1, color.cb);
    fillPlane(2, 1, color.cr);
}

Box Scaled(const Box& box, const AVFrame& from, const AVFrame& to) {
    const auto across = [&](int x) { return static_cast<int>(std::int64_t{x} * to.width / from.width); };
    const auto down = [&](int y) { return static_cast<int>(std::int64_t{y} * to.height / from.height); };
    return {across(box.x), down(box.y), across(box.x + box.width) - across(box.x), down(box.y + box.height) - down(box.y)};
}

const AVCodec* Encoder() {
    const AVCodec* wanted = avcodec_find_encoder_by_name("libx264");
    return wanted ? wanted : avcodec_find_encoder(AV_CODEC_ID_MPEG4);
}

int EvenSize(int size) {
    return std::max(2, size & ~1);
}

}  // namespace

void DrawBox(AVFrame& frame, const Box& box) {
    const int line = std::max(2, frame.height / lineDivisor);
    const int right = box.x + box.width, bottom = box.y + box.height;
    Fill(frame, box.x, box.y, right, box.y + line, boxColor);
    Fill(frame, box.x, bottom - line, right, bottom, boxColor);
    Fill(frame, box.x, box.y, box.x + line, bottom, boxColor);
    Fill(frame, right - line, box.y, right, bottom, boxColor);
}

Overlay::Overlay(const std::string& path, const std::string& input, Ticks nominalInterval, AVRational sampleAspect)
    : _file(path, input), _interval(nominalInterval), _sampleAspect(sampleAspect) {
    if (!Encoder()) {
        throw OutputFailure(exitFailed, "cannot write " + path + ": FFmpeg has no encoder for it");
    }
}

void Overlay::Check(int result) const {
    if (result < 0) {
        throw OutputFailure(exitFailed, "cannot write " + _file.Path() + ": " + ErrorText(result));
    }
}

void Overlay::Open(const AVFrame& first) {
    const AVOutputFormat* format = av_guess_format(nullptr, _file.Path().c_str(), nullptr);
    format = format && format->video_codec != AV_CODEC_ID_NONE ? format : av_guess_format("mp4", nullptr, nullptr);
    AVFormatContext* made = nullptr;
    Check(avformat_alloc_output_context2(&made, format, nullptr, _file.PassingPath().c_str()));
    _output.reset(made);

    const AVCodec* encoder = Encoder();
    _codec.reset(avcodec_alloc_context3(encoder));
    _stream = avformat_new_stream(_output.get(), nullptr);
    if (!_codec || !_stream) {
        throw std::bad_alloc();
    }
    _codec->width = EvenSize(first.width);
    _codec->height = EvenSize(first.height);
    _codec->pix_fmt = AV_PIX_FMT_YUV420P;
    _codec->color_range = first.color_range;
    _codec->sample_aspect_ratio = _sampleAspect;
    _codec->time_base = timeBase;
    _codec->framerate = av_inv_q(av_mul_q(av_make_q(static_cast<int>(std::min<Ticks>(_interval, INT32_MAX)), 1), tickBase));
    _codec->thread_count = 0;
    if (encoder->id == AV_CODEC_ID_MPEG4) {
        _codec->flags |= AV_CODEC_FLAG_QSCALE;
        _codec->global_quality = 3 * FF_QP2LAMBDA;                 // hardly a difference to be seen
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
    _stream->sample_aspect_ratio = _sampleAspect;
    _stream->avg_frame_rate = _codec->framerate;
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

// The picture as YUV 4:2:0 in the video's size. Odd sizes lose their last column or row rather than being scaled.
void Overlay::Prepare(const AVFrame& picture) {
    const bool cropped = EvenSize(picture.width) == _canvas->width && EvenSize(picture.height) == _canvas->height &&
                         picture.width >= _canvas->width && picture.height >= _canvas->height;
    const int width = cropped ? _canvas->width : picture.width;
    const int height = cropped ? _canvas->height : picture.height;
    _scaler.reset(sws_getCachedContext(_scaler.release(), width, height, PlainFormat(picture.format), _canvas->width,
                                       _canvas->height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!_scaler) {
        Check(AVERROR(EINVAL));
    }
    Check(av_frame_make_writable(_canvas.get()));
    sws_scale(_scaler.get(), picture.data, picture.linesize, 0, height, _canvas->data, _canvas->linesize);
}

void Overlay::Write(const AVFrame& picture, Ticks time, const std::vector<MovingObject>& objects) {
    if (!_output) {
        Open(picture);
    }
    Prepare(picture);
    for (const MovingObject& object : objects) {
        DrawBox(*_canvas, Scaled(object.box, picture, *_canvas));
    }
    const std::int64_t before = _canvas->pts;
    _canvas->pts = std::max(av_rescale_q(time, tickBase, timeBase), before + 1);
    Encode(_canvas.get());
}

// Null: no picture follows.
void Overlay::Encode(const AVFrame* frame) {
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

void Overlay::Finish() {
    if (!_output) {
        return;
    }
    Encode(nullptr);
    Check(av_write_trailer(_output.get()));
    Check(avio_closep(&_output->pb));
    _file.Keep();
}

}  // namespace Scan
