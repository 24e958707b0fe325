// Where do groups begin?
#include "video/media/PictureGroups.h"

#include <gtest/gtest.h>

#include "video/time/TickTime.h"

namespace Video {
namespace {

TEST(PictureGroups, EveryCompletePictureBeginsOneWhereTheyLieFarApart) {
    PictureGroups groups;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(groups.Begins(i * 2 * oneSecond));
    }
}

TEST(PictureGroups, OneIsASecondLongAtLeast) {
    PictureGroups groups;
    int begun = 0;
    for (int i = 0; i < 100; ++i) {
        begun += groups.Begins(i * oneSecond / 25);
    }
    EXPECT_EQ(begun, 4);
}

TEST(PictureGroups, ContainersThatRoundMakeNoDifference) {
    PictureGroups groups;
    EXPECT_TRUE(groups.Begins(0));
    EXPECT_TRUE(groups.Begins(oneSecond - oneSecond / 1000));
    EXPECT_FALSE(groups.Begins(oneSecond + oneSecond / 2));
}

TEST(PictureGroups, TimesThatFallBeginOne) {
    PictureGroups groups;
    EXPECT_TRUE(groups.Begins(50 * oneSecond));
    EXPECT_TRUE(groups.Begins(0));
    EXPECT_FALSE(groups.Begins(oneSecond / 2));
}

}  // namespace
}  // namespace Video
