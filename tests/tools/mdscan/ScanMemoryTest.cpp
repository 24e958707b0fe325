// Does a camera's background go on from one input to the next, does it fit, and does nothing depend on it unasked?
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "StreetClip.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct Seen {
    double start, end;
};

std::vector<Seen> EventsOf(const Outcome& run, double offset = 0) {
    std::vector<Seen> events;
    for (const json& line : run.lines) {
        if (line["type"] == "event") {
            events.push_back({offset + line["start"].get<double>(), offset + line["end"].get<double>()});
        }
    }
    return events;
}

// The number of the first picture with an object among those that were analysed, from 0.
std::optional<std::size_t> FirstWithMotion(const Outcome& run) {
    std::size_t number = 0;
    for (const json& line : run.lines) {
        if (line["type"] == "frame" && !line["objects"].empty()) {
            return number;
        }
        number += line["type"] == "frame" ? 1 : 0;
    }
    return std::nullopt;
}

void ExpectNear(const std::vector<Seen>& found, const std::vector<Seen>& expected, double tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].start, expected[i].start, tolerance) << i;
        EXPECT_NEAR(found[i].end, expected[i].end, tolerance) << i;
    }
}

class ScanMemory : public ScanFixture {
protected:
    // Recordings of one camera are in a folder of theirs.
    std::string Recording(const std::string& name) const {
        fs::create_directories(fs::path(In(name)).parent_path());
        return In(name);
    }

    std::string OnlyMemory() const {
        std::vector<std::string> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(In("known"))) {
            files.push_back(entry.path().string());
        }
        EXPECT_EQ(files.size(), 1U);
        return files.empty() ? "" : files[0];
    }
};

TEST_F(ScanMemory, ARestartInTheMiddleChangesNothingOutsideOfASecond) {
    const StreetClip street(Street(60));
    street.Write(Recording("whole/0.y4m"));
    const std::vector<Seen> whole = EventsOf(Mdscan({In("whole/0.y4m")}));
    ASSERT_GE(whole.size(), 3U);
    const double quiet = (whole[0].end + whole[1].start) / 2, within = (whole[2].start + whole[2].end) / 2;
    for (const double cut : {quiet, within}) {
        SCOPED_TRACE(cut);
        fs::remove_all(In("known"));
        const double second = std::floor(cut);
        street.Write(Recording("camera/1.y4m"), 0, second);
        street.Write(Recording("camera/2.y4m"), second, street.Seconds());
        std::vector<Seen> before, after;
        for (const Seen& event : whole) {
            if (event.start < second) {
                before.push_back({event.start, std::min(event.end, second)});
            }
            if (event.end > second) {
                after.push_back({std::max(event.start, second), event.end});
            }
        }
        ExpectNear(EventsOf(Mdscan({"--memory", In("known"), In("camera/1.y4m")})), before, 1);
        ExpectNear(EventsOf(Mdscan({"--memory", In("known"), In("camera/2.y4m")}), second), after, 1);
    }
}

TEST_F(ScanMemory, WhatStandsThereAllTheTimeIsKnownNotToBelongThere) {
    Video::WriteY4m({.seconds = 10, .from = 0, .until = 0}, Recording("camera/1.y4m"));
    // A square that moves by less than a block a second: from itself, it is the background.
    const Video::SquareScene standing{.seconds = 4, .from = -900, .until = 900};
    Video::WriteY4m(standing, Recording("camera/2.y4m"));
    EXPECT_TRUE(EventsOf(Mdscan({In("camera/2.y4m")})).empty());
    EXPECT_EQ(Mdscan({"--memory", In("known"), In("camera/1.y4m")}).code, 3);
    const Outcome run = Mdscan({"--frames", "--memory", In("known"), In("camera/2.y4m")});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(FirstWithMotion(run), 0U);
}

TEST_F(ScanMemory, APipeReportsFromItsFirstPictureOn) {
    const Video::SquareScene moving{.seconds = 8, .from = -2, .until = 6};
    Video::WriteY4m(moving, In("moving.y4m"));
    Video::WriteY4m({.seconds = 10, .from = 0, .until = 0}, In("still.y4m"));
    const Outcome unknown = MdscanFed({"--frames", "-"}, In("moving.y4m"));
    const std::optional<std::size_t> first = FirstWithMotion(unknown);
    ASSERT_TRUE(first);
    EXPECT_GE(*first, 10U) << "the eleventh, with all that it is compared with";
    EXPECT_LE(*first, 15U);
    EXPECT_EQ(MdscanFed({"--memory", In("known"), "-"}, In("still.y4m")).code, 3);
    EXPECT_FALSE(OnlyMemory().empty());
    const Outcome known = MdscanFed({"--frames", "--memory", In("known"), "-"}, In("moving.y4m"));
    EXPECT_EQ(FirstWithMotion(known), 0U);
    EXPECT_EQ(EventsOf(known).size(), 1U);
}

