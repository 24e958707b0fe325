// What follows from what a failure concerns?
#include "video/base/Failure.h"

#include <gtest/gtest.h>

#include <string>

namespace Video {
namespace {

TEST(Failure, TheUsersMistakesHaveACodeOfTheirOwn) {
    EXPECT_EQ(Failure(Concern::Usage, "").Code(), exitUsage);
    EXPECT_EQ(Failure(Concern::Place, "").Code(), exitUsage);
    EXPECT_EQ(Failure(Concern::Input, "").Code(), exitFailed);
    EXPECT_EQ(Failure(Concern::Output, "").Code(), exitFailed);
    EXPECT_EQ(Failure(Concern::System, "").Code(), exitFailed);
}

TEST(Failure, OnlyWhatTheNextInputWouldMeetEndsTheRun) {
    EXPECT_FALSE(Failure(Concern::Usage, "").EndsRun());
    EXPECT_FALSE(Failure(Concern::Input, "").EndsRun());
    EXPECT_TRUE(Failure(Concern::Output, "").EndsRun());
    EXPECT_TRUE(Failure(Concern::Place, "").EndsRun());
    EXPECT_TRUE(Failure(Concern::System, "").EndsRun());
}

TEST(Failure, KeepsItsWordsAndItsConcern) {
    const Failure failure(Concern::Place, "cannot write a.png: is the input");
    EXPECT_EQ(failure.what(), std::string("cannot write a.png: is the input"));
    EXPECT_EQ(failure.Concerns(), Concern::Place);
}

}  // namespace
}  // namespace Video
