// Is what is drawn where it belongs, and nowhere else?
#include "video/pictures/FrameDrawing.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "video/media/Libav.h"

namespace Video {
namespace {

FramePointer GreyFrame(int width, int height) {
    FramePointer frame = NewFrame();
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 ? height : (height + 1) / 2;
        std::memset(frame->data[plane], 50,
                    static_cast<std::size_t>(frame->linesize[plane]) * static_cast<std::size_t>(rows));
    }
    return frame;
}

std::uint8_t Luma(const AVFrame& frame, int x, int y) { return frame.data[0][y * frame.linesize[0] + x]; }

TEST(FrameDrawing, OfABoxOnlyTheOutlineIsDrawn) {
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

TEST(FrameDrawing, WhatLiesOutsideIsCutOff) {
    const FramePointer frame = GreyFrame(32, 32);
    DrawBox(*frame, {-20, -20, 30, 30});
    DrawBox(*frame, {25, 25, 100, 100});
    DrawBox(*frame, {200, 200, 10, 10});
    EXPECT_NE(Luma(*frame, 9, 0), 50);
    EXPECT_NE(Luma(*frame, 25, 31), 50);
    EXPECT_EQ(Luma(*frame, 5, 5), 50);
    EXPECT_EQ(Luma(*frame, 31, 31), 50);
}

TEST(FrameDrawing, ATintMixes) {
    const FramePointer frame = GreyFrame(32, 32);
    Tint(*frame, {4, 6, 8, 10}, {150, 250, 0}, 40);
    EXPECT_EQ(Luma(*frame, 4, 6), 90);
    EXPECT_EQ(Luma(*frame, 11, 15), 90);
    EXPECT_EQ(Luma(*frame, 12, 15), 50);
    EXPECT_EQ(frame->data[1][3 * frame->linesize[1] + 2], 130);
    EXPECT_EQ(frame->data[2][3 * frame->linesize[2] + 2], 30);
    EXPECT_EQ(frame->data[2][3 * frame->linesize[2] + 1], 50);
}

// The rows of a label of one dot per pixel, light dots as '#'.
std::string RowOf(const AVFrame& frame, int y, int width) {
    std::string row;
    for (int x = 0; x < width; ++x) {
        row += Luma(frame, x, y) > 200 ? '#' : '.';
    }
    return row;
}

TEST(FrameDrawing, ALabelHoldsItsLetters) {
    const FramePointer frame = GreyFrame(64, 48);
    DrawLabel(*frame, 0, 0, "Lg");
    EXPECT_EQ(LabelHeight(*frame), 10);
    const char* expected[] = {".............", ".#...........", ".#...........", ".#......####.", ".#.....#...#.",
                              ".#.....#...#.", ".#......####.", ".#####.....#.", "........###..", "............."};
    for (int y = 0; y < 10; ++y) {
        EXPECT_EQ(RowOf(*frame, y, 13), expected[y]) << "row " << y;
    }
    EXPECT_LT(Luma(*frame, 12, 9), 40) << "the ground is dark";
    EXPECT_EQ(Luma(*frame, 13, 0), 50);
    EXPECT_EQ(Luma(*frame, 0, 10), 50);
}

TEST(FrameDrawing, ALabelIsMovedIntoThePictureAndGrowsWithIt) {
    const FramePointer small = GreyFrame(32, 32);
    DrawLabel(*small, 30, -8, "I");
    EXPECT_EQ(RowOf(*small, 1, 32), "..........................###...") << "at the right";
    DrawLabel(*small, -5, 40, "a label that is too long");
    EXPECT_LT(Luma(*small, 0, 31), 40) << "at the bottom, from the left";
    const FramePointer large = GreyFrame(200, 480);
    DrawLabel(*large, 0, 0, "L");
    EXPECT_EQ(LabelHeight(*large), 20);
    EXPECT_EQ(RowOf(*large, 3, 14), "..##..........");
}

TEST(FrameDrawing, LettersOfSeveralBytesAreOneEach) {
    const FramePointer frame = GreyFrame(64, 48);
    DrawLabel(*frame, 0, 0, "\xc3\xa4");
    EXPECT_EQ(RowOf(*frame, 1, 8), ".#####..");
    EXPECT_EQ(Luma(*frame, 7, 0), 50);
}

}  // namespace
}  // namespace Video
