// When is a live source given up, and what does it say of its holes?  A file stands for the source: it sends everything at
// once, and ends.
#include "video/media/LiveSource.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "ClipFixture.h"
#include "video/base/Gap.h"
#include "video/media/Connection.h"
#include "video/media/Libav.h"
#include "video/media/LiveReader.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {
namespace {

using Kind = Reading::Kind;
constexpr int pictures = 20;

class LiveSourceTest : public ClipFixture {
protected:
    void SetUp() override {
        const SquareScene scene{.width = 64, .height = 48, .seconds = pictures / 10.0, .from = 0, .until = 0};
        WriteEncoded({scene}, {.codec = "mpeg4", .container = "matroska", .gop = 5}, In("clip.mkv"));
    }

    std::unique_ptr<LiveSource> Open(const LiveLimits& limits) const {
        const std::string url = "file:" + In("clip.mkv");
        auto patience = std::make_unique<Patience>();
        Connection connection = FindVideo(OpenRemote(url, *patience, 0));
        return std::make_unique<LiveSource>(url, limits, std::move(patience), std::move(connection));
    }

    // Until another answer than that of a packet, or none so far.
    static Reading ReadAll(LiveSource& source, int& packets, int most = 1000) {
        const PacketPointer packet = NewPacket();
        for (;;) {
            Reading reading = source.Read(*packet);
            packets += reading.kind == Kind::Packet;
            av_packet_unref(packet.get());
            if ((reading.kind != Kind::Packet && reading.kind != Kind::Nothing) || packets == most) {
                return reading;
            }
        }
    }
};

TEST_F(LiveSourceTest, WhatIsNotTriedAgainIsGivenUpWhereItBreaks) {
    const std::unique_ptr<LiveSource> source = Open({.reconnect = 0});
    EXPECT_TRUE(source->IsLive());
    EXPECT_FALSE(source->Started());
    EXPECT_FALSE(source->OpenGap(0)) << "there is no time before the first packet";
    int packets = 0;
    EXPECT_EQ(ReadAll(*source, packets).kind, Kind::Over);
    EXPECT_EQ(packets, pictures);
    EXPECT_EQ(source->GaveUp(), "the connection ended");
    EXPECT_EQ(source->DroppedPackets(), 0);
    EXPECT_EQ(source->Progress(oneSecond), 0);
}

TEST_F(LiveSourceTest, ItsTimeBeginsWithTheFirstPacket) {
    const WallTicks before = WallNow();
    const std::unique_ptr<LiveSource> source = Open({.reconnect = 0});
    const PacketPointer packet = NewPacket();
    const Reading reading = source->Read(*packet);
    ASSERT_EQ(reading.kind, Kind::Packet);
    EXPECT_EQ(reading.arrival, 0);
    EXPECT_EQ(reading.facts, source->Facts());
    EXPECT_GT(packet->size, 0);
    ASSERT_TRUE(source->Started());
    EXPECT_EQ(source->Started()->source, ClockSource::Arrival);
    EXPECT_NEAR(ToSeconds(source->Started()->at - before), 0, 5);
}

TEST_F(LiveSourceTest, AnotherConnectionComesWithItsHole) {
    const std::unique_ptr<LiveSource> source = Open({.reconnect = 60, .firstWait = oneSecond / 100});
    source->AwaitPicture();
    int packets = 0;
    const Reading first = ReadAll(*source, packets, pictures), anew = ReadAll(*source, packets, pictures + 1);
    EXPECT_EQ(first.facts, source->Facts());
    EXPECT_EQ(first.hole, "");
    EXPECT_EQ(anew.kind, Kind::Packet);
    EXPECT_NE(anew.facts, source->Facts());
    EXPECT_EQ(anew.hole, "the connection ended");
    EXPECT_GE(anew.arrival, first.arrival);
}

TEST_F(LiveSourceTest, WithoutAPictureForLongItIsGivenUp) {
    const std::unique_ptr<LiveSource> source = Open({.reconnect = 2, .firstWait = oneSecond / 100});
    std::filesystem::remove(In("clip.mkv"));  // what is open can be read to its end
    source->AwaitPicture();
    int packets = 0;
    ReadAll(*source, packets);
    EXPECT_EQ(packets, pictures);
    EXPECT_EQ(source->GaveUp().find("gave up after 2 s without a picture: "), 0u) << source->GaveUp();
    EXPECT_NE(source->GaveUp().find("No such file"), std::string::npos) << source->GaveUp();
    const std::optional<Gap> gap = source->OpenGap(oneSecond / 100);
    ASSERT_TRUE(gap);
    EXPECT_EQ(gap->start, oneSecond / 100);
    EXPECT_GT(gap->end, oneSecond);
    EXPECT_NE(gap->reason.find("No such file"), std::string::npos) << gap->reason;
}

}  // namespace
}  // namespace Video
