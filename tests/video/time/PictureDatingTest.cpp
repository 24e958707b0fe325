// Do file and live source agree on what a time of the results is?
#include "video/time/PictureDating.h"

#include <gtest/gtest.h>

#include <optional>

#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr Ticks interval = oneSecond / 10;

Ticks Dated(PictureDating& dating, std::optional<Ticks> stamp, bool isOwn = true) {
    return dating.Next(dating.Presented(stamp, isOwn));
}

TEST(FileDating, AHeadersStartIsTimeZero) {
    FileDating dating(3 * oneSecond, interval, 0);
    dating.OnPacket(2 * oneSecond, 0);
    EXPECT_EQ(Dated(dating, 4 * oneSecond), oneSecond);
    EXPECT_EQ(Dated(dating, 5 * oneSecond), 2 * oneSecond);
}

TEST(FileDating, WithoutOneTheFirstPictureIsIt) {
    FileDating dating(std::nullopt, interval, 0);
    dating.OnPacket(2 * oneSecond, 0);
    EXPECT_EQ(Dated(dating, 4 * oneSecond), 0);
    EXPECT_EQ(Dated(dating, 5 * oneSecond), oneSecond);
}

TEST(FileDating, DecodingTimesStandInFromTheFirstPacketOn) {
    FileDating dating(0, interval, 0);
    dating.OnPacket(0, 0);
    dating.OnPacket(interval, 0);
    dating.OnPacket(2 * interval, 0);
    EXPECT_EQ(dating.Presented(2 * interval, false), 0) << "two packets late, as it came out of the decoder";
    EXPECT_EQ(dating.Next(0), 0);
    EXPECT_EQ(Dated(dating, 3 * interval, false), interval);
}

TEST(FileDating, ALaterPictureWithoutItsOwnTimeMovesNothing) {
    FileDating dating(0, interval, 0);
    dating.OnPacket(0, 0);
    EXPECT_EQ(Dated(dating, 0), 0);
    EXPECT_EQ(Dated(dating, 5 * interval, false), 5 * interval);
}

TEST(FileDating, WhatHasNoTimeFollowsAtTheNominalInterval) {
    FileDating dating(0, interval, 0);
    EXPECT_EQ(Dated(dating, 0), 0);
    EXPECT_EQ(Dated(dating, std::nullopt), interval);
    EXPECT_FALSE(dating.HasRestarted());
}

TEST(FileDating, TimesThatBeginAnewAreTold) {
    FileDating dating(0, interval, 0);
    EXPECT_EQ(Dated(dating, 0), 0);
    EXPECT_EQ(Dated(dating, 50 * oneSecond), 50 * oneSecond);
    EXPECT_EQ(Dated(dating, 0), 50 * oneSecond + interval);
    EXPECT_TRUE(dating.HasRestarted());
}

TEST(LiveDating, ItsFirstPacketArrivedAtZeroWhateverItsStamp) {
    LiveDating dating(interval);
    dating.OnPacket(std::nullopt, 0);
    EXPECT_EQ(Dated(dating, 1000 * oneSecond), 0);
    dating.OnPacket(std::nullopt, interval);
    EXPECT_EQ(Dated(dating, 1000 * oneSecond + interval), interval);
}

TEST(LiveDating, ANewConnectionIsDatedByItsArrival) {
    LiveDating dating(interval);
    dating.OnPacket(std::nullopt, 0);
    EXPECT_EQ(Dated(dating, 1000 * oneSecond), 0);
    dating.OnConnection(7 * oneSecond);
    dating.OnPacket(std::nullopt, 8 * oneSecond);
    EXPECT_EQ(Dated(dating, 0), 7 * oneSecond);
    EXPECT_FALSE(dating.HasRestarted());
}

}  // namespace
}  // namespace Video
