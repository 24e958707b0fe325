// Is a clip's file there when it is whole, and only then?
#include "video/pictures/ClipWriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "FolderFixture.h"
#include "video/base/Failure.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

namespace fs = std::filesystem;

// A stream as a demuxer describes it.
class ClipWriterTest : public Kit::FolderFixture {
protected:
    void SetUp() override {
        _input.reset(avformat_alloc_context());
        _stream = avformat_new_stream(_input.get(), nullptr);
        _stream->time_base = {1, 25};
        _stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        _stream->codecpar->width = 64;
        _stream->codecpar->height = 48;
    }

    StoredVideo Video(AVCodecID codec) {
        _stream->codecpar->codec_id = codec;
        return {*_stream, oneSecond / 25};
    }

    static std::string Refusal(const StoredVideo& video) {
        try {
            video.Check();
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "";
    }

    InputPointer _input;
    AVStream* _stream = nullptr;
};

TEST_F(ClipWriterTest, OnlyAFinishedClipHasItsName) {
    const std::string path = In("a-1.mp4");
    const PacketPointer packet = NewPacket();
    ASSERT_EQ(av_new_packet(packet.get(), 100), 0);
    for (const bool finishes : {false, true}) {
        {
            ClipWriter writer(path, "", Video(AV_CODEC_ID_MJPEG), 0);
            for (int i = 0; i < 100; ++i) {
                writer.Write(*packet, i * oneSecond / 25);
            }
            EXPECT_FALSE(fs::exists(path)) << "as a kill would leave it";
            EXPECT_EQ(FilesInFolder().size(), 1u);
            if (finishes) {
                writer.Finish();
            }
        }
        EXPECT_EQ(fs::exists(path), finishes);
        EXPECT_EQ(FilesInFolder().size(), finishes ? 1u : 0u);
    }
}

// As of a damaged stream: late pictures, and several at one time.
TEST_F(ClipWriterTest, TimesThatDoNotRiseAreWrittenAllTheSame) {
    const std::string path = In("a-1.mp4");
    const PacketPointer packet = NewPacket();
    ASSERT_EQ(av_new_packet(packet.get(), 100), 0);
    ClipWriter writer(path, "", Video(AV_CODEC_ID_MJPEG), 0);
    for (int i = 0; i < 100; ++i) {
        writer.Write(*packet, (i == 80 ? 10 : i / 3) * oneSecond / 25);
    }
    writer.Finish();
    AVFormatContext* opened = nullptr;
    ASSERT_EQ(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
    const InputPointer input(opened);
    const PacketPointer read = NewPacket();
    int count = 0;
    for (; av_read_frame(opened, read.get()) >= 0; ++count) {
        av_packet_unref(read.get());
    }
    EXPECT_EQ(count, 100);
}

TEST_F(ClipWriterTest, ContainersAreChosenByCodec) {
    EXPECT_STREQ(Video(AV_CODEC_ID_H264).Ending(), ".mp4");
    EXPECT_STREQ(Video(AV_CODEC_ID_HEVC).Ending(), ".mp4");
    EXPECT_STREQ(Video(AV_CODEC_ID_VP8).Ending(), ".mkv");
    EXPECT_STREQ(Video(AV_CODEC_ID_FFV1).Ending(), ".mkv");
}

TEST_F(ClipWriterTest, TheContainersAspectCountsAndTagsAreTranslated) {
    _stream->sample_aspect_ratio = {1, 1};
    _stream->codecpar->sample_aspect_ratio = {12, 11};
    _stream->codecpar->codec_tag = MKTAG('s', '2', '6', '3');
    const StoredVideo video = Video(AV_CODEC_ID_H263);
    EXPECT_EQ(Refusal(video), "");
    EXPECT_EQ(av_cmp_q(video.NewOutput()->streams[0]->codecpar->sample_aspect_ratio, {1, 1}), 0);
}

TEST_F(ClipWriterTest, WhatFitsNoContainerIsNamed) {
    EXPECT_EQ(Refusal(Video(AV_CODEC_ID_ROQ)).rfind("cannot cut clips: its video (roq) fits neither MP4 nor Matroska: ", 0),
              0u)
        << Refusal(Video(AV_CODEC_ID_ROQ));
}

TEST_F(ClipWriterTest, NewExtradataIsNoticed) {
    StoredVideo video = Video(AV_CODEC_ID_MJPEG);
    const std::uint8_t data[] = {1, 2, 3};
    EXPECT_TRUE(video.ReplaceExtradata(data, sizeof(data)));
    EXPECT_FALSE(video.ReplaceExtradata(data, sizeof(data)));
    EXPECT_EQ(video.NewOutput()->streams[0]->codecpar->extradata_size, 3);
}

}  // namespace
}  // namespace Video
