// Do zones work in the built program: in a scan, in a wrong file, in a picture of them?
#include "ask/ZonePreview.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <png.h>

#include "ScanFixture.h"

namespace Scan {
namespace {

class ZonePreview : public ScanFixture {
protected:
    void SetUp() override {
        Write("zones.json", R"({"zones": [{"name": "left", "polygon": [[0, 0], [0.5, 0], [0.5, 1], [0, 1]]},
                                          {"name": "top", "polygon": [[0, 0], [1, 0], [1, 0.2], [0, 0.2]]},
                                          {"name": "middle", "polygon": [[0.4, 0], [0.6, 0], [0.6, 1], [0.4, 1]]},
                                          {"name": "hole", "exclude": true,
                                           "polygon": [[0.5, 0], [1, 0], [1, 1], [0.5, 1]]}]})");
    }
};

TEST_F(ZonePreview, EventsNameTheZonesThatTheyTouched) {
    const Video::SquareScene scene;
    const Outcome run = Mdscan({"--zones", In("zones.json"), RawClip(scene)});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_EQ(run.lines[0]["zones"], (std::vector<std::string>{"left", "middle"}));
    EXPECT_LT(run.lines[0]["end"], 12.2) << "the square has reached the hole by then";
}

TEST_F(ZonePreview, ZonesShareOneListWhereverTheyComeFrom) {
    const Outcome run = Mdscan({"zones", "--zones", In("zones.json"), "--zone", "0,0,1,1", RawClip({.seconds = 1})});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 5u);
    EXPECT_EQ(run.lines[0]["zone"], "left");
    EXPECT_EQ(run.lines[0]["share"], 0.495);
    EXPECT_EQ(run.lines[3]["exclude"], true);
    EXPECT_EQ(run.lines[4]["zone"], "zone 1");
    EXPECT_EQ(run.lines[4]["share"], 0.495) << "without the hole";
}

TEST_F(ZonePreview, ThePictureShowsThem) {
    const Outcome run =
        Mdscan({"zones", "--zones", In("zones.json"), "--preview", In("frame.png"), RawClip({.seconds = 1})});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.lines[0]["color"], "yellow");
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, In("frame.png").c_str())) << image.message;
    ASSERT_EQ(image.width, 320u);
    ASSERT_EQ(image.height, 240u);
    image.format = PNG_FORMAT_RGB;
    std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) << image.message;
    const auto pixel = [&](std::size_t x, std::size_t y) { return &pixels[3 * (y * 320 + x)]; };
    EXPECT_GT(pixel(60, 150)[0], pixel(60, 150)[2] + 30) << "yellow tint";
    EXPECT_NEAR(pixel(250, 150)[0], pixel(250, 150)[2], 3) << "grey, darkened";
    EXPECT_LT(pixel(250, 150)[0], 80);
    // The preview must not take the place of the video.
    EXPECT_EQ(Mdscan({"zones", "--zones", In("zones.json"), "--preview", In("clip.y4m"), In("clip.y4m")}).code, 2);
}

TEST_F(ZonePreview, AMistakeIsOneLineBeforeAnythingIsScanned) {
    Write("wrong.json", R"({"zones": [{"name": "a", "polygon": [[0, 0], [1, 0]]}]})");
    const Outcome run = Mdscan({"--zones", In("wrong.json"), In("missing.mp4")});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1);
    EXPECT_NE(run.err.find("wrong.json: line 1: zones[0].polygon: must be"), std::string::npos) << run.err;
    EXPECT_EQ(Mdscan({"--preview", In("frame.png"), In("missing.mp4")}).code, 2);
    EXPECT_EQ(Mdscan({"--mask", In("zones.json"), In("missing.mp4")}).code, 2);
}

}  // namespace
}  // namespace Scan
