// How is the video with what was found written?
#include "video/pictures/Overlay.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
}

#include "video/base/BlockMark.h"
#include "video/base/Box.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/PictureGrid.h"
#include "video/media/Libav.h"
#include "video/pictures/FrameDrawing.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

namespace {

// Fine enough for every usual frame rate, coarse enough for MPEG-4, which counts in 16 bits.
constexpr AVRational timeBase = {1, 60000};

constexpr Colour objectTint = {160, 60, 190};  // orange: blocks that move
constexpr Colour shadowTint = {90, 190, 90};   // blue: blocks that are only darker
constexpr int tintPercent = 40;

Box Scaled(const Box& box, const AVFrame& from, const AVFrame& to) {
    const auto across = [&](int x) { return static_cast<int>(std::int64_t{x} * to.width / from.width); };
    const auto down = [&](int y) { return static_cast<int>(std::int64_t{y} * to.height / from.height); };
    return {across(box.x), down(box.y), across(box.x + box.width) - across(box.x), down(box.y + box.height) - down(box.y)};
}

const AVCodec* Encoder() {
    const AVCodec* wanted = avcodec_find_encoder_by_name("libx264");
    return wanted ? wanted : avcodec_find_encoder(AV_CODEC_ID_MPEG4);
}

int EvenSize(int size) { return std::max(2, size & ~1); }

}  // namespace

std::string Caption(Ticks time, const Marking& marking) {
    std::array<char, 32> seconds = {};
    std::snprintf(seconds.data(), seconds.size(), "%.1f s  ", ToSeconds(time));
    std::string text = seconds.data();
    if (marking.clock) {
        text += WallTimeText(marking.clock->at + time) + "  ";
    }
    return text + std::to_string(marking.objects.size()) + (marking.objects.size() == 1 ? " object" : " objects");
}

std::string ZoneText(const MovingObject& object, const std::vector<std::string>& zones) {
    std::string text;
    for (std::size_t i = 0; i < zones.size(); ++i) {
        if ((object.zones >> i & 1) != 0) {
            text += (text.empty() ? "" : ", ") + zones[i];
        }
    }
    return text;
}

Overlay::Overlay(const std::string& path, const std::string& input, Ticks nominalInterval, AVRational sampleAspect,
                 std::vector<std::string> zones)
    : _file(path, input), _interval(nominalInterval), _sampleAspect(sampleAspect), _zones(std::move(zones)) {
    if (!Encoder()) {
        throw Failure(Concern::Output, "cannot write " + path + ": FFmpeg has no encoder for it");
    }
}

void Overlay::Check(int result) const {
    if (result < 0) {
        throw Failure(Concern::Output, "cannot write " + _file.Path() + ": " + ErrorText(result));
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

void Overlay::Draw(const AVFrame& picture, Ticks time, const Marking& marking) {
    const PictureGrid& grid = marking.grid;
    for (std::size_t i = 0; i < marking.blocks.size(); ++i) {
        if (marking.blocks[i] != BlockMark::None) {
            const int column = static_cast<int>(i) % grid.columns, row = static_cast<int>(i) / grid.columns;
            const Box block = {column * grid.blockSize, row * grid.blockSize, grid.blockSize, grid.blockSize};
            Tint(*_canvas, Scaled(block, picture, *_canvas),
                 marking.blocks[i] == BlockMark::Shadow ? shadowTint : objectTint, tintPercent);
        }
    }
    for (const MovingObject& object : marking.objects) {
        DrawBox(*_canvas, Scaled(object.box, picture, *_canvas));
    }
    for (const MovingObject& object : marking.objects) {
        if (const std::string zones = ZoneText(object, _zones); !zones.empty()) {
            const Box box = Scaled(object.box, picture, *_canvas);
            DrawLabel(*_canvas, box.x, box.y - LabelHeight(*_canvas), zones);
        }
    }
    DrawLabel(*_canvas, 0, 0, Caption(time, marking));
}

void Overlay::Write(const AVFrame& picture, Ticks time, const Marking& marking) {
    if (!_output) {
        Open(picture);
    }
    Prepare(picture);
    Draw(picture, time, marking);
    const std::int64_t before = _canvas->pts;
    _canvas->pts = std::max(av_rescale_q(time - _origin, tickBase, timeBase), before + 1);
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

}  // namespace Video
