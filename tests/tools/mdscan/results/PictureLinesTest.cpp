// Does a picture survive its way through a line of text?
#include "results/PictureLines.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <variant>

#include "results/ScanPictures.h"

namespace Scan {
namespace {

TEST(PictureLines, APictureComesBack) {
    for (const std::string& jpeg : {std::string("\xff\xd8 any bytes \n"), std::string("\0\xff", 2), std::string()}) {
        const std::string line = LineOf(EventPicture{7, jpeg, {{-3, {1, 2, 3, 4}}, {1'000'000'000'000, {5, 6, 7, 8}}}});
        EXPECT_EQ(line.find('\n'), std::string::npos);
        const ScanPicture picture = PictureOf(line);
        const auto* event = std::get_if<EventPicture>(&picture);
        ASSERT_TRUE(event);
        EXPECT_EQ(event->event, 7);
        EXPECT_EQ(event->jpeg, jpeg);
        ASSERT_EQ(event->track.size(), 2u);
        EXPECT_EQ(event->track[1].time, 1'000'000'000'000);
        EXPECT_EQ(event->track[1].box.height, 8);
        EXPECT_EQ(LineOf(picture), line);
    }
}

TEST(PictureLines, GroundComesBack) {
    GroundPicture ground;
    ground.heat = {.grid = {6, 4, 2, 3, 2}, .counts = {0, 0, 0, 5, 5, 4'000'000'000u}, .frames = 5'000'000'000u};
    ground.background = {3, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 255, 0, 255}};
    const std::string line = LineOf(ground);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    const ScanPicture picture = PictureOf(line);
    const auto* back = std::get_if<GroundPicture>(&picture);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->heat.counts, ground.heat.counts);
    EXPECT_EQ(back->heat.frames, ground.heat.frames);
    EXPECT_EQ(back->heat.grid.pictureWidth, 6);
    EXPECT_EQ(back->heat.grid.rows, 2);
    EXPECT_EQ(back->background.pixels, ground.background.pixels);
    EXPECT_EQ(LineOf(picture), line);
    ground.background = {};
    EXPECT_TRUE(std::get<GroundPicture>(PictureOf(LineOf(ground))).background.pixels.empty());
}

TEST(PictureLines, WhatIsNoneIsRefused) {
    for (const char* text :
         {"", "{}", "[]", R"({"event":1})", R"({"event":1,"jpeg":""})", R"({"event":1,"jpeg":"","track":[1,2,3,4]})",
          R"({"grid":[6,4,2,3,2],"heat":[0,7],"background":""})", R"({"grid":[6,4,2,3,2],"heat":[0,5],"background":""})",
          R"({"grid":[0,0,0,0,0],"heat":[],"background":""})", R"({"grid":[6,4,2,3,2],"heat":[0,6],"background":"AAAA"})"}) {
        EXPECT_THROW(PictureOf(text), std::exception) << text;
    }
}

}  // namespace
}  // namespace Scan
