// Does every result have a name of its own?
#include "video/files/OutputPath.h"

#include <gtest/gtest.h>

#include <string>

namespace Video {
namespace {

TEST(ResultName, IsTheInputsAndTheEvents) {
    EXPECT_EQ(OutputPath("out", "recordings/front-door.mp4", false, 3, ".jpg"), "out/front-door-3.jpg");
    EXPECT_EQ(OutputPath("out", "recordings/front-door.mp4", false, ".png"), "out/front-door.png");
    EXPECT_EQ(OutputPath("out", "-", false, 1, ".mkv"), "out/stdin-1.mkv");
}

TEST(ResultName, DistinctNamesTellFoldersApart) {
    const std::string a = OutputPath("out", "a/door.mp4", true, 1, ".jpg"),
                      b = OutputPath("out", "b/door.mp4", true, 1, ".jpg");
    EXPECT_NE(a, b);
    EXPECT_EQ(a, OutputPath("out", "a/door.mp4", true, 1, ".jpg"));
    EXPECT_EQ(a.size(), std::string("out/door-01234567-1.jpg").size());
}

TEST(ResultName, ControlCharactersAndLengthAreLimited) {
    EXPECT_EQ(OutputPath("out", "a\nb.mp4", false, ".png"), "out/a_b.png");
    const std::string most(80, 'x'), more(300, 'x');
    EXPECT_EQ(OutputPath("", more + ".mp4", false, ".png"), most + ".png");
}

}  // namespace
}  // namespace Video
