// Does a long video that is split tell what one scan of it tells, wherever it was cut?  Called as users call it.
#include "archive/Splitting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "ScanFixture.h"
#include "archive/Plan.h"

namespace Scan {
namespace {

namespace fs = std::filesystem;

using Video::oneSecond;
using Words = std::vector<std::string>;

// Every two seconds; those from one to another are not quiet.
std::vector<KeyframeChange> KeyframesBut(int from, int to) {
    std::vector<KeyframeChange> keyframes;
    for (int time = 100; time <= 200; time += 2) {
        keyframes.push_back({time * oneSecond, time < from || time > to});
    }
    return keyframes;
}

TEST(Splitting, CutsWhereItHasBeenQuietForAsLongAsAPartLearns) {
    const auto cut = [](int border, int from, int to) {
        const Cut at = CutNear(border * oneSecond, KeyframesBut(from, to));
        return at.isQuiet ? static_cast<int>(at.at / oneSecond) : -1;
    };
    EXPECT_EQ(cut(150, 300, 300), 150) << "nothing moves";
    EXPECT_EQ(cut(150, 120, 126), 150) << "long before";
    EXPECT_EQ(cut(150, 146, 152), 140) << "four seconds before it";
    EXPECT_EQ(cut(150, 130, 140), 156) << "sixteen behind it";
    EXPECT_EQ(cut(150, 112, 190), -1);
    EXPECT_EQ(CutNear(7 * oneSecond + 3, {}).at, 7 * oneSecond) << "whole milliseconds";
}

class SplitArchiveTest : public ScanFixture {
protected:
    const Video::Encoding avi{.codec = "mpeg4", .container = "avi"};

    // Somebody crosses every half minute.
    void MakeQuietVideo() {
        fs::create_directories(In("video"));
        const Video::SquareScene scene{
            .width = 128, .height = 96, .framesPerSecond = 6, .seconds = 30, .from = 3, .until = 5};
        Video::WriteEncoded({scene, scene, scene, scene}, avi, In("video/long.avi"));
        Video::WriteEncoded({scene, scene}, avi, In("video/short.avi"));
    }

    // And here always, from 16 to 80 seconds.
    void MakeBusyVideo() {
        fs::create_directories(In("video"));
        std::vector<Video::SquareScene> scenes(
            11, {.width = 128, .height = 96, .framesPerSecond = 6, .seconds = 8, .from = 0, .until = 8});
        scenes[0].until = scenes[1].until = scenes[10].until = 0;
        Video::WriteEncoded(scenes, avi, In("video/busy.avi"));
        fs::copy(In("video/busy.avi"), In("video/other.avi"));
    }

    Said PlanIt(const std::string& split, const Words& words = {}) const {
        Words all{"plan", In("video"), "--split", split, "-o", In("a.plan")};
        all.insert(all.end(), words.begin(), words.end());
        return MdscanSaying(all);
    }
    Said WorkOnIt(const Words& words = {}) const {
        Words all{"work", In("a.plan"), "--into", In("a.d")};
        all.insert(all.end(), words.begin(), words.end());
        return MdscanSaying(all);
    }
    Said GatherIt() const {
        return MdscanSaying(
            {"gather", In("a.plan"), "--from", In("a.d"), "-o", In("split.jsonl"), "--csv", In("split.csv")});
    }
    Said ScanIt(const Words& words = {}) const {
        Words all{In("video"), "-j", "64", "-o", In("plain.jsonl"), "--csv", In("plain.csv")};
        all.insert(all.end(), words.begin(), words.end());
        return MdscanSaying(all);
    }

    void ExpectSame() const {
        EXPECT_FALSE(Read("plain.csv").empty());
        EXPECT_EQ(Read("plain.jsonl"), Read("split.jsonl"));
        EXPECT_EQ(Read("plain.csv"), Read("split.csv"));
    }

