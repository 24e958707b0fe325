// Which exit code does an end make?
#include "results/JobResult.h"

#include <gtest/gtest.h>

#include "video/base/Failure.h"

namespace Scan {
namespace {

TEST(JobResult, TheExitCodeTellsMotionNoneAndFailureApart) {
    EXPECT_EQ(CodeOf({.tally = {.events = 1}}), Video::exitComplete);
    EXPECT_EQ(CodeOf({}), Video::exitNothing);
    EXPECT_EQ(CodeOf({.health = Health::Damaged, .tally = {.events = 1}}), Video::exitFailed);
    EXPECT_EQ(CodeOf({.health = Health::Unwritten, .code = Video::exitUsage}), Video::exitUsage);
}

}  // namespace
}  // namespace Scan
