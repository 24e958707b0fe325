// How is a frame of GStreamer's read as a picture?
#include "gstreamer/FramePicture.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Gst {

namespace {

Host::PixelFormat LayoutOf(GstVideoFormat format) {
    switch (format) {
        case GST_VIDEO_FORMAT_NV12: return Host::PixelFormat::Nv12;
        case GST_VIDEO_FORMAT_Y42B: return Host::PixelFormat::Yuv422;
        case GST_VIDEO_FORMAT_Y444: return Host::PixelFormat::Yuv444;
        case GST_VIDEO_FORMAT_P010_10LE: return Host::PixelFormat::P010;
        case GST_VIDEO_FORMAT_GRAY8: return Host::PixelFormat::Grey;
        default: return Host::PixelFormat::Yuv420;  // I420, and YV12, whose components are found by name
    }
}

}  // namespace

FramePart VisiblePart(GstBuffer* buffer, const GstVideoInfo& info) {
    const FramePart whole{0, 0, GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
    const GstVideoCropMeta* const crop = gst_buffer_get_video_crop_meta(buffer);
    if (!crop || crop->width == 0 || crop->height == 0 || crop->x >= static_cast<guint>(whole.width) ||
        crop->y >= static_cast<guint>(whole.height)) {
        return whole;
    }
    const int x = static_cast<int>(crop->x) & ~1, y = static_cast<int>(crop->y) & ~1;
    const auto extent = [](guint begin, guint size, int from, int limit) {
        return static_cast<int>(std::min(guint64{begin} + size, static_cast<guint64>(limit))) - from;
    };
    return {x, y, extent(crop->x, crop->width, x, whole.width), extent(crop->y, crop->height, y, whole.height)};
}

Host::PictureFormat FormatOf(const GstVideoInfo& info, const FramePart& part) {
    return {.width = part.width,
            .height = part.height,
            .format = LayoutOf(GST_VIDEO_INFO_FORMAT(&info)),
            .blockSize = 1,
            .range = info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255 ? Host::ColourRange::Full
                                                                           : Host::ColourRange::Limited};
}

Host::PictureView ViewOf(const GstVideoFrame& frame, const FramePart& part) {
    Host::PictureView view;
    const auto components = static_cast<std::size_t>(GST_VIDEO_FRAME_N_COMPONENTS(&frame));
    for (std::size_t i = 0; i < std::min(components, view.plane.size()); ++i) {
        const auto component = static_cast<gint>(i);
        const int x = GST_VIDEO_FORMAT_INFO_SCALE_WIDTH(frame.info.finfo, component, part.x);
        const int y = GST_VIDEO_FORMAT_INFO_SCALE_HEIGHT(frame.info.finfo, component, part.y);
        const auto stride = static_cast<std::ptrdiff_t>(GST_VIDEO_FRAME_COMP_STRIDE(&frame, component));
        const auto* const first = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component));
        view.plane[i] = first + y * stride + x * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component);
        view.stride[i] = stride;
    }
    return view;
}

}  // namespace Gst
