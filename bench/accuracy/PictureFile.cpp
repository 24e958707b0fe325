// How is a picture file decoded?
#include "PictureFile.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <string_view>
#include <vector>

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
GreyPicture GreenOf(const AVFrame& frame, const std::string& file) {
    const Video::ScalerPointer scaler(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                                     frame.width, frame.height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr,
                                                     nullptr, nullptr));
    if (!scaler) {
        Refuse(file + ": labels of this pixel format cannot be read");
    }
    const auto pixels = static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height);
    std::vector<std::uint8_t> rgb(3 * pixels);
    std::uint8_t* const planes[4] = {rgb.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {3 * frame.width, 0, 0, 0};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    GreyPicture grey{frame.width, frame.height, std::vector<std::uint8_t>(pixels)};
    for (std::size_t i = 0; i < pixels; ++i) {
        grey.values[i] = rgb[3 * i + 1];
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
        return GreenOf(*frame, file);
    }
    GreyPicture grey{frame->width, frame->height, {}};
    for (int y = 0; y < frame->height; ++y) {
        const std::uint8_t* row = frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0];
        grey.values.insert(grey.values.end(), row, row + frame->width);
    }
    return grey;
}

}  // namespace Accuracy
