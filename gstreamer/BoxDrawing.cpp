// Which samples does a line cover?
#include "gstreamer/BoxDrawing.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Gst {

namespace {

constexpr int lineWidth = 2;                                  // pixels: chroma has a sample for all of them
constexpr std::array<std::uint8_t, 3> green = {173, 42, 26};  // Y, Cb, Cr of BT.709 in the video range

int OffsetOf(const GstVideoFrame& frame, int component) {
    return GST_VIDEO_FORMAT_INFO_POFFSET(frame.info.finfo, component);
}

void Fill(GstVideoFrame& frame, const Video::Box& part) {
    const int components = std::min<int>(GST_VIDEO_FRAME_N_COMPONENTS(&frame), static_cast<int>(green.size()));
    for (int component = 0; component < components; ++component) {
        const GstVideoFormatInfo* const format = frame.info.finfo;
        const auto across = [&](int x) { return GST_VIDEO_FORMAT_INFO_SCALE_WIDTH(format, component, x); };
        const auto down = [&](int y) { return GST_VIDEO_FORMAT_INFO_SCALE_HEIGHT(format, component, y); };
        const auto stride = static_cast<std::ptrdiff_t>(GST_VIDEO_FRAME_COMP_STRIDE(&frame, component));
        // Byte of a sample of ten bits. Of P010, Cr begins two bytes into its plane, where GStreamer 1.22 says one.
        const int upper = GST_VIDEO_FRAME_COMP_DEPTH(&frame, component) > 8 ? 1 + (OffsetOf(frame, component) & 1) : 0;
        const int step = GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component);
        auto* const first = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component));
        // Subsampled positions round up: within the plane at its end, too.
        const int left = part.x / std::max(1, 1 << GST_VIDEO_FORMAT_INFO_W_SUB(format, component));
        const int top = part.y / std::max(1, 1 << GST_VIDEO_FORMAT_INFO_H_SUB(format, component));
        for (int y = top; y < down(part.y + part.height); ++y) {
            for (int x = left; x < across(part.x + part.width); ++x) {
                first[y * stride + x * step + upper] = green[static_cast<std::size_t>(component)];
            }
        }
    }
}

}  // namespace

void DrawBox(GstVideoFrame& frame, const Video::Box& box) {
    const int width = std::min(lineWidth, box.width), height = std::min(lineWidth, box.height);
    Fill(frame, {box.x, box.y, box.width, height});
    Fill(frame, {box.x, box.y + box.height - height, box.width, height});
    Fill(frame, {box.x, box.y, width, box.height});
    Fill(frame, {box.x + box.width - width, box.y, width, box.height});
}

}  // namespace Gst
