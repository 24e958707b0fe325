// Which keyframes begin a GOP?
#include "video/time/GopStarts.h"

#include <gtest/gtest.h>

#include "video/time/TickTime.h"

namespace Video {
namespace {

TEST(GopStarts, EveryKeyframeBeginsOneWhereTheyLieFarApart) {
    GopStarts gops;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(gops.Begins(i * 2 * oneSecond));
    }
}

TEST(GopStarts, OneIsASecondLongAtLeast) {
    GopStarts gops;
    int begun = 0;
    for (int i = 0; i < 100; ++i) {
        begun += gops.Begins(i * oneSecond / 25);
    }
    EXPECT_EQ(begun, 4);
}

TEST(GopStarts, ContainersThatRoundMakeNoDifference) {
    GopStarts gops;
    EXPECT_TRUE(gops.Begins(0));
    EXPECT_TRUE(gops.Begins(oneSecond - oneSecond / 1000));
    EXPECT_FALSE(gops.Begins(oneSecond + oneSecond / 2));
}

TEST(GopStarts, TimesThatFallBeginOne) {
    GopStarts gops;
    EXPECT_TRUE(gops.Begins(50 * oneSecond));
    EXPECT_TRUE(gops.Begins(0));
    EXPECT_FALSE(gops.Begins(oneSecond / 2));
}

}  // namespace
}  // namespace Video
