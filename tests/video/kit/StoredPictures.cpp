// How is a video read without the scanner's own decoder?  Called by tests through StoredPictures.h.

#include <algorithm>
#include <cmath>
#include <cstddef>

extern "C" {
#include <libavutil/display.h>
}

#include "StoredPictures.h"
#include "video/media/Libav.h"

namespace Video {

namespace {

StoredPicture Copied(const AVFrame& frame, AVRational base) {
    StoredPicture picture{static_cast<double>(frame.best_effort_timestamp) * av_q2d(base),
                          frame.key_frame != 0,
                          frame.width,
                          frame.height,
                          {}};
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* row = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        picture.luma.insert(picture.luma.end(), row, row + frame.width);
    }
    return picture;
}

}  // namespace

StoredPictures ReadPictures(const std::string& path) {
    StoredPictures result{{}, {}, {0, 1}, 0, 0};
    const auto good = [&](int outcome, const char* what) {
        if (outcome < 0) {
            result.errors.push_back(std::string(what) + ": " + ErrorText(outcome));
        }
        return outcome >= 0;
    };
    CollectComplaints();
    TakeComplaint();
    AVFormatContext* opened = nullptr;
    if (!good(avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, nullptr), "open")) {
        return result;
    }
    const InputPointer input(opened);
    good(avformat_find_stream_info(opened, nullptr), "probe");
    const int index = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (!good(index, "no video")) {
        return result;
    }
    AVStream* stream = opened->streams[index];
    result.headerWidth = stream->codecpar->width;
    result.sampleAspect = av_guess_sample_aspect_ratio(opened, stream, nullptr);
    if (const std::uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr)) {
        result.rotation =
            static_cast<int>(std::lround(av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix))));
    }
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    const CodecPointer codec(avcodec_alloc_context3(decoder));
    good(avcodec_parameters_to_context(codec.get(), stream->codecpar), "parameters");
    codec->pkt_timebase = stream->time_base;
    codec->thread_count = 1;
    good(avcodec_open2(codec.get(), decoder, nullptr), "decoder");
    const PacketPointer packet = NewPacket();
    const FramePointer frame = NewFrame();
    for (bool more = true; more;) {
        more = av_read_frame(opened, packet.get()) >= 0;
        if (!more || packet->stream_index == index) {
            good(avcodec_send_packet(codec.get(), more ? packet.get() : nullptr), "decoding");
            while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
                result.pictures.push_back(Copied(*frame, stream->time_base));
            }
        }
        av_packet_unref(packet.get());
    }
    if (const std::string complaint = TakeComplaint(); !complaint.empty()) {
        result.errors.push_back(complaint);
    }
    return result;
}

}  // namespace Video
