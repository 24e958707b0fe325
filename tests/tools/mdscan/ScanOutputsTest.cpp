// Are events the same, whatever else is asked for?  Pictures of the first seconds are kept for some outputs, and read twice
// for others.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "StreetClip.h"

namespace Scan {
namespace {

using nlohmann::json;

class ScanOutputs : public ScanFixture {
protected:
    // Lines of events and conditions, byte for byte, without what names the output.
    std::vector<std::string> Told(std::vector<std::string> options, const std::string& clip, bool numbered = true) const {
        options.push_back(clip);
        const Outcome run = Mdscan(options);
        EXPECT_EQ(run.code, 0) << run.err;
        std::vector<std::string> told;
        for (json line : run.lines) {
            if (line["type"] == "frame") {
                continue;
            }
            for (const char* name : {"thumbnail", "clip", "clip_start"}) {
                line.erase(name);
            }
            for (const char* name : {"start_frame", "end_frame", "peak_frame"}) {
                if (!numbered) {
                    line.erase(name);
                }
            }
            told.push_back(line.dump());
        }
        return told;
    }

    void ExpectTheSameWithAll(const std::string& clip, std::size_t lines, bool numbered = true) const {
        const std::vector<std::string> told = Told({}, clip, numbered);
        EXPECT_EQ(told.size(), lines);
        for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
                 {"--frames"},
                 {"--thumbnails", In("thumbnails")},
                 {"--report", In("report.html")},
                 {"--overlay", In("overlay.mp4")},
                 {"--clips", In("clips")},
                 {"--heatmap", In("heat")},
                 {"--background", In("ground.png")},
                 {"--csv", In("events.csv")},
                 {"--frames", "--overlay", In("overlay.mp4"), "--clips", In("clips"), "--report", In("report.html")}}) {
            EXPECT_EQ(Told(options, clip, numbered), told) << options.front() << " of " << clip;
        }
    }
};

TEST_F(ScanOutputs, EventsOfRawPicturesAreTheSame) {
    MdScene::Settings settings = Street(40);
    settings.quietSeconds = 0;
    settings.disturbances[0] = {.kind = MdScene::DisturbanceKind::Light, .begin = 20, .end = 30};
    StreetClip(settings).Write(In("clip.y4m"));
    const std::vector<std::string> told = Told({}, In("clip.y4m"));
    ExpectTheSameWithAll(In("clip.y4m"), told.size());
    EXPECT_GE(told.size(), 3U);
}

// Pictures that nobody asks for are not decoded, unless an output shows them.
TEST_F(ScanOutputs, EventsOfCompressedPicturesAreTheSame) {
    const Video::SquareScene moving{
        .width = 160, .height = 120, .framesPerSecond = 25, .seconds = 20, .from = 0, .until = 5};
    Video::WriteEncoded({moving}, {.codec = "mpeg4", .container = "matroska", .bFrames = 2}, In("clip.mkv"));
    ExpectTheSameWithAll(In("clip.mkv"), 1);
}

TEST_F(ScanOutputs, PicturesOfAnotherSizeWithinTheFirstSecondsChangeNothing) {
    Video::WriteEncoded({{.seconds = 6, .from = 1, .until = 4}, {.width = 160, .height = 120, .seconds = 20}},
                        {.codec = "mpeg2video", .container = "mpegts"}, In("clip.ts"));
    ExpectTheSameWithAll(In("clip.ts"), 2, false);  // behind the change, numbers may be one apart
}

TEST_F(ScanOutputs, KeyframesFirstFindsTheSame) {
    const StreetClip street(Street(60));
    street.Write(In("clip.y4m"));
    const std::vector<std::string> whole = Told({}, In("clip.y4m")), fast = Told({"--fast"}, In("clip.y4m"));
    ASSERT_EQ(fast.size(), whole.size());
    EXPECT_GE(whole.size(), 3U);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const json expected = json::parse(whole[i]), found = json::parse(fast[i]);
        EXPECT_NEAR(found["start"].get<double>(), expected["start"].get<double>(), 0.5);
        EXPECT_NEAR(found["end"].get<double>(), expected["end"].get<double>(), 0.5);
    }
}

}  // namespace
}  // namespace Scan
