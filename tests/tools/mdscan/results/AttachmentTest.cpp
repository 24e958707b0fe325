// Does an attachment survive its way through a line of text?
#include "results/Attachment.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

namespace Scan {
namespace {

TEST(Attachment, APictureComesBack) {
    const std::string text = AttachedText({.event = EventPicture{7, Base64("\xff\xd8 any bytes \n")}});
    EXPECT_EQ(text.find('\n'), std::string::npos);
    const Attachment attachment = AttachmentOf(text);
    ASSERT_TRUE(attachment.event);
    EXPECT_FALSE(attachment.ground);
    EXPECT_EQ(attachment.event->event, 7);
    EXPECT_EQ(attachment.event->jpeg, Base64("\xff\xd8 any bytes \n"));
}

TEST(Attachment, GroundComesBack) {
    GroundPicture ground;
    ground.heat = {.grid = {6, 4, 2, 3, 2}, .counts = {0, 0, 0, 5, 5, 4'000'000'000u}};
    ground.background = {3, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 255, 0, 255}};
    const Attachment attachment = AttachmentOf(AttachedText({.ground = ground}));
    ASSERT_TRUE(attachment.ground);
    EXPECT_EQ(attachment.ground->heat.counts, ground.heat.counts);
    EXPECT_EQ(attachment.ground->heat.grid.pictureWidth, 6);
    EXPECT_EQ(attachment.ground->heat.grid.rows, 2);
    EXPECT_EQ(attachment.ground->background.pixels, ground.background.pixels);
    ground.background = {};
    EXPECT_TRUE(AttachmentOf(AttachedText({.ground = ground})).ground->background.pixels.empty());
}

TEST(Attachment, WhatIsNoneIsRefused) {
    for (const char* text :
         {"", "{}", "[]", R"({"event":1})", R"({"grid":[6,4,2,3,2],"heat":[0,7],"background":""})",
          R"({"grid":[6,4,2,3,2],"heat":[0,5],"background":""})", R"({"grid":[0,0,0,0,0],"heat":[],"background":""})",
          R"({"grid":[6,4,2,3,2],"heat":[0,6],"background":"AAAA"})"}) {
        EXPECT_THROW(AttachmentOf(text), std::exception) << text;
    }
}

}  // namespace
}  // namespace Scan
