// When do packets no longer belong into a clip?  Packets and pictures as a decoder tells of them, without one.
#include "video/pictures/Clips.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "FolderFixture.h"
#include "video/base/Clip.h"
#include "video/media/Libav.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Video {
namespace {

class ClipsTest : public Kit::FolderFixture {};

int PacketsIn(const std::string& path) {
    AVFormatContext* opened = nullptr;
    EXPECT_EQ(avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, nullptr), 0);
    const InputPointer input(opened);
    const PacketPointer packet = NewPacket();
    int count = 0;
    for (; av_read_frame(opened, packet.get()) >= 0; ++count) {
        av_packet_unref(packet.get());
    }
    return count;
}

// Twenty pictures, one a tenth of a second, a keyframe every five; with the twelfth packet, the stored format changes.
TEST_F(ClipsTest, AStoredFormatThatChangesEndsTheClip) {
    const InputPointer described(avformat_alloc_context());
    AVStream* stream = avformat_new_stream(described.get(), nullptr);
    stream->time_base = {1, 10};
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = AV_CODEC_ID_FFV1;
    std::filesystem::create_directories(In("clips"));
    const FramePointer picture = NewFrame();
    picture->width = 64;
    picture->height = 48;

    const Ticks tenth = oneSecond / 10;
    Clips clips(In("clips"), "a.mkv", false, 0, tenth);
    clips.OnStream(*stream);
    for (int i = 0; i < 20; ++i) {
        const PacketPointer packet = NewPacket();
        ASSERT_EQ(av_new_packet(packet.get(), 100), 0);
        std::fill_n(packet->data, packet->size, std::uint8_t{1});
        packet->flags = i % 5 == 0 ? AV_PKT_FLAG_KEY : 0;
        packet->pts = packet->dts = i;
        if (i == 12) {
            *av_packet_new_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, 1) = 1;
        }
        clips.OnPacket(*packet, i);
        clips.OnPicture(*picture, i, i * tenth);
        if (i >= 6 && i != 17) {
            clips.Follow(Span{(i < 17 ? 6 : 18) * tenth, i * tenth}, i < 17 ? 1 : 2);
        } else if (i == 17) {
            const std::optional<Clip> clip = clips.Finish({6 * tenth, 16 * tenth}, 1);
            ASSERT_TRUE(clip);
            EXPECT_EQ(clip->start, 5 * tenth);
            EXPECT_EQ(PacketsIn(clip->path), 7) << "5 to 11";
        }
    }
    const std::optional<Clip> second = clips.Finish({18 * tenth, 19 * tenth}, 2);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->start, 15 * tenth);
    EXPECT_EQ(PacketsIn(second->path), 5);

    clips.OnStream(*stream);
    const PacketPointer packet = NewPacket();
    ASSERT_EQ(av_new_packet(packet.get(), 100), 0);
    clips.OnPacket(*packet, 20);
    clips.OnPicture(*picture, 20, 20 * tenth);
    EXPECT_FALSE(clips.Finish({20 * tenth, 20 * tenth}, 3)) << "there is no keyframe";
}

}  // namespace
}  // namespace Video
