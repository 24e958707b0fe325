// Are common pictures taken as they are, and all others converted?  Are they turned as players turn them?
#include "video/media/PlainPicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "BlockReducer.h"
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
                    Layout{AV_PIX_FMT_NV12, PixelFormat::Nv12, 2}, Layout{AV_PIX_FMT_GRAY8, PixelFormat::Grey, 1},
                    Layout{AV_PIX_FMT_P010LE, PixelFormat::P010, 2},
                    Layout{AV_PIX_FMT_YUV420P10LE, PixelFormat::Yuv420P10, 3}));

TEST(PlainPicture, TwelveBitsBecomeEight) {
    const FramePointer frame = FrameOf(AV_PIX_FMT_YUV420P12LE);
    for (int plane = 0; plane < 3; ++plane) {
        const std::uint16_t value = plane == 0 ? 1600 : plane == 1 ? 1920 : 2400;
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

// A stream that says x' = a x + c y, y' = b x + d y.
struct MarkedStream {
    MarkedStream(int a, int b, int c, int d) {
        AVFormatContext* made = nullptr;
        avformat_alloc_output_context2(&made, nullptr, "mp4", nullptr);
        holder.reset(made);
        stream = avformat_new_stream(made, nullptr);
        auto* matrix = reinterpret_cast<std::int32_t*>(
            av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
        const int entries[9] = {a, b, 0, c, d, 0, 0, 0, 1 << 30};
        std::copy(std::begin(entries), std::end(entries), matrix);
    }

    OutputPointer holder;
    AVStream* stream;
};

struct TurnCase {
    int a, b, c, d;
    int rotation;
    bool mirrored;
    std::string shown;  // of "abc" over "def", rows separated by a space
};

TEST(PlainPicture, IsTurnedAsItsStreamSays) {
    constexpr int one = 1 << 16;
    const FramePointer frame = NewFrame();
    frame->width = 3;
    frame->height = 2;
    frame->format = AV_PIX_FMT_GRAY8;
    ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) {
            frame->data[0][y * frame->linesize[0] + x] = static_cast<std::uint8_t>('a' + 3 * y + x);
        }
    }
    for (const TurnCase& expected :
         {TurnCase{one, 0, 0, one, 0, false, "abc def "}, TurnCase{0, one, -one, 0, 90, false, "da eb fc "},
          TurnCase{-one, 0, 0, -one, 180, false, "fed cba "}, TurnCase{0, -one, one, 0, 270, false, "cf be ad "},
          TurnCase{-one, 0, 0, one, 0, true, "cba fed "}, TurnCase{0, one, one, 0, 90, true, "ad be cf "},
          TurnCase{one, 0, 0, -one, 180, true, "def abc "}, TurnCase{0, -one, -one, 0, 270, true, "fc eb da "},
          TurnCase{one, one, -one, one, 0, false, "abc def "}}) {
        const MarkedStream marked(expected.a, expected.b, expected.c, expected.d);
        const Turn turn = TurnOf(*marked.stream);
        EXPECT_EQ(turn.Rotation(), expected.rotation) << expected.shown;
        EXPECT_EQ(turn.IsMirrored(), expected.mirrored) << expected.shown;
        const FramePointer shown = Turned(*frame, turn);
        std::string text;
        for (int y = 0; y < shown->height; ++y) {
            for (int x = 0; x < shown->width; ++x) {
                text += static_cast<char>(shown->data[0][y * shown->linesize[0] + x]);
            }
            text += ' ';
        }
        EXPECT_EQ(text, expected.shown);
    }
}

// Two pixels a chroma sample, four, or one; NV12's come in pairs.
TEST(PlainPicture, ColoursAreTurnedWithTheirPixels) {
    for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV422P,
                                       AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_P010LE}) {
        const FramePointer grey = NewFrame();
        grey->width = 64;
        grey->height = 32;
        grey->format = AV_PIX_FMT_YUV420P;
        ASSERT_EQ(av_frame_get_buffer(grey.get(), 0), 0);
        for (int plane = 0; plane < 3; ++plane) {
            const int shift = plane > 0 ? 1 : 0;
            for (int y = 0; y < 32 >> shift; ++y) {
                for (int x = 0; x < 64 >> shift; ++x) {  // a corner of its own
                    const bool corner = x < 16 >> shift && y < 16 >> shift;
                    grey->data[plane][y * grey->linesize[plane] + x] =
                        static_cast<std::uint8_t>(corner ? 60 + 40 * plane : 128);
                }
            }
        }
        const FramePointer frame = NewFrame();
        frame->width = 64;
        frame->height = 32;
        frame->format = format;
        ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
        const ScalerPointer scaler(
            sws_getContext(64, 32, AV_PIX_FMT_YUV420P, 64, 32, format, SWS_POINT, nullptr, nullptr, nullptr));
        sws_scale(scaler.get(), grey->data, grey->linesize, 0, 32, frame->data, frame->linesize);
        const FramePointer shown = Turned(*frame, {.transposed = true, .flippedAcross = true});
        ASSERT_EQ(shown->width, 32);
        ASSERT_EQ(shown->height, 64);
        PlainPicture picture;
        picture.Take(*shown);
        Host::PictureFormat layout = picture.Format();
        layout.blockSize = 8;
        Host::BlockReducer reducer(layout);
        reducer.Reduce(picture.View());
        const std::uint8_t* planes = reducer.Ycbcr();
        for (int plane = 0; plane < 3; ++plane) {  // the upper left corner is the upper right one now
            EXPECT_NEAR(planes[plane * 32 + 3], 60 + 40 * plane, 2) << av_get_pix_fmt_name(format) << " " << plane;
            EXPECT_NEAR(planes[plane * 32], 128, 2) << av_get_pix_fmt_name(format) << " " << plane;
            EXPECT_NEAR(planes[plane * 32 + 31], 128, 2) << av_get_pix_fmt_name(format) << " " << plane;
        }
    }
}

}  // namespace
}  // namespace Video
