// Does every result have a name of its own?
#include "ResultName.h"

#include <gtest/gtest.h>

#include <string>

namespace Scan {
namespace {

TEST(ResultName, IsTheInputsAndTheEvents) {
    EXPECT_EQ(ResultPath("out", "recordings/front-door.mp4", false, 3, ".jpg"), "out/front-door-3.jpg");
    EXPECT_EQ(ResultPath("out", "recordings/front-door.mp4", false, ".png"), "out/front-door.png");
    EXPECT_EQ(ResultPath("out", "-", false, 1, ".mkv"), "out/stdin-1.mkv");
}

TEST(ResultName, DistinctNamesTellFoldersApart) {
    const std::string a = ResultPath("out", "a/door.mp4", true, 1, ".jpg"),
                      b = ResultPath("out", "b/door.mp4", true, 1, ".jpg");
    EXPECT_NE(a, b);
    EXPECT_EQ(a, ResultPath("out", "a/door.mp4", true, 1, ".jpg"));
    EXPECT_EQ(a.size(), std::string("out/door-01234567-1.jpg").size());
}

TEST(ResultName, ControlCharactersAndLengthAreLimited) {
    EXPECT_EQ(ResultPath("out", "a\nb.mp4", false, ".png"), "out/a_b.png");
    const std::string most(80, 'x'), more(300, 'x');
    EXPECT_EQ(ResultPath("", more + ".mp4", false, ".png"), most + ".png");
}

}  // namespace
}  // namespace Scan
