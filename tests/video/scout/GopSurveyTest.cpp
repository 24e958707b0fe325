// Is it known of a GOP how long it is and what is stored of it, and is the right made of that?
#include "video/scout/GopSurvey.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "ClipFixture.h"
#include "video/media/Libav.h"
#include "video/media/PacketSource.h"
#include "video/scout/GopSizes.h"
#include "video/scout/ScoutingGain.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

class GopSurveyTest : public ClipFixture {
protected:
    // Ten pictures a second.
    std::vector<StoredGop> Surveyed(const std::vector<SquareScene>& scenes, const Encoding& encoding) const {
        WriteEncoded(scenes, encoding, In("clip"));
        GopSurvey survey(OpenSource(In("clip")));
        std::vector<StoredGop> gops;
        while (const std::optional<StoredGop> gop = survey.Next()) {
            gops.push_back(*gop);
        }
        return gops;
    }

    std::int64_t StoredBytes() const {
        const std::unique_ptr<PacketSource> source = OpenSource(In("clip"));
        const PacketPointer packet = NewPacket();
        std::int64_t bytes = 0;
        while (source->Read(*packet).kind == Reading::Kind::Packet) {
            bytes += packet->size;
            av_packet_unref(packet.get());
        }
        return bytes;
    }
};

constexpr SquareScene still = {.width = 64, .height = 48, .seconds = 10, .from = 0, .until = 0};

TEST_F(GopSurveyTest, EveryPictureBelongsToOne) {
    const std::vector<StoredGop> gops = Surveyed({still}, {.codec = "mpeg4", .container = "matroska", .gop = 15});
    ASSERT_EQ(gops.size(), 7u);
    std::int64_t bytes = 0;
    for (std::size_t i = 0; i < gops.size(); ++i) {
        const bool isLast = i + 1 == gops.size();
        EXPECT_EQ(gops[i].begin, static_cast<Ticks>(i) * 15 * oneSecond / 10);
        EXPECT_EQ(gops[i].pictures, isLast ? 10 : 15);
        EXPECT_EQ(gops[i].length, isLast ? std::nullopt : std::optional(15 * oneSecond / 10));
        EXPECT_GT(gops[i].keyBytes, 0);
        EXPECT_LE(gops[i].burst, gops[i].otherBytes);
        EXPECT_GE(gops[i].burst, gops[i].otherBytes * 5 / gops[i].pictures) << "five pictures are half of a second";
        bytes += gops[i].keyBytes + gops[i].otherBytes;
    }
    EXPECT_EQ(bytes, StoredBytes());
}

TEST_F(GopSurveyTest, BehindJoinedRecordingsTimeBeginsAnew) {
    WriteEncoded({still}, {.codec = "mpeg2video", .container = "mpegts", .gop = 20}, In("one"));
    Write("clip", Read("one") + Read("one"));
    GopSurvey survey(OpenSource(In("clip")));
    int gops = 0, endless = 0;
    while (const std::optional<StoredGop> gop = survey.Next()) {
        ++gops;
        endless += gop->length ? 0 : 1;
    }
    EXPECT_GE(gops, 9);
    EXPECT_EQ(endless, 2);
}

TEST_F(GopSurveyTest, ItPromisesWhatTheFileDoes) {
    WriteEncoded({still}, {.codec = "mpeg4", .container = "mp4"}, In("clip"));
    EXPECT_NEAR(static_cast<double>(GopSurvey(OpenSource(In("clip"))).PromisedPictures()), 100, 2);
    WriteEncoded({still}, {.codec = "mpeg4", .container = "m4v"}, In("clip"));
    EXPECT_EQ(GopSurvey(OpenSource(In("clip"))).PromisedPictures(), 0) << "nothing but pictures";
}

TEST(GopSizes, OneOfTwiceTheUsualSizeStandsOut) {
    GopSizes sizes;
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(sizes.StandsOut(i == 1 ? 1000 : 100, 1000)) << "so far, nobody knows what is usual";
    }
    EXPECT_FALSE(sizes.StandsOut(200, 1000));
    EXPECT_TRUE(sizes.StandsOut(201, 1000));
}

TEST(GopSizes, WhatIsUsualFollowsTheWeather) {
    GopSizes sizes;
    for (int i = 0; i < 40; ++i) {
        sizes.StandsOut(100, 0);
    }
    for (int i = 0; i < 16; ++i) {
        sizes.StandsOut(300, 0);
    }
    EXPECT_FALSE(sizes.StandsOut(301, 1000));
    EXPECT_TRUE(sizes.StandsOut(601, 1000));
}

TEST(GopSizes, NoMoreThanOneInTwentyDoes) {
    for (const int gops : {19, 20, 39, 40, 100}) {
        GopSizes sizes;
        int taken = 0;
        for (int i = 0; i < gops; ++i) {
            taken += sizes.StandsOut(i % 3 == 0 ? 1000 : 100, gops) ? 1 : 0;
        }
        EXPECT_EQ(taken, gops / 20) << gops;
    }
}

TEST(ScoutingGain, AKeyframeCostsAsMuchMoreAsIsStoredOfIt) {
    EXPECT_EQ(ScoutingGain::PriceOf(1000, 49 * 200, 50), 5);
    EXPECT_EQ(ScoutingGain::PriceOf(1000, 9 * 1000, 10), 1) << "all of them are keyframes";
    EXPECT_EQ(ScoutingGain::PriceOf(1000, 9 * 2000, 10), 1);
    EXPECT_EQ(ScoutingGain::PriceOf(100'000, 49, 50), 10);
    EXPECT_EQ(ScoutingGain::PriceOf(1000, 0, 1), 10);
}

TEST(ScoutingGain, AFiftiethOfTheInputIsPutAtRisk) {
    for (const auto& [promised, patience] : {std::pair{0, 40}, std::pair{1000, 40}, std::pair{15'000, 300}}) {
        ScoutingGain gain(promised);
        gain.Spend(patience);
        EXPECT_FALSE(gain.IsLost());
        gain.Spend(1);
        EXPECT_TRUE(gain.IsLost());
        gain.Save(30);
        gain.Spend(29);
        EXPECT_FALSE(gain.IsLost()) << "what was saved is left to lose";
    }
}

}  // namespace
}  // namespace Video