    std::vector<nlohmann::json> EventsIn(const std::string& name) const {
        std::vector<nlohmann::json> events;
        std::istringstream lines(Read(name));
        for (std::string line; std::getline(lines, line);) {
            if (nlohmann::json json = nlohmann::json::parse(line); json["type"] == "event") {
                events.push_back(std::move(json));
            }
        }
        return events;
    }
};

TEST_F(SplitArchiveTest, CutWhereItIsQuietItTellsTheBytesOfOneScan) {
    MakeQuietVideo();
    const Words options{"--frames", "--track", "--zone", "0,0,1,1", "--pre-roll", "2", "--post-roll", "1"};
    EXPECT_EQ(PlanIt("40s", options).err, "mdscan: 4 jobs\n");
    const Plan plan = ReadPlan(In("a.plan"));
    ASSERT_EQ(plan.jobs.size(), 4u);
    for (std::size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(plan.jobs[i].part) << i;
        EXPECT_EQ(plan.jobs[i].part->to.has_value(), i < 2);
        EXPECT_EQ(plan.jobs[i].part->from, i == 0 ? 0 : *plan.jobs[i - 1].part->to);
        if (i > 0) {
            const Video::Ticks learns = plan.jobs[i].part->from - plan.jobs[i].part->learn;
            EXPECT_NEAR(Video::ToSeconds(learns), 16, 0.3);
            const double phase = std::fmod(Video::ToSeconds(plan.jobs[i].part->from), 30);
            EXPECT_TRUE(phase < 3 || phase > 20) << phase << " s behind somebody's coming";
            EXPECT_NE(plan.jobs[i].key, plan.jobs[i - 1].key);
        }
    }
    EXPECT_FALSE(plan.jobs[3].part) << "one and a half parts remain whole";

    for (const char* job : {"3", "1", "4"}) {
        EXPECT_EQ(WorkOnIt({"--job", job}).code, 0);
    }
    const Said early = GatherIt();
    EXPECT_EQ(early.code, 1);
    EXPECT_NE(early.err.find("long.avi: the part from "), std::string::npos) << early.err;
    EXPECT_NE(early.err.find(" s: not scanned yet"), std::string::npos) << early.err;
    EXPECT_NE(early.err.find("2 inputs: 1 with motion, 0 failed, 1 missing"), std::string::npos) << early.err;
    for (const nlohmann::json& event : EventsIn("split.jsonl")) {
        EXPECT_EQ(event["file"], In("video/short.avi")) << "an event may go on in what is missing";
    }
    EXPECT_EQ(WorkOnIt().err, "mdscan: 4 jobs: 1 done here, 3 by others\n");
    EXPECT_EQ(GatherIt().err, "mdscan: 2 inputs: 2 with motion, 0 failed; 6 events in 180.0 s of video\n");
    EXPECT_EQ(ScanIt(options).code, 0);
    ExpectSame();
}

TEST_F(SplitArchiveTest, AnEventAcrossBordersIsOne) {
    MakeBusyVideo();
    const Words options{"--frames", "--track", "--pre-roll", "1", "--post-roll", "1"};
    EXPECT_EQ(PlanIt("30s", options).err, "mdscan: 6 jobs\n");
    EXPECT_EQ(WorkOnIt({"-j", "2"}).code, 0);
    EXPECT_EQ(GatherIt().err, "mdscan: 2 inputs: 2 with motion, 0 failed; 2 events in 176.0 s of video\n");
    EXPECT_EQ(ScanIt(options).code, 0);
    const std::vector<nlohmann::json> plain = EventsIn("plain.jsonl"), split = EventsIn("split.jsonl");
    ASSERT_EQ(plain.size(), 2u);
    ASSERT_EQ(split.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        for (const char* end : {"start", "end"}) {
            EXPECT_NEAR(split[i][end].get<double>(), plain[i][end].get<double>(), 0.5);
            const std::string frame = std::string(end) + "_frame";
            EXPECT_EQ(split[i][frame].get<int>(), std::lround(split[i][end].get<double>() * 6)) << "of the file";
        }
        EXPECT_EQ(split[i]["frame_exact"], true);
        EXPECT_NEAR(split[i]["frames"].get<int>(), plain[i]["frames"].get<int>(), 12);
        EXPECT_FALSE(split[i].contains("seam"));
        EXPECT_EQ(split[i].size(), plain[i].size());
    }
}

// Keyframes half as far apart as parts are long: decoding begins long before what is looked at, where it was quiet once.
TEST_F(SplitArchiveTest, CutsRiseHoweverFarApartKeyframesAre) {
    fs::create_directories(In("video"));
    std::vector<Video::SquareScene> scenes(
        15, {.width = 128, .height = 96, .framesPerSecond = 6, .seconds = 11, .from = 0, .until = 11});
    scenes[0].seconds = 30;
    scenes[0].until = 0;
    for (const int gop : {60, 120}) {  // every 10 and 20 seconds
        SCOPED_TRACE(gop);
        Video::WriteEncoded(scenes, {.codec = "mpeg4", .container = "avi", .gop = gop}, In("video/far.avi"));
        EXPECT_EQ(PlanIt("20s").err, "mdscan: 9 jobs\n");
        const Plan plan = ReadPlan(In("a.plan"));
        ASSERT_EQ(plan.jobs.size(), 9u);
        const double length = 184. / 9;
        for (std::size_t i = 1; i < plan.jobs.size(); ++i) {
            EXPECT_NEAR(Video::ToSeconds(plan.jobs[i].part->from), length * static_cast<double>(i), length / 3);
            EXPECT_LT(plan.jobs[i].part->learn, plan.jobs[i].part->from);
        }
    }
}

// Whatever stands in the way of looking at its keyframes will stand in the way of its scan, which tells it.
TEST_F(SplitArchiveTest, AVideoThatCannotBeLookedAtRemainsWhole) {
    fs::create_directories(In("video"));
    Video::WriteEncoded({{.width = 64, .height = 48, .framesPerSecond = 6, .seconds = 90}}, avi, In("video/damaged.avi"));
    std::string bytes = Read("video/damaged.avi");
    const std::size_t begin = bytes.find("movi"), end = bytes.find("idx1");
    ASSERT_TRUE(begin < end && end < bytes.size());
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin) + 4, bytes.begin() + static_cast<std::ptrdiff_t>(end), 'x');
    Write("video/damaged.avi", bytes);
    Video::WriteEncoded({{.width = 64, .height = 48, .framesPerSecond = 6, .seconds = 9}}, avi, In("video/whole.avi"));
    const Said planned = PlanIt("30s");
    EXPECT_EQ(planned.code, 0) << planned.err;
    EXPECT_EQ(planned.err, "mdscan: 2 jobs\n");
}

