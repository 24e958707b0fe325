// How does a frame become a small JPEG file?
#include "video/pictures/Thumbnail.h"

#include <algorithm>
#include <cstdint>

#include "video/base/Failure.h"
#include "video/files/AtomicFile.h"
#include "video/files/FileBytes.h"
#include "video/media/Libav.h"

namespace Video {

namespace {

FramePointer Small(const AVFrame& frame, int widest) {
    FramePointer small = NewFrame();
    small->width = std::max(2, std::min(frame.width, widest) & ~1);
    const std::int64_t height = std::int64_t{frame.height} * small->width / frame.width;
    small->height = static_cast<int>(std::clamp<std::int64_t>(height & ~std::int64_t{1}, 2, 16'384));
    small->format = AV_PIX_FMT_YUVJ420P;
    const ScalerPointer scaler(sws_getContext(frame.width, frame.height, PlainFormat(frame.format), small->width,
                                              small->height, AV_PIX_FMT_YUVJ420P, SWS_AREA, nullptr, nullptr, nullptr));
    if (!scaler || av_frame_get_buffer(small.get(), 0) < 0) {
        return nullptr;
    }
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, small->data, small->linesize);
    return small;
}

// Null where FFmpeg cannot.
PacketPointer Encoded(const AVFrame& frame) {
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    const CodecPointer codec(encoder ? avcodec_alloc_context3(encoder) : nullptr);
    if (!codec) {
        return nullptr;
    }
    codec->width = frame.width;
    codec->height = frame.height;
    codec->pix_fmt = AV_PIX_FMT_YUVJ420P;
    codec->time_base = {1, 25};
    codec->thread_count = 1;
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    codec->global_quality = 4 * FF_QP2LAMBDA;  // hardly a difference to be seen at that size
    PacketPointer packet = NewPacket();
    const bool good = avcodec_open2(codec.get(), encoder, nullptr) >= 0 && avcodec_send_frame(codec.get(), &frame) >= 0 &&
                      avcodec_receive_packet(codec.get(), packet.get()) >= 0;
    return good ? std::move(packet) : nullptr;
}

}  // namespace

std::string JpegOf(const AVFrame& frame, int widest) {
    const FramePointer small = Small(frame, widest);
    if (small) {
        small->quality = 4 * FF_QP2LAMBDA;
    }
    const PacketPointer packet = small ? Encoded(*small) : nullptr;
    return packet ? std::string(reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size)) : "";
}

void WriteThumbnail(const AVFrame& frame, const AtomicFile& file) {
    const std::string jpeg = JpegOf(frame, widestThumbnail);
    if (jpeg.empty()) {
        throw Failure(Concern::Output, "cannot write " + file.Path() + ": FFmpeg cannot make a JPEG of it");
    }
    WriteBytes(jpeg, file);
}

}  // namespace Video
