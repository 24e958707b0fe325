// How does any pixel format become one that the block reducer knows?
#include "video/media/PlainPicture.h"

#include <cstddef>
#include <optional>

#include "video/base/Failure.h"
#include "video/media/Libav.h"

namespace Video {

namespace {

std::optional<Host::PixelFormat> ReducibleFormat(int format) {
    switch (PlainFormat(format)) {
        case AV_PIX_FMT_YUV420P: return Host::PixelFormat::Yuv420;
        case AV_PIX_FMT_YUV422P: return Host::PixelFormat::Yuv422;
        case AV_PIX_FMT_YUV444P: return Host::PixelFormat::Yuv444;
        case AV_PIX_FMT_NV12: return Host::PixelFormat::Nv12;
        case AV_PIX_FMT_GRAY8: return Host::PixelFormat::Grey;
        default: return std::nullopt;
    }
}

}  // namespace

void PlainPicture::Take(const AVFrame& frame) {
    std::optional<Host::PixelFormat> format = ReducibleFormat(frame.format);
    const AVFrame& source = format ? frame : Converted(frame);
    _format = {.width = frame.width, .height = frame.height, .format = format.value_or(Host::PixelFormat::Yuv420)};
    for (std::size_t plane = 0; plane < _view.plane.size(); ++plane) {
        _view.plane[plane] = source.data[plane];
        _view.stride[plane] = source.linesize[plane];
    }
}

const AVFrame& PlainPicture::Converted(const AVFrame& frame) {
    const AVPixelFormat format = PlainFormat(frame.format);
    _scaler.reset(sws_getCachedContext(_scaler.release(), frame.width, frame.height, format, frame.width, frame.height,
                                       AV_PIX_FMT_YUV420P, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr));
    if (!_scaler) {
        throw Failure(Concern::Input, "the video's pixel format cannot be converted");
    }
    if (!_copy || _copy->width != frame.width || _copy->height != frame.height) {
        _copy = NewFrame();
        _copy->width = frame.width;
        _copy->height = frame.height;
        _copy->format = AV_PIX_FMT_YUV420P;
        if (const int error = av_frame_get_buffer(_copy.get(), 0); error < 0) {
            throw Failure(Concern::Input, "no memory for a picture: " + ErrorText(error));
        }
    }
    sws_scale(_scaler.get(), frame.data, frame.linesize, 0, frame.height, _copy->data, _copy->linesize);
    return *_copy;
}

}  // namespace Video
