// Is a file read to its end, and is it told when that comes too early?
#include "video/media/FileSource.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ClipFixture.h"
#include "video/base/Failure.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

using Kind = Reading::Kind;

class FileSourceTest : public ClipFixture {
protected:
    // Twenty pictures, ten a second.
    std::string Encoded(const std::string& codec, const std::string& container) const {
        WriteEncoded({{.width = 64, .height = 48, .seconds = 2, .from = 0, .until = 2}},
                     {.codec = codec, .container = container}, In("clip"));
        return In("clip");
    }

    static int PacketsOf(PacketSource& source) {
        int packets = 0;
        const PacketPointer packet = NewPacket();
        for (;;) {
            const Reading reading = source.Read(*packet);
            EXPECT_EQ(reading.damage, "");
            if (reading.kind == Kind::Packet) {
                ++packets;
                EXPECT_EQ(reading.facts, source.Facts());
            }
            av_packet_unref(packet.get());
            if (reading.kind != Kind::Packet && reading.kind != Kind::Nothing) {
                EXPECT_EQ(reading.kind, Kind::End);
                return packets;
            }
        }
    }

    static std::string TroubleWith(const std::string& path) {
        try {
            FileSource source(path);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), exitFailed);
            return failure.what();
        }
        return "";
    }
};

TEST_F(FileSourceTest, ItHasAllPacketsAndAnEnd) {
    FileSource source(Encoded("mpeg4", "mp4"));
    EXPECT_FALSE(source.IsLive());
    EXPECT_EQ(source.Facts()->nominalInterval, oneSecond / 10);
    EXPECT_EQ(PacketsOf(source), 20);
    EXPECT_EQ(source.EndError(), "");
    EXPECT_EQ(source.GaveUp(), "");
    EXPECT_FALSE(source.OpenGap(0));
    const PacketPointer packet = NewPacket();
    EXPECT_EQ(source.Read(*packet).kind, Kind::End) << "and stays at it";
}

TEST_F(FileSourceTest, ANameWithAColonIsAName) {
    std::filesystem::rename(Encoded("mpeg4", "mp4"), In("http:clip"));
    FileSource source(In("http:clip"));
    EXPECT_EQ(PacketsOf(source), 20);
}

TEST_F(FileSourceTest, WhatIsNoVideoIsNamed) {
    Write("empty", "");
    Write("text", "no video at all, but many words, one after the other\n");
    EXPECT_EQ(TroubleWith(In("missing")), "cannot open: No such file or directory");
    EXPECT_EQ(TroubleWith(In("")), "cannot open: is a directory");
    EXPECT_EQ(TroubleWith(In("empty")), "cannot open: is empty");
    EXPECT_EQ(TroubleWith(In("text")).find("cannot open: "), 0u) << TroubleWith(In("text"));
}

TEST_F(FileSourceTest, ProgressIsAShareOfTheLength) {
    FileSource source(Encoded("mpeg4", "mp4"));
    EXPECT_NEAR(source.Progress(oneSecond), 0.5, 0.01);
    EXPECT_EQ(source.Progress(9 * oneSecond), 1);
    EXPECT_EQ(source.Progress(-oneSecond), 0);
}

TEST_F(FileSourceTest, WhatTheHeaderPromisesIsMissed) {
    const FileSource source(Encoded("mpeg4", "mp4"));
    EXPECT_EQ(source.Shortfall(2 * oneSecond, ""), "");
    EXPECT_EQ(source.Shortfall(2 * oneSecond, "a complaint"), "") << "a complaint alone is none";
    EXPECT_EQ(source.Shortfall(oneSecond + oneSecond / 2, ""), "") << "less than a second is missing";
    EXPECT_EQ(source.Shortfall(oneSecond + oneSecond / 2, "a complaint"), "a complaint");
    EXPECT_EQ(source.Shortfall(oneSecond / 2, "a complaint"), "ends early, its header promises 2 s");
}

TEST_F(FileSourceTest, RawVideoEndsWithAWholePicture) {
    const std::string clip = RawClip({.width = 64, .height = 48, .seconds = 1, .from = 0, .until = 0});
    FileSource whole(clip);
    EXPECT_EQ(PacketsOf(whole), 10);
    EXPECT_EQ(whole.Shortfall(oneSecond, ""), "");
    std::filesystem::resize_file(clip, std::filesystem::file_size(clip) - 1000);
    FileSource cut(clip);
    const PacketPointer packet = NewPacket();
    Reading reading;
    int packets = 0;
    do {
        reading = cut.Read(*packet);
        packets += reading.kind == Kind::Packet && reading.damage.empty();
        av_packet_unref(packet.get());
    } while (reading.kind == Kind::Packet);
    EXPECT_EQ(packets, 9);
    const bool isTold = reading.kind == Kind::Nothing ? !reading.damage.empty() : !cut.Shortfall(oneSecond, "").empty();
    EXPECT_TRUE(isTold);
}

}  // namespace
}  // namespace Video
