// Does the built program scan pictures of any size, and of damaged first seconds, with all that it does around the detector?
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"

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

}  // namespace
}  // namespace Scan
