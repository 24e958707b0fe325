// Does the built program scan pictures of any size, and of damaged first seconds, with all that it does around the detector?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "StoredPictures.h"
#include "TestClip.h"

namespace Scan {
namespace {

struct Size {
    std::size_t width, height;
};

class OddPictures : public ScanFixture {
protected:
    // Grey pictures with a bar that goes through the upper half, row by row.
    std::string Clip(Size size, int pictures) const {
        std::ofstream clip(In("clip.y4m"), std::ios::binary);
        clip << "YUV4MPEG2 W" << size.width << " H" << size.height << " F12:1 Cmono\n";
        std::string ground(size.width * size.height, '\0');
        for (std::size_t i = 0; i < ground.size(); ++i) {
            ground[i] = static_cast<char>(60 + i * 7919 % 64);
        }
        for (int i = 0; i < pictures; ++i) {
            std::string picture = ground;
            const std::size_t length = ground.size() / 3,
                              begin = static_cast<std::size_t>(i) * length / 20 % (ground.size() - length);
            std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>(begin), i % 24 > 8 ? length : 0, '\x7f');
            clip << "FRAME\n" << picture;
        }
        return In("clip.y4m");
    }
};

TEST_F(OddPictures, AnySizeIsScanned) {
    for (const Size size : {Size{1, 1}, Size{2, 1}, Size{1, 2}, Size{3, 3}, Size{7, 1}, Size{1, 64}, Size{64, 1},
                            Size{17, 5}, Size{640, 3}, Size{4096, 16}, Size{16, 4096}, Size{4096, 1}, Size{1, 9000}}) {
        for (const int pictures : {1, 40}) {
            const std::string clip = Clip(size, pictures);
            for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
                     {},
                     {"--stabilise", "on", "--memory", In("known")},
                     {"--stabilise", "off", "--block", size.width * size.height > 100'000 ? "2" : "1"},
                     {"--report", In("report.html"), "--background", In("ground.png")}}) {
                if (pictures == 1 && !options.empty()) {
                    continue;
                }
                std::filesystem::remove_all(In("known"));
                std::vector<std::string> arguments = options;
                arguments.insert(arguments.end(), {"--rate", "0", "--frames", clip});
                const Outcome run = Mdscan(arguments);
                EXPECT_TRUE(run.code == 0 || run.code == 3)
                    << size.width << "x" << size.height << ", " << pictures << " pictures: " << run.code << " " << run.err;
                EXPECT_EQ(std::count_if(run.lines.begin(), run.lines.end(),
                                        [](const nlohmann::json& line) { return line["type"] == "frame"; }),
                          pictures);
            }
        }
    }
}

TEST_F(OddPictures, DamagedFirstSecondsAreNoEndOfTheScan) {
    const Video::SquareScene scene{.seconds = 24, .from = 15, .until = 19};
    for (const char* codec : {"mpeg4", "mpeg2video"}) {
        Video::WriteEncoded({scene}, {.codec = codec, .container = "mpegts"}, In("clip.ts"));
        Damage("clip.ts", 2000, std::filesystem::file_size(In("clip.ts")) / 24);
        for (const std::vector<std::string>& options :
             std::vector<std::vector<std::string>>{{}, {"--thumbnails", In("pictures")}, {"--fast"}}) {
            std::vector<std::string> arguments = options;
            arguments.push_back(In("clip.ts"));
            const Outcome run = Mdscan(arguments);
            EXPECT_EQ(run.code, 1) << "damage is told";
            EXPECT_TRUE(std::any_of(run.lines.begin(), run.lines.end(),
                                    [&](const nlohmann::json& line) {
                                        return line["type"] == "event" && line["start"] > 13 && line["end"] > 18;
                                    }))
                << codec << ": " << nlohmann::json(run.lines) << run.err;
        }
    }
}

TEST_F(OddPictures, AnotherSizeOrFormatInTheMiddleBeginsAnew) {
    const Video::SquareScene first{.seconds = 12, .from = 6, .until = 9};
    for (const bool size : {false, true}) {
        const Video::SquareScene second =
            size ? Video::SquareScene{.width = 160, .height = 120, .seconds = 12, .from = 6, .until = 9} : first;
        Video::WriteEncoded({first, second},
                            {.codec = "mjpeg",
                             .container = "avi",
                             .format = AV_PIX_FMT_YUVJ420P,
                             .laterFormat = size ? AV_PIX_FMT_NONE : AV_PIX_FMT_YUVJ444P},
                            In("clip.avi"));
        for (const char* mode : {"auto", "on", "off"}) {
            const Outcome run = Mdscan({"--stabilise", mode, "--memory", In(mode), In("clip.avi")});
            EXPECT_GE(run.code, 0) << run.err;
            EXPECT_EQ(run.lines.size(), 2U) << run.err;
        }
    }
}

