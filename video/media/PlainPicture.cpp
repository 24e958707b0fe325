// How is a frame turned, and how does any pixel format become one that the block reducer knows?
#include "video/media/PlainPicture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
        case AV_PIX_FMT_P010LE: return Host::PixelFormat::P010;
        case AV_PIX_FMT_YUV420P10LE: return Host::PixelFormat::Yuv420P10;
        default: return std::nullopt;
    }
}

FramePointer FrameLike(const AVFrame& frame, int width, int height, AVPixelFormat format) {
    FramePointer result = NewFrame();
    result->width = width;
    result->height = height;
    result->format = format;
    int error = av_frame_get_buffer(result.get(), 0);
    if (error >= 0) {
        error = av_frame_copy_props(result.get(), &frame);
    }
    if (error < 0) {
        throw Failure(Concern::Input, "no memory for a picture: " + ErrorText(error));
    }
    return result;
}

FramePointer As420(const AVFrame& frame) {
    FramePointer result = FrameLike(frame, frame.width, frame.height, AV_PIX_FMT_YUV420P);
    const ScalerPointer scaler(sws_getContext(frame.width, frame.height, PlainFormat(frame.format), frame.width,
                                              frame.height, AV_PIX_FMT_YUV420P, SWS_FAST_BILINEAR, nullptr, nullptr,
                                              nullptr));
    if (!scaler) {
        throw Failure(Concern::Input, "the video's pixel format cannot be converted");
    }
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, result->data, result->linesize);
    return result;
}

// One plane of pixels of so many bytes: of one sample, or of two in turn; width and height: of what is shown.
template <std::size_t bytes>
void TurnPlane(const std::uint8_t* from, std::ptrdiff_t stride, std::uint8_t* to, std::ptrdiff_t toStride, int width,
               int height, Turn turn) {
    std::ptrdiff_t across = turn.transposed ? stride : std::ptrdiff_t{bytes};
    std::ptrdiff_t down = turn.transposed ? std::ptrdiff_t{bytes} : stride;
    if (turn.flippedAcross) {
        from += across * (width - 1);
        across = -across;
    }
    if (turn.flippedDown) {
        from += down * (height - 1);
        down = -down;
    }
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* source = from + down * y;
        std::uint8_t* target = to + toStride * y;
        for (int x = 0; x < width; ++x, source += across, target += bytes) {
            for (std::size_t i = 0; i < bytes; ++i) {
                target[i] = source[i];
            }
        }
    }
}

}  // namespace

int Turn::Rotation() const {
    const int quarters = transposed ? 1 : 0;
    return 90 * (quarters + (flippedDown ? 2 : 0));
}

Turn TurnOf(const AVStream& stream) {
    const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!data) {
        return {};
    }
    // x' = a x + c y, y' = b x + d y, and where that lies, which nobody asks.
    const auto* matrix = reinterpret_cast<const std::int32_t*>(data);
    const std::int64_t a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
    const std::int64_t straight = std::abs(a) + std::abs(d), crossed = std::abs(b) + std::abs(c);
    constexpr std::int64_t near = 50;  // a degree from a quarter turn
    if (near * crossed < straight) {
        return {.transposed = false, .flippedAcross = a < 0, .flippedDown = d < 0};
    }
    if (near * straight < crossed) {
        return {.transposed = true, .flippedAcross = c < 0, .flippedDown = b < 0};
    }
    return {};
}

FramePointer Turned(const AVFrame& frame, Turn turn) {
    const std::optional<Host::PixelFormat> known = ReducibleFormat(frame.format);
    if (!known || (turn.transposed && *known == Host::PixelFormat::Yuv422)) {
        return Turned(*As420(frame), turn);
    }
    const AVPixelFormat format = PlainFormat(frame.format);
    const int width = turn.transposed ? frame.height : frame.width, height = turn.transposed ? frame.width : frame.height;
    FramePointer result = FrameLike(frame, width, height, format);
    const Host::SampleLayout samples = Host::SampleLayoutOf(*known);
    for (int plane = 0; plane < samples.planes; ++plane) {
        const int stepX = plane > 0 ? samples.columnsPerChroma : 1, stepY = plane > 0 ? samples.rowsPerChroma : 1;
        const int columns = (width + stepX - 1) / stepX, rows = (height + stepY - 1) / stepY;
        const int bytes = plane > 0 ? samples.ChromaBytes() : samples.bytes;
        const auto turnPlane = bytes == 4 ? TurnPlane<4> : bytes == 2 ? TurnPlane<2> : TurnPlane<1>;
        turnPlane(frame.data[plane], frame.linesize[plane], result->data[plane], result->linesize[plane], columns, rows,
                  turn);
    }
    return result;
}

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
