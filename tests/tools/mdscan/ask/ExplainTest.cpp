// Does the program explain the scan that it makes, and answer a wrong question in one line?
#include "ask/Explain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ScanFixture.h"
#include "command/OptionValues.h"
#include "command/Options.h"

namespace Scan {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

// A square of 12 pixels crosses from 9 to 13 s; blocks of a pixel, unless told otherwise.
constexpr Video::SquareScene small{.width = 80, .height = 60, .seconds = 14};

class ExplainTest : public ScanFixture {
protected:
    json Explain(Words words, const std::string& clip) const {
        words.insert(words.begin(), "explain");
        words.insert(words.end(), {"--json", clip});
        const Said said = MdscanSaying(words);
        EXPECT_EQ(said.code, 0) << said.err;
        EXPECT_EQ(said.err, "");
        EXPECT_EQ(std::count(said.out.begin(), said.out.end(), '\n'), 1);
        return json::parse(said.out, nullptr, false);
    }

    // The one line that is said.
    std::string Refusal(Words words, const std::string& clip, int code = 2) const {
        words.insert(words.begin(), {"explain", clip});
        const Said said = MdscanSaying(words);
        EXPECT_EQ(said.code, code);
        EXPECT_EQ(said.out, "");
        EXPECT_EQ(std::count(said.err.begin(), said.err.end(), '\n'), 1) << said.err;
        EXPECT_EQ(said.err.rfind("mdscan: ", 0), 0u) << said.err;
        return said.err;
    }
};

// Frames of a plain scan, each asked about a few places: within a box is motion, far from all boxes is none.
TEST_F(ExplainTest, AgreesWithTheLinesOfFrames) {
    const std::string clip = RawClip(small);
    Words plain = {"--condition", "none", "--block", "4"};
    const auto with = [&plain](Words words) {
        words.insert(words.end(), plain.begin(), plain.end());
        return words;
    };
    const Outcome scan = Mdscan(with({"--frames", clip}));
    int inside = 0, outside = 0;
    for (std::size_t i = 0; i < scan.lines.size(); i += 9) {
        const json& frame = scan.lines[i];
        if (frame["type"] != "frame" || frame["time"] < 8) {
            continue;
        }
        const json object = frame["objects"].empty() ? json() : frame["objects"][0];
        const int x = object.is_null() ? 40 : object["x"].get<int>() + object["w"].get<int>() / 2;
        const std::string time = frame["time"].dump();
        const json answer = Explain(with({"--at", time, "--pixel", std::to_string(x) + ",30"}), clip);
        EXPECT_EQ(answer["frame"], frame["frame"]) << "the time that is printed names the very picture";
        EXPECT_EQ(answer["time"], frame["time"]);
        EXPECT_EQ(answer["blocks"], frame["blocks"]);
        EXPECT_EQ(answer["verdict"], object.is_null() ? "still" : "motion") << answer;
        if (!object.is_null()) {
            EXPECT_EQ(answer["object"], object);
            ++inside;
        }
        EXPECT_EQ(Explain(with({"--at", time, "--block", "3,1"}), clip)["verdict"], "still");
        ++outside;
    }
    EXPECT_GE(inside, 2);
    EXPECT_GE(outside, 3);
}

// What is conditioned is told as the scan tells it, with what the detector says.
TEST_F(ExplainTest, AgreesWithAConditionedScan) {
    const std::string clip = RawClip(small);
    const Outcome scan = Mdscan({"--frames", clip});
    int inside = 0;
    for (std::size_t i = 0; i < scan.lines.size(); i += 5) {
        const json& frame = scan.lines[i];
        if (frame["type"] != "frame" || frame["objects"].empty()) {
            continue;
        }
        const json& object = frame["objects"][0];
        const std::string x = std::to_string(object["x"].get<int>() + object["w"].get<int>() / 2);
        const json answer = Explain({"--at", frame["time"].dump(), "--pixel", x + ",30"}, clip);
        EXPECT_EQ(answer["verdict"], "motion") << answer;
        EXPECT_EQ(answer["object"], object);
        EXPECT_EQ(answer["blocks"], frame["blocks"]);
        EXPECT_TRUE(answer.contains("detector"));
        ++inside;
    }
    EXPECT_GE(inside, 3);
    const json first = Explain({"--at", "0", "--pixel", "40,30"}, clip);
    EXPECT_EQ(first["verdict"], "still") << "the background of a file is known from the first picture on";
    EXPECT_EQ(first["background"]["known"], true);
    EXPECT_EQ(first["suppressed"], false);
}

TEST_F(ExplainTest, NamesEachReason) {
    const std::string clip = RawClip(small);
    const auto Explain = [this](Words words, const std::string& video) {
        words.insert(words.end(), {"--condition", "none"});
        return ExplainTest::Explain(words, video);
    };
    Write("zones.json", R"({"zones": [
        {"name": "right", "polygon": [[0.4, 0], [1, 0], [1, 1], [0.4, 1]]},
        {"name": "hole", "exclude": true, "polygon": [[0.6, 0], [0.7, 0], [0.7, 1], [0.6, 1]]}]})");
    EXPECT_EQ(Explain({"--at", "0.5", "--block", "40,30"}, clip)["verdict"], "not_ready");
    json answer = Explain({"--at", "4", "--block", "40,30"}, clip);
    EXPECT_EQ(answer["verdict"], "still");
    EXPECT_EQ(answer["background"], json({{"known", false}}));
    answer = Explain({"--at", "8", "--block", "40,30"}, clip);
    EXPECT_EQ(answer["verdict"], "still");
    EXPECT_EQ(answer["background"]["known"], true);
    EXPECT_EQ(answer["history"].size(), 11u);

    // At 11 s the square spans columns 34 to 45.
    const Words middle = {"--at", "0:11", "--block", "40,30"};
    answer = Explain(middle, clip);
    EXPECT_EQ(answer["verdict"], "motion");
    EXPECT_EQ(answer["foreground"], true);
    EXPECT_GT(answer["current"]["y"].get<int>() - answer["reference"]["y"].get<int>(), answer["noise"]);
    EXPECT_EQ(answer["event"]["event"], 1);
    const Outcome scan = Mdscan({"--condition", "none", clip});
    EXPECT_EQ(answer["event"]["start"], scan.lines.at(0)["start"]);
    EXPECT_EQ(answer["event"]["end"], scan.lines.at(0)["end"]);

    const auto with = [&](Words more) {
        more.insert(more.begin(), middle.begin(), middle.end());
        return Explain(more, clip);
    };
    EXPECT_EQ(with({"--min-size", "0.5"})["verdict"], "small");
    answer = with({"--max-size", "0.05"});  // 5 by 4 blocks
    EXPECT_EQ(answer["verdict"], "large");
    EXPECT_GT(answer["large"]["columns"], answer["large"]["most_columns"]);
    EXPECT_EQ(answer["large"]["most_rows"], 3);
    EXPECT_FALSE(answer.contains("object"));
    EXPECT_EQ(answer["blocks"], 0);
    EXPECT_EQ(ExplainTest::Explain({"--at", "11", "--block", "40,30", "--max-size", "0.05"}, clip)["verdict"], "large");
    EXPECT_EQ(with({"--zones", In("zones.json")})["zones"], Words{"right"});
    EXPECT_EQ(Explain({"--at", "11", "--block", "52,30", "--zones", In("zones.json")}, clip)["verdict"], "excluded");
    EXPECT_EQ(Explain({"--at", "11", "--block", "10,30", "--zones", In("zones.json")}, clip)["verdict"], "outside");
    answer = with({"--shadows"});
    EXPECT_EQ(answer["verdict"], "shadow") << "plain things are taken for shadow";
    EXPECT_LT(answer["shadow"]["score"], answer["shadow"]["limit"]);
    answer = with({"--min-blocks", "10000"});
    EXPECT_EQ(answer["verdict"], "motion");
    EXPECT_EQ(answer["counts"], false);
    answer = with({"--min-duration", "60"});
    EXPECT_EQ(answer["counts"], true);
    EXPECT_EQ(answer["event"]["dropped"], true);
    EXPECT_FALSE(answer["event"].contains("event"));
}

