// Are the bytes of video, truth and mask what other programs expect?
#include "SceneOutput.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using MdScene::Frame;
using MdScene::Kind;
using MdScene::Settings;

namespace {

std::string HeaderOf(double fps) {
    std::ostringstream out;
    MdScene::WriteVideoHeader({.width = 640, .height = 360, .fps = fps}, out);
    return out.str();
}

// Three by two pixels, a person at the left edge and the shadow of a car.
Frame SmallFrame() {
    Frame frame;
    frame.number = 97;
    frame.seconds = 97 / 12.0;
    frame.width = 3;
    frame.height = 2;
    frame.y = {'a', 'b', 'c', 'd', 'e', 'f'};
    frame.cb = {'g', 'h'};
    frame.cr = {'i', 'j'};
    frame.mask = {255, 0, 0, 128, 0, 0};
    frame.things = {{.id = 4, .kind = Kind::Person, .box = {0, 0, 1, 2}, .shadow = {0, 1, 3, 2}},
                    {.id = 5, .kind = Kind::Car, .box = {}, .shadow = {1, 1, 2, 2}}};
    return frame;
}

}  // namespace

TEST(SceneOutput, HeaderTellsSizeAndReducedRate) {
    EXPECT_EQ(HeaderOf(12), "YUV4MPEG2 W640 H360 F12:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n");
    EXPECT_NE(HeaderOf(12.5).find(" F25:2 "), std::string::npos);
    EXPECT_NE(HeaderOf(29.97).find(" F2997:100 "), std::string::npos);
}

TEST(SceneOutput, FrameIsItsThreePlanes) {
    std::ostringstream out;
    MdScene::WriteVideoFrame(SmallFrame(), out);
    EXPECT_EQ(out.str(), "FRAME\nabcdefghij");
}

TEST(SceneOutput, TruthIsOneJsonLine) {
    std::ostringstream out;
    MdScene::WriteTruthLine(SmallFrame(), out);
    EXPECT_EQ(out.str(), "{\"frame\":97,\"seconds\":8.083,\"things\":["
                         "{\"id\":4,\"kind\":\"person\",\"box\":[0,0,1,2],\"shadow\":[0,1,3,1]},"
                         "{\"id\":5,\"kind\":\"car\",\"shadow\":[1,1,1,1]}]}\n");
}

TEST(SceneOutput, EmptyFrameHasAnEmptyList) {
    Frame frame = SmallFrame();
    frame.things.clear();
    std::ostringstream out;
    MdScene::WriteTruthLine(frame, out);
    EXPECT_EQ(out.str(), "{\"frame\":97,\"seconds\":8.083,\"things\":[]}\n");
}

TEST(SceneOutput, TruthNamesWhatDisturbs) {
    Frame frame = SmallFrame();
    frame.things.clear();
    frame.disturbances = {MdScene::DisturbanceKind::Rain, MdScene::DisturbanceKind::Frozen};
    std::ostringstream out;
    MdScene::WriteTruthLine(frame, out);
    EXPECT_EQ(out.str(), "{\"frame\":97,\"seconds\":8.083,\"things\":[],\"disturbances\":[\"rain\",\"frozen\"]}\n");
}

TEST(SceneOutput, MaskIsAGreyPicture) {
    std::ostringstream out;
    MdScene::WriteMask(SmallFrame(), out);
    EXPECT_EQ(out.str(), std::string("P5\n3 2\n255\n\xFF\0\0\x80\0\0", 17));
}
