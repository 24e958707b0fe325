// Is what a clip may need kept, dated and let go in time?
#include "video/pictures/PacketRing.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

#include "video/media/Libav.h"
#include "video/time/TickTime.h"

namespace Video {
namespace {

constexpr std::int64_t none = std::numeric_limits<std::int64_t>::max();
constexpr AVRational tenths = {1, 10};

PacketPointer PacketOf(int size, bool isKey, std::int64_t pts) {
    PacketPointer packet = NewPacket();
    EXPECT_EQ(av_new_packet(packet.get(), size), 0);
    packet->flags = isKey ? AV_PKT_FLAG_KEY : 0;
    packet->pts = pts;
    return packet;
}

// Packets of 100 bytes, a keyframe every `gop` packets, one every tenth of a second, each shown at once.
void Fill(PacketRing& ring, int from, int until, int gop, std::int64_t unwritten = none, Ticks preRoll = 0) {
    for (int i = from; i < until; ++i) {
        ring.Push(*PacketOf(100, i % gop == 0, i), i);
        ring.SetTime(i, i * oneSecond / 10);
        ring.Trim(i * oneSecond / 10 - preRoll, unwritten);
    }
}

TEST(PacketRing, BeginsAtTheKeyframeThatAnEventWouldNeed) {
    PacketRing ring(tenths, 1'000'000);
    Fill(ring, 0, 47, 10);
    EXPECT_EQ(ring.First(), 40);
    EXPECT_EQ(ring.KeyBefore(46 * oneSecond / 10), 40);

    PacketRing withRoll(tenths, 1'000'000);
    Fill(withRoll, 0, 47, 10, none, 2 * oneSecond);
    EXPECT_EQ(withRoll.First(), 20);
    EXPECT_EQ(withRoll.KeyBefore(46 * oneSecond / 10 - 2 * oneSecond), 20);
    EXPECT_EQ(withRoll.KeyBefore(3 * oneSecond), 30);
}

TEST(PacketRing, NothingIsKeptBeforeTheFirstKeyframe) {
    PacketRing ring(tenths, 1'000'000);
    Fill(ring, 1, 10, 10);
    EXPECT_EQ(ring.First(), ring.End());
    EXPECT_FALSE(ring.KeyBefore(oneSecond));
    Fill(ring, 10, 12, 10);
    EXPECT_EQ(ring.First(), 10);
    EXPECT_EQ(ring.KeyBefore(0), 10) << "better late than never";
}

TEST(PacketRing, UnwrittenPacketsStay) {
    PacketRing ring(tenths, 500);
    Fill(ring, 0, 47, 10, 13);
    EXPECT_EQ(ring.First(), 13);
    EXPECT_TRUE(ring.IsFull());
    ring.Trim(46 * oneSecond / 10, 38);
    EXPECT_EQ(ring.First(), 38) << "a full ring gives up the GOP before, as far as it is written";
}

TEST(PacketRing, AGopThatDoesNotFitIsGivenUp) {
    PacketRing ring(tenths, 2'000);
    Fill(ring, 0, 20, 1000);
    EXPECT_EQ(ring.KeyBefore(0), 0);
    Fill(ring, 20, 21, 1000);
    EXPECT_FALSE(ring.KeyBefore(0)) << "what is left cannot be decoded";
    EXPECT_EQ(ring.First(), ring.End());
}

TEST(PacketRing, APreRollThatDoesNotFitLosesItsOldestGops) {
    PacketRing ring(tenths, 2'500);
    Fill(ring, 0, 99, 10, none, 100 * oneSecond);
    EXPECT_EQ(ring.First(), 80);
}

TEST(PacketRing, AReorderedPacketIsSettledWhenItsPictureComes) {
    PacketRing ring(tenths, 1'000'000);
    const std::initializer_list<int> shown = {0, 3, 1, 2};  // by packet
    for (int number = 0; const int time : shown) {
        ring.Push(*PacketOf(10, number == 0, time), number);
        ++number;
    }
    ring.SetTime(0, 0);
    ring.SetTime(2, oneSecond / 10);
    EXPECT_EQ(ring.SettledEnd(), 1);
    EXPECT_EQ(ring.EndOf(oneSecond / 10), 3);
    ring.SettleBefore(3);
    EXPECT_EQ(ring.SettledEnd(), 3);
    EXPECT_EQ(ring.At(1).time, 3 * oneSecond / 10) << "as the file has it";
    ring.SetTime(1, oneSecond);
    EXPECT_EQ(ring.At(1).time, oneSecond) << "a picture is better than a guess";
    ring.SetTime(1, 5 * oneSecond);
    EXPECT_EQ(ring.At(1).time, oneSecond) << "a packet's second picture";
}

TEST(PacketRing, PartialKeyframesNeedTheOneBefore) {
    PacketRing ring(tenths, 1'000'000);
    for (int i = 0; i < 47; ++i) {
        ring.Push(*PacketOf(100, i % 10 == 0, i), i);
        ring.SetTime(i, i * oneSecond / 10, i == 0);
        ring.Trim(i * oneSecond / 10, none);
    }
    EXPECT_EQ(ring.First(), 30);
    EXPECT_EQ(ring.KeyBefore(4 * oneSecond), 30);
    EXPECT_EQ(ring.KeyBefore(3 * oneSecond), 30) << "better than none";
}

TEST(PacketRing, PacketsWithoutAPictureAreDatedByTheirNeighbours) {
    PacketRing ring(tenths, 1'000'000);
    for (int i = 0; i < 50; ++i) {
        ring.Push(*PacketOf(10, i == 0, i == 7 ? AV_NOPTS_VALUE : i), i);
    }
    for (int i = 0; i < 50; ++i) {
        if (i != 0 && i != 5 && i != 7) {  // hidden, damaged, neither time nor picture
            ring.SetTime(i, oneSecond + i * oneSecond / 10);
        }
    }
    EXPECT_EQ(ring.SettledEnd(), 50);
    EXPECT_EQ(ring.At(0).time, oneSecond);
    EXPECT_EQ(ring.At(5).time, oneSecond + oneSecond / 2);
    EXPECT_EQ(ring.At(7).time, oneSecond + 6 * oneSecond / 10);
}

}  // namespace
}  // namespace Video
