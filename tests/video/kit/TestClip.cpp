// How are test videos drawn and written?  Called by the tests of the built program through TestClip.h.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>

extern "C" {
#include <libavutil/display.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "TestClip.h"
#include "video/base/Box.h"
#include "video/media/Libav.h"

namespace Video {

namespace {

constexpr std::uint8_t squareLuma = 200;

void Require(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "test clip: %s failed\n", what);
        std::abort();
    }
}

// -1, 0 or 1, as evenly spread as a test needs it.
int Noise(int x, int y, int frame) {
    std::uint32_t hash = static_cast<std::uint32_t>(x) * 374761393u + static_cast<std::uint32_t>(y) * 668265263u +
                         static_cast<std::uint32_t>(frame) * 2246822519u;
    hash = (hash ^ (hash >> 13)) * 1274126177u;
    return static_cast<int>((hash >> 16) % 3) - 1;
}

// The scene's picture as YUV 4:2:0 without colour.
FramePointer Draw(const SquareScene& scene, int number) {
    FramePointer frame = NewFrame();
    frame->width = scene.width;
    frame->height = scene.height;
    frame->format = AV_PIX_FMT_YUV420P;
    Require(av_frame_get_buffer(frame.get(), 0) == 0, "frame");
    const std::vector<std::uint8_t> luma = scene.Luma(number);
    for (int y = 0; y < scene.height; ++y) {
        std::copy_n(luma.data() + std::ptrdiff_t{y} * scene.width, scene.width,
                    frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0]);
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < (scene.height + 1) / 2; ++y) {
            std::fill_n(frame->data[plane] + std::ptrdiff_t{y} * frame->linesize[plane], (scene.width + 1) / 2,
                        std::uint8_t{128});
        }
    }
    return frame;
}

// Where in the scene a pixel of the coded picture is shown.
struct PixelPlace {
    int x, y;
};

PixelPlace ShownAt(int x, int y, int width, int height, const Encoding& encoding) {
    PixelPlace place = {x, y};
    for (int turned = 0; turned < encoding.rotation; turned += 90) {
        place = {height - 1 - place.y, place.x};
        std::swap(width, height);
    }
    return encoding.mirrored ? PixelPlace{width - 1 - place.x, place.y} : place;
}

bool LiesDown(const Encoding& encoding) { return encoding.shownUpright && encoding.rotation % 180 != 0; }

// The scene's picture as it is coded.
FramePointer Coded(FramePointer shown, const Encoding& encoding) {
    if (!encoding.shownUpright) {
        return shown;
    }
    FramePointer frame = NewFrame();
    frame->width = LiesDown(encoding) ? shown->height : shown->width;
    frame->height = LiesDown(encoding) ? shown->width : shown->height;
    frame->format = AV_PIX_FMT_YUV420P;
    Require(av_frame_get_buffer(frame.get(), 0) == 0, "frame");
    for (int plane = 0; plane < 3; ++plane) {
        const int shift = plane > 0 ? 1 : 0, width = (frame->width + shift) >> shift,
                  height = (frame->height + shift) >> shift;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const PixelPlace from = ShownAt(x, y, width, height, encoding);
                frame->data[plane][std::ptrdiff_t{y} * frame->linesize[plane] + x] =
                    shown->data[plane][std::ptrdiff_t{from.y} * shown->linesize[plane] + from.x];
            }
        }
    }
    return frame;
}

FramePointer InFormat(FramePointer frame, AVPixelFormat format) {
    if (frame->format == format) {
        return frame;
    }
    const ScalerPointer scaler(sws_getContext(frame->width, frame->height, AV_PIX_FMT_YUV420P, frame->width, frame->height,
                                              format, SWS_POINT, nullptr, nullptr, nullptr));
    FramePointer result = NewFrame();
    result->width = frame->width;
    result->height = frame->height;
    result->format = format;
    Require(scaler && av_frame_get_buffer(result.get(), 0) == 0, "conversion");
    sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, result->data, result->linesize);
    return result;
}

CodecPointer OpenEncoder(const SquareScene& scene, AVPixelFormat format, const Encoding& encoding,
                         const AVFormatContext& output) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(encoding.codec.c_str());
    Require(encoder != nullptr, "encoder");
    CodecPointer codec(avcodec_alloc_context3(encoder));
    codec->width = LiesDown(encoding) ? scene.height : scene.width;
    codec->height = LiesDown(encoding) ? scene.width : scene.height;
    codec->pix_fmt = format;
    codec->time_base = {1, scene.framesPerSecond};
    codec->framerate = {scene.framesPerSecond, 1};
    codec->gop_size = encoding.gop;
    codec->max_b_frames = encoding.bFrames;
    codec->sample_aspect_ratio = encoding.sampleAspect;
    codec->thread_count = 1;
    codec->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    if ((output.oformat->flags & AVFMT_GLOBALHEADER) != 0) {
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    codec->global_quality = encoding.quality * FF_QP2LAMBDA;
    Require(avcodec_open2(codec.get(), encoder, nullptr) == 0, "opening the encoder");
    return codec;
}