TEST_F(SplitArchiveTest, WhatCannotBeSplitIsRefused) {
    fs::create_directories(In("video"));
    const auto reason = [&](const Words& words) {
        const Said refused = PlanIt("40s", words);
        EXPECT_EQ(refused.code, 2) << refused.err;
        EXPECT_FALSE(fs::exists(In("a.plan")));
        return refused.err;
    };
    EXPECT_EQ(reason({"--fast"}),
              "mdscan: cannot plan with --split and --fast: which GOPs are skipped depends on all that came before\n");
    EXPECT_EQ(reason({"--from", "10"}), "mdscan: cannot plan with --split and --from 10: one part at a time\n");
    EXPECT_NE(reason({"--memory", In("m")}).find("cannot plan with --memory"), std::string::npos);
    EXPECT_EQ(PlanIt("5s").code, 2) << "less than it takes to learn";
    EXPECT_EQ(PlanIt("soon").code, 2);
    EXPECT_FALSE(fs::exists(In("a.plan")));

    Video::WriteEncoded({{.width = 32, .height = 32, .framesPerSecond = 6, .seconds = 70}},
                        {.codec = "mpeg4", .container = "mpegts"}, In("video/long.ts"));  // whose times may begin anew
    const std::string unsought = reason({});
    EXPECT_NE(unsought.find("long.ts with --split: it cannot be begun in the middle"), std::string::npos) << unsought;
}

}  // namespace
}  // namespace Scan
