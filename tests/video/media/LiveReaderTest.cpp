// Is no more kept than there is room for, and nothing lost that is not told?  A file stands for the source: it sends
// everything at once, and ends.
#include "video/media/LiveReader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ClipFixture.h"
#include "video/media/Connection.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr int pictures = 60, gop = 12;

class LiveReaderTest : public ClipFixture {
protected:
    void SetUp() override {
        const SquareScene scene{.width = 64, .height = 48, .seconds = pictures / 10.0, .from = 0, .until = 0};
        WriteEncoded({scene}, {.codec = "mpeg4", .container = "matroska", .gop = gop}, In("clip.mkv"));
    }

    std::string Url() const { return "file:" + In("clip.mkv"); }

    std::unique_ptr<LiveReader> Open(const LiveLimits& limits) const {
        auto patience = std::make_unique<Patience>();
        Connection connection = FindVideo(OpenRemote(Url(), *patience, 0));
        return std::make_unique<LiveReader>(Url(), limits, std::move(patience), std::move(connection));
    }

    static std::vector<LivePacket> All(LiveReader& reader, std::size_t most = 1000) {
        std::vector<LivePacket> all;
        while (all.size() < most && !reader.IsOver()) {
            if (std::optional<LivePacket> packet = reader.Take(oneSecond / 100)) {
                all.push_back(std::move(*packet));
            }
        }
        return all;
    }

    static bool IsKeyframe(const LivePacket& packet) { return (packet.packet->flags & AV_PKT_FLAG_KEY) != 0; }
};

TEST_F(LiveReaderTest, EverythingArrivesWhereThereIsRoom) {
    const std::unique_ptr<LiveReader> reader = Open({.reconnect = 0});
    const std::vector<LivePacket> all = All(*reader);
    ASSERT_EQ(all.size(), static_cast<std::size_t>(pictures));
    for (const LivePacket& packet : all) {
        EXPECT_EQ(packet.hole, "");
    }
    EXPECT_EQ(reader->Dropped(), 0);
    EXPECT_EQ(reader->Trouble(), "the connection ended");
    EXPECT_FALSE(reader->Take(0));
}

TEST_F(LiveReaderTest, WithoutRoomItGoesOnWithAKeyframe) {
    const std::vector<LivePacket> whole = All(*Open({.reconnect = 0}));
    std::size_t room = 0;  // for a GOP and a half
    for (std::size_t i = 0; i < gop + gop / 2; ++i) {
        room += static_cast<std::size_t>(whole[i].packet->size);
    }
    const std::unique_ptr<LiveReader> reader = Open({.reconnect = 0, .mostBytes = room});
    while (reader->Trouble().empty() && reader->Dropped() < pictures / 2) {  // nobody takes anything meanwhile
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const std::vector<LivePacket> rest = All(*reader);
    ASSERT_FALSE(rest.empty());
    EXPECT_GT(reader->Dropped(), 0);
    EXPECT_EQ(static_cast<std::int64_t>(rest.size()) + reader->Dropped(), pictures);
    EXPECT_TRUE(IsKeyframe(rest.front()));
    EXPECT_NE(rest.front().hole.find("the scan was too slow, "), std::string::npos) << rest.front().hole;
    EXPECT_EQ(whole[static_cast<std::size_t>(reader->Dropped())].packet->pts, rest.front().packet->pts)
        << "the newest are kept";
}

TEST_F(LiveReaderTest, WhatBreaksIsConnectedAnew) {
    const std::unique_ptr<LiveReader> reader = Open({.reconnect = 60, .firstWait = oneSecond / 100});
    const std::vector<LivePacket> twice = All(*reader, 2 * pictures);
    ASSERT_EQ(twice.size(), 2u * pictures);
    for (std::size_t i = 0; i < twice.size(); ++i) {
        EXPECT_EQ(twice[i].hole, i == pictures ? "the connection ended" : "") << i;
        EXPECT_EQ(twice[i].facts == twice.front().facts, i < pictures) << i;
        EXPECT_TRUE(i == 0 || twice[i].arrival >= twice[i - 1].arrival) << i;
    }
}

TEST_F(LiveReaderTest, WhatStaysAwayIsTroubleUntilNobodyWantsIt) {
    std::unique_ptr<LiveReader> reader = Open({.reconnect = 60, .firstWait = oneSecond / 100});
    All(*reader, 1);
    std::filesystem::remove(In("clip.mkv"));
    const auto begin = std::chrono::steady_clock::now();
    while (reader->Trouble().find("No such file") == std::string::npos) {
        reader->Take(oneSecond / 100);
        ASSERT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << reader->Trouble();
    }
    EXPECT_FALSE(reader->IsOver());
    const auto farewell = std::chrono::steady_clock::now();
    reader.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - farewell, std::chrono::milliseconds(900)) << "not left to itself";
}

}  // namespace
}  // namespace Video
