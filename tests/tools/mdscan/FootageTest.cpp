// Does the built program see in real footage what people see?
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class Footage : public ScanFixture {
protected:
    void SetUp() override {
        if (!fs::is_directory(COREMD_FOOTAGE)) {
            GTEST_SKIP() << "no footage: COREMD_FOOTAGE names no folder, but '" << COREMD_FOOTAGE << "'";
        }
    }

    static std::string Clip(const std::string& name) { return (fs::path(COREMD_FOOTAGE) / name).string(); }
};

TEST_F(Footage, PeopleOnASquareMoveAllTheTime) {
    const Outcome run = Mdscan({"--frames", Clip("vtest.avi")});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_NE(run.err.find("795 pictures (79.5 s)"), std::string::npos) << run.err;
    int frames = 0, moving = 0;
    for (const json& line : run.lines) {
        frames += line["type"] == "frame" ? 1 : 0;
        moving += line["type"] == "frame" && !line["objects"].empty() ? 1 : 0;
    }
    EXPECT_EQ(frames, 398);
    EXPECT_GE(moving, 380);
    EXPECT_LE(run.lines.back()["start"], 3.0);
    EXPECT_GE(run.lines.back()["end"], 79.0);
}

TEST_F(Footage, SixPeopleWhoComeAndGoAreSixEvents) {
    // The second comes into sight one second after the first has left it: by default, the two are one event.
    const auto eventsOf = [](const Outcome& run) {
        EXPECT_EQ(run.code, 0) << run.err;
        std::vector<json> events;
        std::copy_if(run.lines.begin(), run.lines.end(), std::back_inserter(events),
                     [](const json& line) { return line["type"] == "event"; });  // the light changes once, too
        return events;
    };
    EXPECT_EQ(eventsOf(Mdscan({Clip("one-by-one-person-detection.mp4")})).size(), 5u);
    const std::vector<json> events = eventsOf(Mdscan({"--merge-gap", "1.5", Clip("one-by-one-person-detection.mp4")}));
    // First and last second at which each of them can be seen.
    constexpr double seen[6][2] = {{5, 21}, {22, 47}, {49, 72}, {73, 89}, {91, 122}, {122, 139.5}};
    ASSERT_EQ(events.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_GE(events[i]["start"], seen[i][0]);
        EXPECT_LE(events[i]["end"], seen[i][1]);
        EXPECT_GE(events[i]["end"].get<double>() - events[i]["start"].get<double>(), 0.7 * (seen[i][1] - seen[i][0]));
    }
}

TEST_F(Footage, VehiclesOnAMotorwayMoveAllTheTime) {
    const Outcome run = Mdscan({Clip("traffic_camera.mp4")});
    EXPECT_EQ(run.code, 0) << run.err;
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_LE(run.lines[0]["start"], 3.0);
    EXPECT_GE(run.lines[0]["end"], 22.5);
}

}  // namespace
}  // namespace Scan
