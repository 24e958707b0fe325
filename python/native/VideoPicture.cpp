// How is a frame converted?  Called by the scan through VideoPicture.h.
#include "VideoPicture.h"

#include "video/base/Failure.h"

namespace Python {

RgbPicture RgbOf(const AVFrame& frame) {
    RgbPicture picture{.width = frame.width, .height = frame.height, .pixels = {}};
    const int stride = 3 * frame.width;
    picture.pixels.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(frame.height));
    const Video::ScalerPointer scaler(sws_getContext(frame.width, frame.height, Video::PlainFormat(frame.format),
                                                     frame.width, frame.height, AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr,
                                                     nullptr, nullptr));
    std::uint8_t* planes[] = {picture.pixels.data(), nullptr, nullptr, nullptr};
    const int strides[] = {stride, 0, 0, 0};
    if (!scaler || sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) < 0) {
        throw Video::Failure(Video::Concern::Input, "a picture cannot be converted to RGB");
    }
    return picture;
}

}  // namespace Python
