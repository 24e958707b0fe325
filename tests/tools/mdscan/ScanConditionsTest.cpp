// Is what is no motion told apart, is the shortest clip judged, and what does the detector say when nothing is done around
// it?  The built program on rendered scenes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "StreetClip.h"
#include "video/base/Findings.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Scan {
namespace {

using nlohmann::json;

class ScanConditions : public ScanFixture {
protected:
    std::string Clip(const StreetClip& street, double from, double until) const {
        street.Write(In("clip.y4m"), from, until);
        return In("clip.y4m");
    }
};

std::vector<json> LinesOf(const Outcome& run, const std::string& type) {
    std::vector<json> lines;
    std::copy_if(run.lines.begin(), run.lines.end(), std::back_inserter(lines),
                 [&](const json& line) { return line["type"] == type; });
    return lines;
}

struct Wrong {
    MdScene::DisturbanceKind kind;
    double until;       // seconds; from the twentieth on
    std::string name;   // of its line
    std::string noted;  // in the end
};

TEST_F(ScanConditions, DisturbancesAreToldAndAreNoEvents) {
    using MdScene::DisturbanceKind;
    for (const Wrong& wrong : {Wrong{DisturbanceKind::Covered, 40, "covered", "covered for "},
                               Wrong{DisturbanceKind::Light, 50, "light", "light for "},
                               Wrong{DisturbanceKind::Shake, 40, "shaking", "shaking for "},
                               Wrong{DisturbanceKind::Moved, 50, "moved", "moved at 20."},
                               Wrong{DisturbanceKind::Frozen, 40, "frozen", "frozen for "}}) {
        SCOPED_TRACE(wrong.name);
        const StreetClip street(Disturbed(50, wrong.kind, 20, wrong.until));
        const Outcome run = Mdscan({Clip(street, 0, 50)});
        EXPECT_EQ(run.code, 3) << run.err;
        EXPECT_TRUE(LinesOf(run, "event").empty());
        std::vector<json> named = LinesOf(run, "condition");
        named.erase(
            std::remove_if(named.begin(), named.end(), [&](const json& line) { return line["condition"] != wrong.name; }),
            named.end());
        ASSERT_FALSE(named.empty()) << json(run.lines);
        EXPECT_NEAR(named.front()["start"].get<double>(), 20, 2.5);
        if (wrong.until < 50) {
            EXPECT_EQ(named.size(), 1U);
            EXPECT_NEAR(named.front()["end"].get<double>(), wrong.until, 5);
        }
        EXPECT_NE(run.err.find(wrong.noted), std::string::npos) << run.err;
    }
}

TEST_F(ScanConditions, AnUndisturbedStreetHasNone) {
    const Outcome run = Mdscan({Clip(StreetClip(Street(40)), 0, 40)});
    EXPECT_EQ(run.code, 0);
    EXPECT_FALSE(LinesOf(run, "event").empty());
    EXPECT_TRUE(LinesOf(run, "condition").empty());
}

TEST_F(ScanConditions, AClipOfTwoSecondsIsJudgedFromItsFirstPictureOn) {
    const StreetClip street(Street(60));
    const std::vector<json> events = LinesOf(Mdscan({Clip(street, 0, 60)}), "event");
    ASSERT_GE(events.size(), 3U);
    for (const json& event : events) {
        const double middle = std::floor((event["start"].get<double>() + event["end"].get<double>()) / 2);
        SCOPED_TRACE(middle);
        const Outcome run = Mdscan({Clip(street, middle, middle + 2)});
        EXPECT_EQ(run.code, 0) << run.err;
        const std::vector<json> found = LinesOf(run, "event");
        ASSERT_FALSE(found.empty());
        EXPECT_LE(found[0]["start"], 0.2);
        EXPECT_TRUE(LinesOf(run, "condition").empty());
    }
}

TEST_F(ScanConditions, ASinglePictureIsTooShort) {
    const Outcome run = Mdscan({Clip(StreetClip(Street(1)), 0, 1 / 12.0)});
    EXPECT_EQ(run.code, 3) << run.err;
    ASSERT_EQ(run.lines.size(), 1U);
    EXPECT_EQ(run.lines[0]["condition"], "too short");
    EXPECT_EQ(run.lines[0]["start"], 0.0);
    EXPECT_NE(run.err.find(": too short\n"), std::string::npos) << run.err;
}

TEST_F(ScanConditions, ABlackClipIsTooDark) {
    std::ofstream clip(In("clip.y4m"), std::ios::binary);
    clip << "YUV4MPEG2 W160 H120 F12:1 Ip C420jpeg XCOLORRANGE=LIMITED\n";
    for (int i = 0; i < 10 * 12; ++i) {
        clip << "FRAME\n" << std::string(160 * 120, static_cast<char>(16 + i % 2)) << std::string(160 * 60, '\x80');
    }
    clip.close();
    for (const bool fed : {false, true}) {
        const std::vector<std::string> more = {"--background", In("ground.png"), "--report", In("report.html")};
        std::vector<std::string> arguments = more;
        arguments.push_back(fed ? "-" : In("clip.y4m"));
        const Outcome run = fed ? MdscanFed(arguments, In("clip.y4m")) : Mdscan(arguments);
        EXPECT_EQ(run.code, 3) << run.err;
        ASSERT_EQ(run.lines.size(), 1U) << json(run.lines);
        EXPECT_EQ(run.lines[0]["condition"], "too dark");
        EXPECT_NE(run.err.find("too dark for 9."), std::string::npos) << run.err;
    }
}

// A person walks, and it gets brighter; nobody is there, and it does.
TEST_F(ScanConditions, AFlashIsToldAndNoPeak) {
    MdScene::Settings settings = Street(24);
    settings.disturbances[0] = {.kind = MdScene::DisturbanceKind::Light, .begin = 20, .end = 30};
    const std::string street = Clip(StreetClip(settings), 0, 24);
    const MdScene::Scene scene(settings);
    for (const char* condition : {"none", "default"}) {
        SCOPED_TRACE(condition);
        const std::vector<json> plain = LinesOf(Mdscan({"--condition", condition, street}), "event");
        const std::vector<json> events = LinesOf(Mdscan({"--condition", condition, "--ignore-flashes", street}), "event");
        EXPECT_EQ(events, plain) << "something moves in all of them";
        ASSERT_FALSE(events.empty());
        const json& event = events.front();
        EXPECT_LT(event["start"], 19) << "the walk began before";
        EXPECT_GT(event["end"], 21);
        EXPECT_TRUE(event.value("flash", false));
        MdScene::Frame frame;
        scene.Render(event["peak_frame"].get<int>(), frame);
        ASSERT_FALSE(frame.things.empty());
        const MdScene::Thing& thing = frame.things.front();
        const int left = std::min(thing.box.left, thing.shadow.left), right = std::max(thing.box.right, thing.shadow.right);
        const json& box = event["boxes"][0];
        EXPECT_LE(std::abs(box["x"].get<int>() - left), 30) << event << " " << left;
        EXPECT_LE(std::abs(box["x"].get<int>() + box["w"].get<int>() - right), 30) << event << " " << right;
    }
    const std::string empty = Clip(StreetClip(Disturbed(10, MdScene::DisturbanceKind::Light, 8, 30)), 0, 10);
    const std::vector<json> flashes = LinesOf(Mdscan({"--condition", "none", empty}), "event");
    ASSERT_EQ(flashes.size(), 1U);
    EXPECT_TRUE(flashes[0].value("flash", false)) << flashes[0];
    const Outcome ignored = Mdscan({"--condition", "none", "--ignore-flashes", empty});
    EXPECT_EQ(ignored.code, 3) << ignored.err;
    EXPECT_TRUE(LinesOf(ignored, "event").empty());
    EXPECT_EQ(ignored.scan.value("ignore_flashes", false), true);
    EXPECT_NE(ignored.err.find("; 0 events (1 flash ignored);"), std::string::npos) << ignored.err;
}

// A detector of our own beside the program, with nothing around it.
TEST_F(ScanConditions, WithoutConditioningItIsThePlainDetector) {
    const std::string clip = Clip(StreetClip(Street(40)), 0, 40);
    const std::vector<json> lines = LinesOf(Mdscan({"--condition", "none", "--frames", clip}), "frame");
    Video::Decoder decoder(Video::OpenSource(clip));
    Video::Cadence cadence(6, decoder.NominalInterval());
    Video::PlainPicture picture;
    std::optional<Video::Watcher> watcher;
    std::size_t line = 0, moving = 0;
    while (decoder.Next()) {
        if (!cadence.Takes(decoder.Time())) {
            continue;
        }
        picture.Take(decoder.Frame());
        if (!watcher) {
            watcher.emplace(picture.Format(), Video::GridOf(320, 180, 0),
                            Video::WatchRules{.framesPerSecond = 12, .shadows = false, .minSize = 0.03, .zones = {}});
        }
        const Video::Findings findings = watcher->Watch(picture.View(), decoder.Time());
        ASSERT_LT(line, lines.size());
        json objects = json::array();
        for (const Video::MovingObject& object : findings.objects) {
            objects.push_back({{"x", object.box.x},
                               {"y", object.box.y},
                               {"w", object.box.width},
                               {"h", object.box.height},
                               {"blocks", object.blocks}});
        }
        EXPECT_EQ(lines[line]["objects"], objects) << lines[line];
        EXPECT_NEAR(lines[line]["time"].get<double>(), Video::ToSeconds(decoder.Time()), 0.001);
        moving += objects.empty() ? 0 : 1;
        ++line;
    }
    EXPECT_EQ(line, lines.size());
    EXPECT_GT(moving, 50U);
}

}  // namespace
}  // namespace Scan
