// Is a box drawn around its pixels, and nowhere else?
#include "Overlay.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Scan {
namespace {

FramePointer GreyFrame(int width, int height) {
    FramePointer frame = NewFrame();
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 ? height : (height + 1) / 2;
        std::memset(frame->data[plane], 50, static_cast<std::size_t>(frame->linesize[plane]) * static_cast<std::size_t>(rows));
    }
    return frame;
}

std::uint8_t Luma(const AVFrame& frame, int x, int y) {
    return frame.data[0][y * frame.linesize[0] + x];
}

TEST(OverlayBox, OnlyTheOutlineIsDrawn) {
    const FramePointer frame = GreyFrame(64, 48);
    DrawBox(*frame, {10, 8, 20, 16});
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x) {
            const bool inside = x >= 10 && x < 30 && y >= 8 && y < 24;
            const bool interior = x >= 12 && x < 28 && y >= 10 && y < 22;
            ASSERT_EQ(Luma(*frame, x, y) != 50, inside && !interior) << x << ", " << y;
        }
    }
    EXPECT_NE(frame->data[1][4 * frame->linesize[1] + 5], 50) << "the corner has the box's colour";
    EXPECT_EQ(frame->data[1][8 * frame->linesize[1] + 10], 50) << "the middle keeps its own";
}

TEST(OverlayBox, WhatLiesOutsideIsCutOff) {
    const FramePointer frame = GreyFrame(32, 32);
    DrawBox(*frame, {-20, -20, 30, 30});
    DrawBox(*frame, {25, 25, 100, 100});
    DrawBox(*frame, {200, 200, 10, 10});
    EXPECT_NE(Luma(*frame, 9, 0), 50);
    EXPECT_NE(Luma(*frame, 25, 31), 50);
    EXPECT_EQ(Luma(*frame, 5, 5), 50);
    EXPECT_EQ(Luma(*frame, 31, 31), 50);
}

}  // namespace
}  // namespace Scan
