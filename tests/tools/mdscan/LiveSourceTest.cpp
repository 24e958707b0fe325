// Is no more kept than there is room for, and nothing lost that is not told?  A file stands for the source: it sends
// everything at once, and ends.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ScanFixture.h"
#include "video/media/Connection.h"
#include "video/media/LiveSource.h"
#include "video/time/TickTime.h"

namespace Scan {
namespace {

constexpr int pictures = 60, group = 12;

class LiveSourceTest : public ScanFixture {
protected:
    void SetUp() override {
        const Video::SquareScene scene{.width = 64, .height = 48, .seconds = pictures / 10.0, .from = 0, .until = 0};
        Video::WriteEncoded({scene}, {.codec = "mpeg4", .container = "matroska", .groupSize = group}, In("clip.mkv"));
    }

    std::string Url() const { return "file:" + In("clip.mkv"); }

    std::unique_ptr<Video::LiveSource> Open(const Video::LiveLimits& limits) const {
        auto patience = std::make_unique<Video::Patience>();
        Video::Connection connection = Video::FindVideo(Video::OpenRemote(Url(), *patience, 0));
        return std::make_unique<Video::LiveSource>(Url(), limits, std::move(patience), std::move(connection));
    }

    static std::vector<Video::LivePacket> All(Video::LiveSource& source, std::size_t most = 1000) {
        std::vector<Video::LivePacket> all;
        while (all.size() < most && !source.IsOver()) {
            if (std::optional<Video::LivePacket> packet = source.Take(Video::oneSecond / 100)) {
                all.push_back(std::move(*packet));
            }
        }
        return all;
    }

    static bool IsComplete(const Video::LivePacket& packet) { return (packet.packet->flags & AV_PKT_FLAG_KEY) != 0; }
};

TEST_F(LiveSourceTest, EverythingArrivesWhereThereIsRoom) {
    const std::unique_ptr<Video::LiveSource> source = Open({.reconnect = 0});
    const std::vector<Video::LivePacket> all = All(*source);
    ASSERT_EQ(all.size(), static_cast<std::size_t>(pictures));
    for (const Video::LivePacket& packet : all) {
        EXPECT_EQ(packet.hole, "");
    }
    EXPECT_EQ(source->Dropped(), 0);
    EXPECT_EQ(source->Trouble(), "the connection ended");
    EXPECT_FALSE(source->Take(0));
}

TEST_F(LiveSourceTest, WithoutRoomItGoesOnWithACompletePicture) {
    const std::vector<Video::LivePacket> whole = All(*Open({.reconnect = 0}));
    std::size_t room = 0;  // for a group and a half
    for (std::size_t i = 0; i < group + group / 2; ++i) {
        room += static_cast<std::size_t>(whole[i].packet->size);
    }
    const std::unique_ptr<Video::LiveSource> source = Open({.reconnect = 0, .mostBytes = room});
    while (source->Trouble().empty() && source->Dropped() < pictures / 2) {  // nobody takes anything meanwhile
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const std::vector<Video::LivePacket> rest = All(*source);
    ASSERT_FALSE(rest.empty());
    EXPECT_GT(source->Dropped(), 0);
    EXPECT_EQ(static_cast<std::int64_t>(rest.size()) + source->Dropped(), pictures);
    EXPECT_TRUE(IsComplete(rest.front()));
    EXPECT_NE(rest.front().hole.find("the scan was too slow, "), std::string::npos) << rest.front().hole;
    EXPECT_EQ(whole[static_cast<std::size_t>(source->Dropped())].packet->pts, rest.front().packet->pts)
        << "the newest are kept";
}

TEST_F(LiveSourceTest, WhatBreaksIsConnectedAnew) {
    const std::unique_ptr<Video::LiveSource> source = Open({.reconnect = 60, .firstWait = Video::oneSecond / 100});
    const std::vector<Video::LivePacket> twice = All(*source, 2 * pictures);
    ASSERT_EQ(twice.size(), 2u * pictures);
    for (std::size_t i = 0; i < twice.size(); ++i) {
        EXPECT_EQ(twice[i].hole, i == pictures ? "the connection ended" : "") << i;
        EXPECT_EQ(twice[i].facts == twice.front().facts, i < pictures) << i;
        EXPECT_TRUE(i == 0 || twice[i].arrival >= twice[i - 1].arrival) << i;
    }
}

TEST_F(LiveSourceTest, WhatStaysAwayIsTroubleUntilNobodyWantsIt) {
    std::unique_ptr<Video::LiveSource> source = Open({.reconnect = 60, .firstWait = Video::oneSecond / 100});
    All(*source, 1);
    std::filesystem::remove(In("clip.mkv"));
    const auto begin = std::chrono::steady_clock::now();
    while (source->Trouble().find("No such file") == std::string::npos) {
        source->Take(Video::oneSecond / 100);
        ASSERT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << source->Trouble();
    }
    EXPECT_FALSE(source->IsOver());
    const auto farewell = std::chrono::steady_clock::now();
    source.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - farewell, std::chrono::milliseconds(900)) << "not left to itself";
}

}  // namespace
}  // namespace Scan