TEST_F(ScanMemory, APipeThatIsInterruptedIsRemembered) {
    Video::WriteY4m({}, In("clip.y4m"));
    const Outcome run = MdscanInterrupted({"--frames", "--memory", In("known")}, In("clip.y4m"), In("pipe"), 40);
    EXPECT_EQ(run.code, 1);
    EXPECT_GT(fs::file_size(OnlyMemory()), 100U);
}

TEST_F(ScanMemory, OneThatDoesNotFitRefusesItsInputAndNoOther) {
    Video::WriteY4m({.width = 160, .height = 120, .seconds = 5}, Recording("gate/1.y4m"));
    EXPECT_EQ(Mdscan({"--memory", In("known"), In("gate/1.y4m")}).code, 3);
    const std::string memory = OnlyMemory();
    std::ifstream file(memory, std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    const Video::SquareScene scene;
    Video::WriteY4m(scene, Recording("gate/2.y4m"));
    Video::WriteY4m(scene, Recording("yard/1.y4m"));
    for (const bool damaged : {false, true}) {
        if (damaged) {
            std::ofstream(memory, std::ios::binary) << content.substr(0, content.size() / 2);
        }
        const Outcome run = Mdscan({"--memory", In("known"), "--background", In("grounds"), "--report", In("report.html"),
                                    In("gate/2.y4m"), In("yard/1.y4m")});
        EXPECT_EQ(run.code, 1);
        ASSERT_EQ(run.lines.size(), 3U) << "of the input that is refused, nothing is told but that it is";
        EXPECT_EQ(run.lines[0]["file"], In("gate/2.y4m"));
        EXPECT_EQ(run.lines[0]["status"], "unreadable");
        EXPECT_EQ(run.lines[1]["file"], In("yard/1.y4m"));
        ExpectTheSquare(run.lines[1], scene);
        EXPECT_EQ(run.lines[2]["status"], "complete");
        EXPECT_NE(run.err.find("gate/2.y4m: " +
                               (damaged ? memory + ": the memory is cut off" : memory + ": the memory is for a grid of ")),
                  std::string::npos)
            << run.err;
        std::ifstream after(memory, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(after), {}).size(),
                  damaged ? content.size() / 2 : content.size());
    }
}

TEST_F(ScanMemory, ItIsOfTheSizeThatPicturesHadLast) {
    Video::WriteEncoded({{.seconds = 12}, {.width = 160, .height = 120, .seconds = 12, .from = 5, .until = 8}},
                        {.codec = "mpeg2video", .container = "mpegts"}, Recording("camera/1.ts"));
    EXPECT_EQ(Mdscan({"--memory", In("known"), In("camera/1.ts")}).code, 0);
    const Video::SquareScene small{.width = 160, .height = 120};
    Video::WriteY4m(small, Recording("camera/2.y4m"));
    const Outcome run = Mdscan({"--memory", In("known"), In("camera/2.y4m")});
    EXPECT_EQ(run.code, 0) << run.err;
}

// Without it, each is primed from itself.
TEST_F(ScanMemory, WithoutItResultsDependOnNoOtherInput) {
    std::vector<std::string> clips;
    for (const int number : {1, 2, 3}) {
        MdScene::Settings settings = Street(20);
        settings.seed = static_cast<std::uint64_t>(number);
        settings.quietSeconds = 1;
        clips.push_back(Recording("camera/" + std::to_string(number) + ".y4m"));
        StreetClip(settings).Write(clips.back());
    }
    std::vector<std::string> arguments = {"--frames", "-j", "1"};
    arguments.insert(arguments.end(), clips.begin(), clips.end());
    Outcome one = Mdscan(arguments);
    arguments[2] = "3";
    const Outcome three = Mdscan(arguments);
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_TRUE(one.lines == three.lines);
    std::vector<json> alone;
    for (const std::string& clip : clips) {
        for (json line : Mdscan({"--frames", clip}).lines) {
            line["file"] = clip;
            alone.push_back(line);
        }
    }
    one.lines.erase(
        std::remove_if(one.lines.begin(), one.lines.end(), [](const json& line) { return line["type"] == "file"; }),
        one.lines.end());  // of several inputs only
    EXPECT_TRUE(one.lines == alone);
    EXPECT_TRUE(std::any_of(alone.begin(), alone.end(), [](const json& line) { return line["type"] == "event"; }));
}

}  // namespace
}  // namespace Scan
