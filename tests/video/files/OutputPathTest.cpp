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

TEST(ResultName, IsText) {
    EXPECT_EQ(OutputPath("out", "caf\xe9\xff.mp4", false, ".png"), "out/caf__.png");
    EXPECT_EQ(OutputPath("out", "caf\u00e9-\u6e2f-\U0001f3a5.mp4", false, ".png"), "out/caf\u00e9-\u6e2f-\U0001f3a5.png");
    EXPECT_NE(OutputPath("", "\xe9.mp4", true, ".png"), OutputPath("", "\xe8.mp4", true, ".png"));
    const std::string most(78, 'x');
    EXPECT_EQ(OutputPath("", most + "\u6e2f.mp4", false, ".png"), most + ".png") << "no part of a character";
    const std::string noText(300, '\xff'), dashes(80, '_');
    EXPECT_EQ(OutputPath("", noText + ".mp4", false, ".png"), dashes + ".png");
}

}  // namespace
}  // namespace Video
