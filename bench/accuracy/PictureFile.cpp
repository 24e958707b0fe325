// How is a picture file decoded?
#include "PictureFile.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <string_view>

#include "video/base/Failure.h"

namespace Accuracy {

namespace {

[[noreturn]] void Refuse(const std::string& what) { throw Video::Failure(Video::Concern::Input, Video::Explained(what)); }

// By what it begins with: endings lie.
AVCodecID CodecOf(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xD8")) return AV_CODEC_ID_MJPEG;
    if (bytes.starts_with("\x89PNG")) return AV_CODEC_ID_PNG;
    return bytes.starts_with("BM") ? AV_CODEC_ID_BMP : AV_CODEC_ID_NONE;
}

std::string BytesOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream || bytes.empty()) {
        Refuse(file + ": cannot be read");
    }
    return bytes;
}

bool IsPlane(int format) {
    switch (Video::PlainFormat(format)) {
        case AV_PIX_FMT_GRAY8:
        case AV_PIX_FMT_YUV420P:
        case AV_PIX_FMT_YUV422P:
        case AV_PIX_FMT_YUV444P:
        case AV_PIX_FMT_YUV440P: return true;
        default: return false;
    }
}

// All colours of a label are one grey, so any of them will do.
GreyPicture GreenOf(const AVFrame& frame) {
    const Video::FramePointer rgb = Converted(frame, AV_PIX_FMT_RGB24);
    GreyPicture grey{frame.width, frame.height, {}};
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* row = rgb->data[0] + std::ptrdiff_t{y} * rgb->linesize[0];
        for (int x = 0; x < frame.width; ++x) {
            grey.values.push_back(row[3 * x + 1]);
        }
    }
    return grey;
}

}  // namespace

Video::FramePointer ReadPicture(const std::string& file) {
    const std::string bytes = BytesOf(file);
    const AVCodec* decoder = avcodec_find_decoder(CodecOf(bytes));
    if (!decoder) {
        Refuse(file + ": neither a JPEG, a PNG nor a BMP picture");
    }
    const Video::CodecPointer codec(avcodec_alloc_context3(decoder));
    if (!codec) {
        throw std::bad_alloc();
    }
    codec->thread_count = 1;
    const Video::PacketPointer packet = Video::NewPacket();
    Video::FramePointer frame = Video::NewFrame();
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0 ||
        av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) {
        Refuse(file + ": cannot be decoded");
    }
    std::memcpy(packet->data, bytes.data(), bytes.size());
    if (avcodec_send_packet(codec.get(), packet.get()) < 0 || avcodec_send_packet(codec.get(), nullptr) < 0 ||
        avcodec_receive_frame(codec.get(), frame.get()) < 0) {
        Refuse(file + ": cannot be decoded");
    }
    return frame;
}

GreyPicture ReadLabels(const std::string& file) {
    const Video::FramePointer frame = ReadPicture(file);
    if (!IsPlane(frame->format)) {
        return GreenOf(*frame);
    }
    GreyPicture grey{frame->width, frame->height, {}};
    for (int y = 0; y < frame->height; ++y) {
        const std::uint8_t* row = frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0];
        grey.values.insert(grey.values.end(), row, row + frame->width);
    }
    return grey;
}

Video::FramePointer Converted(const AVFrame& frame, AVPixelFormat format) {
    const AVPixelFormat plain = Video::PlainFormat(frame.format);
    const Video::ScalerPointer scaler(sws_getContext(frame.width, frame.height, plain, frame.width, frame.height, format,
                                                     SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler) {
        Refuse("pictures of this format cannot be converted");
    }
    const bool isFull = frame.color_range == AVCOL_RANGE_JPEG || plain != frame.format;
    const int* colours = sws_getCoefficients(SWS_CS_DEFAULT);
    sws_setColorspaceDetails(scaler.get(), colours, isFull ? 1 : 0, colours, 1, 0, 1 << 16, 1 << 16);
    Video::FramePointer converted = Video::NewFrame();
    converted->width = frame.width;
    converted->height = frame.height;
    converted->format = format;
    if (av_frame_get_buffer(converted.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, converted->data, converted->linesize);
    return converted;
}

}  // namespace Accuracy