std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Without loss, neither width nor height in whole blocks: what is found and drawn is that of the scene coded upright.
TEST_F(OddPictures, TurnedVideosAreScannedAsTheyAreShown) {
    const Video::SquareScene scene{.width = 316, .height = 238, .seconds = 6, .from = 3, .until = 5};
    const auto outputs = [&](const std::string& name) {
        const std::string folder = In(name + ".out");
        std::filesystem::create_directories(folder);
        return folder + "/";
    };
    const auto scan = [&](const std::string& name) {
        const std::string folder = outputs(name);
        std::vector<std::string> arguments = {"--track",        "--zone",       "0,0.2,0.6,0.7",  "--thumbnails",
                                              folder,           "--background", folder + "g.png", "--heatmap",
                                              folder + "h.png", "--overlay",    folder + "o.mp4"};
        arguments.push_back(In(name));
        Outcome run = Mdscan(arguments);
        EXPECT_EQ(run.code, 0) << run.err;
        for (nlohmann::json& line : run.lines) {
            line.erase("thumbnail");
        }
        return run.lines;
    };
    const auto write = [&](const std::string& name, int rotation, bool mirrored) {
        Video::WriteEncoded(
            {scene}, {.codec = "ffv1", .container = "mov", .rotation = rotation, .mirrored = mirrored, .shownUpright = true},
            In(name));
    };
    write("upright.mov", 0, false);
    const std::vector<nlohmann::json> upright = scan("upright.mov");
    ASSERT_EQ(upright.size(), 1U);
    EXPECT_GT(upright[0]["track"].size(), 3U);
    const Video::StoredPictures drawn = Video::ReadPictures(outputs("upright.mov") + "o.mp4");
    ASSERT_EQ(drawn.pictures.size(), 60U);
    struct Case {
        std::string name;
        int rotation;
        bool mirrored;
    };
    for (const Case& turned : {Case{"90.mov", 90, false}, Case{"180.mov", 180, false}, Case{"270.mov", 270, false},
                               Case{"mirrored.mov", 0, true}, Case{"mirrored90.mov", 90, true}}) {
        SCOPED_TRACE(turned.name);
        write(turned.name, turned.rotation, turned.mirrored);
        EXPECT_EQ(scan(turned.name), upright);
        const std::string folder = outputs(turned.name), expected = outputs("upright.mov");
        for (const char* picture : {"g.png", "h.png"}) {
            EXPECT_EQ(Bytes(folder + picture), Bytes(expected + picture)) << picture;
        }
        const std::string stem = turned.name.substr(0, turned.name.find('.'));
        EXPECT_FALSE(Bytes(expected + "upright-1.jpg").empty());
        EXPECT_EQ(Bytes(folder + stem + "-1.jpg"), Bytes(expected + "upright-1.jpg"));
        const Video::StoredPictures pictures = Video::ReadPictures(folder + "o.mp4");
        EXPECT_EQ(pictures.rotation, 0);
        ASSERT_EQ(pictures.pictures.size(), drawn.pictures.size());
        EXPECT_EQ(pictures.pictures[40].width, drawn.pictures[40].width);
        EXPECT_EQ(pictures.pictures[40].luma, drawn.pictures[40].luma);
    }
    EXPECT_EQ(Mdscan({"--fast", In("90.mov")}).lines, Mdscan({"--fast", In("upright.mov")}).lines);
    const Outcome zones = Mdscan({"zones", "--zone", "0,0,0.5,0.5", "--preview", In("lying.png"), In("90.mov")});
    EXPECT_EQ(zones.lines,
              Mdscan({"zones", "--zone", "0,0,0.5,0.5", "--preview", In("upright.png"), In("upright.mov")}).lines);
    EXPECT_EQ(Bytes(In("lying.png")), Bytes(In("upright.png")));
    for (const nlohmann::json& line : Mdscan({In("upright.mov"), In("mirrored90.mov")}).lines) {
        const bool turned = line["file"] == In("mirrored90.mov");
        if (line["type"] == "file") {
            EXPECT_EQ(line.value("rotation", 0), turned ? 90 : 0);
            EXPECT_EQ(line.contains("mirrored"), turned);
        }
    }
}

}  // namespace
}  // namespace Scan
