// Which exit code does an end make?
#include "results/JobResult.h"

#include <gtest/gtest.h>

#include <string>

#include "video/base/Failure.h"

namespace Scan {
namespace {

TEST(JobResult, TheExitCodeTellsMotionNoneAndFailureApart) {
    EXPECT_EQ(CodeOf({.tally = {.events = 1}}), Video::exitComplete);
    EXPECT_EQ(CodeOf({}), Video::exitNothing);
    EXPECT_EQ(CodeOf({.health = Health::Damaged, .tally = {.events = 1}}), Video::exitFailed);
    EXPECT_EQ(CodeOf({.health = Health::Unwritten, .code = Video::exitUsage}), Video::exitUsage);
}

TEST(JobResult, AMissingFileIsNamedBesideOtherTrouble) {
    JobResult whole{.tally = {.events = 1}}, damaged{.health = Health::Damaged, .trouble = "damaged near 3 s"};
    AddUnwritten("", whole);
    EXPECT_EQ(CodeOf(whole), Video::exitComplete);
    AddUnwritten("cannot write a.mp4", whole);
    AddUnwritten("cannot write a.mp4", damaged);
    EXPECT_EQ(NameOf(whole.health), std::string("unwritten"));
    EXPECT_EQ(CodeOf(whole), Video::exitFailed);
    EXPECT_EQ(NameOf(damaged.health), std::string("damaged")) << "what could be read counts for more";
    EXPECT_EQ(damaged.trouble, "damaged near 3 s; cannot write a.mp4");
    EXPECT_TRUE(whole.unwritten && damaged.unwritten);
}

TEST(JobResult, ABadOneMeansWhatEndedIt) {
    const auto concern = [](Health health, Video::ExitCode code) {
        return FailureOf({.health = health, .code = code}).Concerns();
    };
    EXPECT_EQ(concern(Health::Unreadable, Video::exitFailed), Video::Concern::Input);
    EXPECT_EQ(concern(Health::Damaged, Video::exitComplete), Video::Concern::Input) << "no failure named a code";
    EXPECT_EQ(concern(Health::Unreadable, Video::exitUsage), Video::Concern::Usage);
    EXPECT_EQ(concern(Health::Unwritten, Video::exitFailed), Video::Concern::Output);
    EXPECT_EQ(concern(Health::Unwritten, Video::exitUsage), Video::Concern::Place);
    EXPECT_EQ(FailureOf({.health = Health::Damaged, .trouble = "why"}, "a.mp4: ").what(), std::string("a.mp4: why"));
}

}  // namespace
}  // namespace Scan
