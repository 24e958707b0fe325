// Are common pictures taken as they are, and all others converted?
#include "video/media/PlainPicture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "video/media/Libav.h"

namespace Video {
namespace {

FramePointer FrameOf(AVPixelFormat format, int width = 64, int height = 48) {
    FramePointer frame = NewFrame();
    frame->width = width;
    frame->height = height;
    frame->format = format;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

struct Layout {
    AVPixelFormat given;
    Host::PixelFormat expected;
    std::size_t planes;
};

class CommonLayout : public testing::TestWithParam<Layout> {};

TEST_P(CommonLayout, IsNotCopied) {
    const FramePointer frame = FrameOf(GetParam().given);
    PlainPicture picture;
    picture.Take(*frame);
    EXPECT_EQ(picture.Format().format, GetParam().expected);
    EXPECT_EQ(picture.Format().width, 64);
    EXPECT_EQ(picture.Format().height, 48);
    for (std::size_t plane = 0; plane < GetParam().planes; ++plane) {
        EXPECT_EQ(picture.View().plane[plane], frame->data[plane]);
        EXPECT_EQ(picture.View().stride[plane], frame->linesize[plane]);
    }
}

using Host::PixelFormat;
INSTANTIATE_TEST_SUITE_P(
    PlainPicture, CommonLayout,
    testing::Values(Layout{AV_PIX_FMT_YUV420P, PixelFormat::Yuv420, 3}, Layout{AV_PIX_FMT_YUVJ420P, PixelFormat::Yuv420, 3},
                    Layout{AV_PIX_FMT_YUV422P, PixelFormat::Yuv422, 3}, Layout{AV_PIX_FMT_YUVJ422P, PixelFormat::Yuv422, 3},
                    Layout{AV_PIX_FMT_YUV444P, PixelFormat::Yuv444, 3}, Layout{AV_PIX_FMT_YUVJ444P, PixelFormat::Yuv444, 3},
                    Layout{AV_PIX_FMT_NV12, PixelFormat::Nv12, 2}, Layout{AV_PIX_FMT_GRAY8, PixelFormat::Grey, 1}));

TEST(PlainPicture, TenBitsBecomeEight) {
    const FramePointer frame = FrameOf(AV_PIX_FMT_YUV420P10LE);
    for (int plane = 0; plane < 3; ++plane) {
        const std::uint16_t value = plane == 0 ? 400 : plane == 1 ? 480 : 600;
        for (int y = 0; y < (plane == 0 ? 48 : 24); ++y) {
            std::uint8_t* row = frame->data[plane] + std::ptrdiff_t{y} * frame->linesize[plane];
            for (int x = 0; x < (plane == 0 ? 64 : 32); ++x) {
                std::memcpy(row + 2 * x, &value, sizeof value);
            }
        }
    }
    PlainPicture picture;
    picture.Take(*frame);
    EXPECT_EQ(picture.Format().format, Host::PixelFormat::Yuv420);
    constexpr int expected[3] = {100, 120, 150};
    for (std::size_t plane = 0; plane < 3; ++plane) {
        for (const int place : {0, 7, 20}) {
            EXPECT_NEAR(picture.View().plane[plane][place * picture.View().stride[plane] + place], expected[plane], 1);
        }
    }
}

TEST(PlainPicture, ConvertedPicturesMayChangeTheirSize) {
    PlainPicture picture;
    const FramePointer small = FrameOf(AV_PIX_FMT_RGB24, 32, 16), large = FrameOf(AV_PIX_FMT_RGB24, 100, 60);
    for (const AVFrame* frame : {small.get(), large.get(), small.get()}) {
        std::memset(frame->data[0], 255,
                    static_cast<std::size_t>(frame->linesize[0]) * static_cast<std::size_t>(frame->height));
        picture.Take(*frame);
        EXPECT_EQ(picture.Format().width, frame->width);
        const std::ptrdiff_t last = (frame->height - 1) * picture.View().stride[0] + frame->width - 1;
        EXPECT_NEAR(picture.View().plane[0][last], 235, 1) << "white, in the usual video range";
    }
}

}  // namespace
}  // namespace Video
