// Can letters be told apart?
#include "video/pictures/LabelFont.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Video {
namespace {

std::string DotsOf(char letter) {
    std::string dots;
    for (int row = 0; row < letterRows; ++row) {
        for (int column = 0; column < letterColumns; ++column) {
            dots += HasDot(letter, column, row) ? '#' : '.';
        }
    }
    return dots;
}

TEST(LabelFont, EveryLetterHasALookOfItsOwn) {
    std::set<std::string> looks;
    for (int letter = ' '; letter <= '~'; ++letter) {
        EXPECT_TRUE(looks.insert(DotsOf(static_cast<char>(letter))).second) << static_cast<char>(letter);
    }
    EXPECT_EQ(DotsOf(' ').find('#'), std::string::npos);
}

TEST(LabelFont, WhatIsNoLetterIsAnEmptyFrame) {
    for (const char letter : {'\n', '\x7f', '\xc3'}) {
        EXPECT_EQ(DotsOf(letter), "######...##...##...##...##...######.....");
    }
}

}  // namespace
}  // namespace Video
