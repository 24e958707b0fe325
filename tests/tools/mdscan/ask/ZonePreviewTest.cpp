// Do zones work in the built program: in a scan, in a wrong file, in a picture of them?
#include "ask/ZonePreview.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>
#include <png.h>
#include <sys/stat.h>

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

// What the page of zones knows, of every block of a kind.
std::vector<nlohmann::json> BlocksOf(const std::string& page, const std::string& kind) {
    std::vector<nlohmann::json> blocks;
    const std::string opening = "class=\"" + kind + "\">";
    for (std::size_t at = 0; (at = page.find(opening, at)) != std::string::npos;) {
        at += opening.size();
        blocks.push_back(nlohmann::json::parse(page.substr(at, page.find("</script>", at) - at)));
    }
    return blocks;
}

TEST_F(ZonePreview, ThePageHoldsTheFileAndWhatItsMasksCover) {
    const std::string text = "{\"zones\":\r\n [{\"name\":\"a </script>\",\"mask\":\"left.png\"}] }\n\n";
    Write("mask.json", text);
    png_image mask = {};
    mask.version = PNG_IMAGE_VERSION;
    mask.width = 2;
    mask.height = 1;
    mask.format = PNG_FORMAT_GRAY;
    const std::vector<png_byte> leftHalf = {255, 0};
    ASSERT_TRUE(png_image_write_to_file(&mask, In("left.png").c_str(), 0, leftHalf.data(), 0, nullptr)) << mask.message;
    const Outcome run = Mdscan({"zones", "--edit", In("page.html"), "--zones", In("mask.json"), "--block", "20",
                                "--sensitivity", "low", RawClip({.seconds = 1})});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u) << "a line per zone, with a page too";
    const std::string page = Read("page.html");
    EXPECT_EQ(BlocksOf(page, "zonefile").at(0), nlohmann::json({{"name", "mask.json"}, {"text", text}}));
    const nlohmann::json facts = BlocksOf(page, "facts").at(0);
    const nlohmann::json grid = {{"width", 320}, {"height", 240}, {"block", 20}, {"columns", 16}, {"rows", 12}};
    EXPECT_EQ(facts["grid"], grid);
    EXPECT_EQ(facts["min_size"], 0.05) << "as the sensitivity has it";
    std::string halves;
    for (int row = 0; row < 12; ++row) {
        halves += "1111111100000000";
    }
    EXPECT_EQ(facts["masks"]["left.png"], halves);
}

TEST_F(ZonePreview, ThePageHoldsPicturesFromAllOfTheVideo) {
    const std::string clip = RawClip({.width = 64, .height = 48, .seconds = 24});
    EXPECT_EQ(Mdscan({"zones", "--edit", In("page.html"), clip}).code, 0);
    std::vector<double> times;
    for (const nlohmann::json& picture : BlocksOf(Read("page.html"), "picture")) {
        times.push_back(picture["at"]);
        EXPECT_EQ(picture["jpeg"].get<std::string>().substr(0, 4), "/9j/") << "the first bytes of a JPEG file";
    }
    ASSERT_EQ(times.size(), 12u);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], 2.0 * static_cast<double>(i), 0.15);
    }
    EXPECT_TRUE(BlocksOf(Read("page.html"), "zonefile").empty());

    std::signal(SIGPIPE, SIG_IGN);  // the program leaves before all is fed
    ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);
    std::thread feeder([this] { Write("pipe", Read("clip.y4m")); });
    EXPECT_EQ(Mdscan({"zones", "--edit", In("pipe.html"), In("pipe")}).code, 0);
    feeder.join();
    EXPECT_EQ(BlocksOf(Read("pipe.html"), "picture").size(), 1u) << "there is no way back in it";
}

TEST_F(ZonePreview, ThePageTakesNothingsPlace) {
    const std::string clip = RawClip({.seconds = 1});
    EXPECT_EQ(Mdscan({"zones", "--edit", clip, clip}).code, 2);
    EXPECT_EQ(Mdscan({"zones", "--edit", In("zones.json"), "--zones", In("zones.json"), clip}).code, 2);
    EXPECT_EQ(Mdscan({"zones", "--edit", In("page.html"), "--zone", "0,0,1,1", clip}).code, 2);
    EXPECT_EQ(Mdscan({"--edit", In("page.html"), clip}).code, 2);
    EXPECT_EQ(Mdscan({"zones", "--edit", In("missing") + "/page.html", clip}).code, 1);
}

// One that is too small, and one that is excluded: what they lack is said before anything is scanned, once each.
TEST_F(ZonePreview, ZonesThatCanTellNothingAreNamed) {
    Write("idle.json", R"({"zones": [{"name": "left", "polygon": [[0, 0], [0.5, 0], [0.5, 1], [0, 1]]},
                                     {"name": "tiny", "polygon": [[0.2, 0], [0.21, 0], [0.2, 0.01]]},
                                     {"name": "lost", "polygon": [[0.6, 0], [1, 0], [1, 1]]},
                                     {"name": "hole", "exclude": true,
                                      "polygon": [[0.5, 0], [1, 0], [1, 1], [0.5, 1]]}]})");
    const std::string clip = RawClip({.width = 160, .height = 120, .seconds = 5, .from = 2, .until = 4});
    std::filesystem::copy_file(clip, In("other.y4m"));
    std::filesystem::copy_file(clip, In("third.y4m"));
    const std::string tiny = "mdscan: zone \"tiny\" can never tell motion: its 1 block has no room for ";
    const std::string lost = "mdscan: zone \"lost\" can never tell motion: excluded are all of its ";
    const auto count = [](const std::string& text, const std::string& part) {
        int times = 0;
        for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) {
            ++times;
        }
        return times;
    };
    const std::vector<std::string> several = {clip, In("other.y4m"), In("third.y4m"), "-j", "2"};
    for (const std::vector<std::string>& inputs : {std::vector<std::string>{clip}, several}) {
        std::vector<std::string> arguments = {"--zones", In("idle.json")};
        arguments.insert(arguments.end(), inputs.begin(), inputs.end());
        const Outcome run = Mdscan(arguments);
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_EQ(count(run.err, tiny), 1) << run.err;
        EXPECT_EQ(count(run.err, lost), 1) << run.err;
        EXPECT_EQ(count(run.err, "can never"), 2) << run.err;
        arguments.push_back("--quiet");
        EXPECT_EQ(Mdscan(arguments).err, "");
    }
    Outcome run = Mdscan({"zones", "--zones", In("idle.json"), clip});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(count(run.err, tiny) + count(run.err, lost), 2) << run.err;
    EXPECT_FALSE(run.lines.at(0).contains("idle"));
    EXPECT_EQ(run.lines.at(1)["idle"].get<std::string>().rfind("its 1 block has no room", 0), 0u);
    EXPECT_EQ(run.lines.at(2)["idle"].get<std::string>().rfind("excluded are all", 0), 0u);
    EXPECT_FALSE(run.lines.at(3).contains("idle"));

    run = Mdscan({"--zone", "0.2,0,0.01,0.01", clip});
    EXPECT_EQ(run.code, 2) << "nothing can be found: that is no answer";
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("zone \"zone 1\" can never tell motion: its 1 block has no room"), std::string::npos) << run.err;
    EXPECT_EQ(Mdscan({"--zone", "0.2,0,0.01,0.01", "--min-size", "0", clip}).code, 3) << "there is room for any object";
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