// Null frame: the rest.
void Encode(AVCodecContext& codec, AVFormatContext& output, const AVFrame* frame) {
    Require(avcodec_send_frame(&codec, frame) == 0, "encoding");
    const PacketPointer packet = NewPacket();
    while (avcodec_receive_packet(&codec, packet.get()) == 0) {
        av_packet_rescale_ts(packet.get(), codec.time_base, output.streams[0]->time_base);
        packet->stream_index = 0;
        packet->duration = av_rescale_q(1, codec.time_base, output.streams[0]->time_base);
        Require(av_interleaved_write_frame(&output, packet.get()) == 0, "writing");
    }
}

}  // namespace

std::optional<Box> SquareScene::SquareAt(double time) const {
    if (time < from || time >= until) {
        return std::nullopt;
    }
    const int side = height / 5;
    const int x = static_cast<int>((time - from) / (until - from) * (width + side)) - side;
    return Box{x, height / 2 - side / 2, side, side};
}

std::vector<std::uint8_t> SquareScene::Luma(int frame) const {
    const Box square = SquareAt(static_cast<double>(frame) / framesPerSecond).value_or(Box{});
    std::vector<std::uint8_t> luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::uint8_t* pixel = luma.data();
    for (int y = 0; y < height; ++y) {
        const bool crossed = y >= square.y && y < square.y + square.height;
        for (int x = 0; x < width; ++x, ++pixel) {
            const bool inside = crossed && x >= square.x && x < square.x + square.width;
            *pixel = static_cast<std::uint8_t>((inside ? squareLuma : 60 + (x / 8 + y / 5) % 50) + Noise(x, y, frame));
        }
    }
    return luma;
}

void WriteY4m(const SquareScene& scene, const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file << "YUV4MPEG2 W" << scene.width << " H" << scene.height << " F" << scene.framesPerSecond << ":1 Ip A1:1 C420jpeg\n";
    const std::size_t chroma = static_cast<std::size_t>(scene.width / 2) * static_cast<std::size_t>(scene.height / 2) * 2;
    for (int number = 0; number < scene.Frames(); ++number) {
        std::vector<std::uint8_t> picture = scene.Luma(number);
        picture.insert(picture.end(), chroma, std::uint8_t{128});
        file << "FRAME\n";
        file.write(reinterpret_cast<const char*>(picture.data()), static_cast<std::streamsize>(picture.size()));
    }
    file.close();
    Require(!file.fail(), "writing a raw clip");
}

bool HasEncoder(const std::string& codec) { return avcodec_find_encoder_by_name(codec.c_str()) != nullptr; }

void WriteEncoded(const std::vector<SquareScene>& scenes, const Encoding& encoding, const std::string& path) {
    av_log_set_level(AV_LOG_ERROR);
    AVFormatContext* made = nullptr;
    Require(avformat_alloc_output_context2(&made, nullptr, encoding.container.c_str(), path.c_str()) >= 0, "container");
    const OutputPointer output(made);
    CodecPointer codec = OpenEncoder(scenes.front(), encoding.format, encoding, *output);
    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    Require(stream && avcodec_parameters_from_context(stream->codecpar, codec.get()) >= 0, "stream");
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    stream->sample_aspect_ratio = encoding.sampleAspect;
    if (encoding.rotation != 0 || encoding.mirrored) {
        constexpr std::size_t matrixSize = 9 * sizeof(std::int32_t);
        std::uint8_t* matrix = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, matrixSize);
        Require(matrix != nullptr, "rotation");
        av_display_rotation_set(reinterpret_cast<std::int32_t*>(matrix), encoding.rotation);
        av_display_matrix_flip(reinterpret_cast<std::int32_t*>(matrix), encoding.mirrored ? 1 : 0, 0);
    }
    if (encoding.headerFirst) {
        Require(av_opt_set(output.get(), "movflags", "+faststart", AV_OPT_SEARCH_CHILDREN) == 0, "header first");
    }
    if (!encoding.created.empty()) {
        av_dict_set(&output->metadata, "creation_time", encoding.created.c_str(), 0);
    }
    Require(avio_open(&output->pb, ("file:" + path).c_str(), AVIO_FLAG_WRITE) >= 0, "opening the clip");
    Require(avformat_write_header(output.get(), nullptr) >= 0, "header");

    int written = 0;
    for (const SquareScene& scene : scenes) {
        const bool later = written > 0 && encoding.laterFormat != AV_PIX_FMT_NONE;
        const AVPixelFormat format = later ? encoding.laterFormat : encoding.format;
        const bool fits = scene.width == (LiesDown(encoding) ? codec->height : codec->width) &&
                          scene.height == (LiesDown(encoding) ? codec->width : codec->height);
        if (!fits || format != codec->pix_fmt) {
            Encode(*codec, *output, nullptr);
            codec = OpenEncoder(scene, format, encoding, *output);
        }
        for (int number = 0; number < scene.Frames(); ++number, ++written) {
            const FramePointer frame = InFormat(Coded(Draw(scene, number), encoding), format);
            frame->pts = encoding.time ? encoding.time(written) : written;
            frame->quality = codec->global_quality;
            Encode(*codec, *output, frame.get());
        }
    }
    Encode(*codec, *output, nullptr);
    Require(av_write_trailer(output.get()) == 0, "trailer");
}

}  // namespace Video