TEST_F(ExplainTest, SaysItInWords) {
    const std::string clip = RawClip(small);
    const Said said = MdscanSaying({"explain", clip, "--condition", "none", "--at", "11.05", "--block", "40,30"});
    EXPECT_EQ(said.code, 0) << said.err;
    EXPECT_EQ(
        said.out.rfind(
            clip + ": block 40,30 (pixels 40,30 to 40,30), picture 110 at 11.000 s, the last one analysed by 11.050 s\n", 0),
        0u)
        << said.out;
    for (const char* part : {"\nMotion: part of an object of ", ", in event 1 from ", "\n  luma        ",
                             ", more than its noise level ", "\n  background  known", "\n  stability   restless",
                             "\n  change      just now", "\n  zones       the whole picture"}) {
        EXPECT_NE(said.out.find(part), std::string::npos) << part << " is not in:\n" << said.out;
    }
    const Said still = MdscanSaying({"explain", clip, "--at", "13.9", "--block", "40,30"});
    EXPECT_NE(still.out.find("\nNo motion: "), std::string::npos) << still.out;
    EXPECT_NE(still.out.find("\n  shown       "), std::string::npos) << still.out;
    EXPECT_EQ(said.out.find("\n  shown       "), std::string::npos) << "nothing is conditioned";
}

