// Who frees what FFmpeg allocates, and what did it complain about?
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include "video/time/TickTime.h"

namespace Video {

// Larger pictures are refused before anything is made of them: what a few damaged bytes announce may be more than a machine
// has. 8192 x 8192, twice the largest that a level of H.264, H.265 or AV1 allows.
inline constexpr std::int64_t mostPixels = std::int64_t{1} << 26;

inline constexpr AVRational tickBase = {1, static_cast<int>(oneSecond)};

struct LibavDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

struct InputDeleter {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};

struct OutputDeleter {
    void operator()(AVFormatContext* format) const {
        avio_closep(&format->pb);
        avformat_free_context(format);
    }
};

using PacketPointer = std::unique_ptr<AVPacket, LibavDeleter>;
using FramePointer = std::unique_ptr<AVFrame, LibavDeleter>;
using CodecPointer = std::unique_ptr<AVCodecContext, LibavDeleter>;
using ScalerPointer = std::unique_ptr<SwsContext, LibavDeleter>;
using InputPointer = std::unique_ptr<AVFormatContext, InputDeleter>;
using OutputPointer = std::unique_ptr<AVFormatContext, OutputDeleter>;

// Throws std::bad_alloc instead of returning null.
PacketPointer NewPacket();
FramePointer NewFrame();

// The deprecated full-range formats as what they are: the plain ones. Others as they come.
AVPixelFormat PlainFormat(int format);

std::string ErrorText(int error);

// What is said of pictures with more than mostPixels, as an input's failure and as FFmpeg's complaint.
std::string TooLargeText(std::int64_t width, std::int64_t height);
bool IsTooLargeText(const std::string& text);

// "what (detail)", with what FFmpeg said about it, if it did. Of pictures that are too large: the detail alone.
std::string Explained(const std::string& what);

// Ticks; absent: not given, or beyond any calendar.
std::optional<Ticks> TicksOf(std::int64_t time, AVRational base);

// From now on FFmpeg is silent; the first error that it would have printed since the last TakeComplaint is remembered.
void CollectComplaints();

// One line, empty when there was none.
std::string TakeComplaint();

}  // namespace Video