TEST_F(ExplainTest, AWrongQuestionIsAnsweredInOneLine) {
    const std::string clip = RawClip({.width = 160, .height = 120, .seconds = 3});
    EXPECT_NE(
        Refusal({"--at", "3", "--block", "1,1"}, clip).find("--at must lie within the video, from 0 to 3.000 s, not 3.000"),
        std::string::npos);
    EXPECT_NE(Refusal({"--at", "1", "--condition", "none", "--block", "160,1"}, clip)
                  .find("--block must lie within the grid, from 0,0 to 159,119"),
              std::string::npos);
    EXPECT_NE(
        Refusal({"--at", "1", "--pixel", "1,120"}, clip).find("--pixel must lie within the picture, from 0,0 to 159,119"),
        std::string::npos);
    for (const Words& words :
         {Words{"--block", "1,1"}, Words{"--at", "soon", "--block", "1,1"}, Words{"--at", "1", "--block", "1,1,1"},
          Words{"--at", "1", "--block", "-1,1"}, Words{"--at", "1", "--block", "1,1", "--block", "2,2"},
          Words{"--at", "1", "--block", "1,1", "--pixel", "2,2"}, Words{"--at", "1", "--block", "1,1", "--frames"},
          Words{"--at", "1"}, Words{"--at", "1", "--block", "65,1", "--block", "65"}}) {
        Words all = words;
        all.insert(all.begin(), {"explain", clip});
        const Parsed parsed = ParseOptions(all, "");
        EXPECT_FALSE(parsed.options) << parsed.text;
        EXPECT_EQ(parsed.exitCode, 2);
        EXPECT_EQ(parsed.text.rfind("mdscan: ", 0), 0u);
        EXPECT_EQ(std::count(parsed.text.begin(), parsed.text.end(), '\n'), 1) << parsed.text;
    }
    Refusal({"--at", "1", "--block", "1,1", clip + "2"}, clip);
    Write("text.mp4", "no video");
    EXPECT_NE(Refusal({"--at", "1", "--block", "1,1"}, In("text.mp4"), 1).find("text.mp4: cannot open"), std::string::npos);
}

TEST_F(ExplainTest, ADamagedVideoIsExplainedAsFarAsItGoes) {
    const std::string clip = RawClip(small);
    std::filesystem::resize_file(clip, std::filesystem::file_size(clip) - 100'000);
    const Said said = MdscanSaying({"explain", clip, "--condition", "none", "--at", "11", "--block", "40,30"});
    EXPECT_NE(said.out.find("\nMotion: "), std::string::npos) << said.out;
    EXPECT_NE(Refusal({"--at", "13.9", "--block", "1,1"}, clip).find("; damaged near"), std::string::npos);
}

TEST(OptionValues, TimesAndPlaces) {
    EXPECT_EQ(ReadTime("12.5"), 12.5);
    EXPECT_EQ(ReadTime("1:02"), 62);
    EXPECT_EQ(ReadTime("90:00"), 5400);
    EXPECT_EQ(ReadTime("01:02:03.25"), 3723.25);
    EXPECT_EQ(ReadTime("0"), 0);
    for (const char* wrong :
         {"", "-1", "+1", "1:60", "1:60:00", "1:2:3:4", "1:", ":1", "1.5:00", "nan", "inf", "1e300", " 1", "1 ", "1:-2"}) {
        EXPECT_EQ(ReadTime(wrong), std::nullopt) << wrong;
    }
    EXPECT_EQ(ReadPlace("40,22"), (std::array<int, 2>{40, 22}));
    for (const char* wrong : {"", "1", "1,", ",1", "1,2,3", "-1,2", "1,-2", "1.5,2", "99999999999,1", "1, 2"}) {
        EXPECT_EQ(ReadPlace(wrong), std::nullopt) << wrong;
    }
}

}  // namespace
}  // namespace Scan
