// Is the command line understood, and misunderstood loudly?
#include "command/Options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "video/time/WallClock.h"

namespace Scan {
namespace {

Parsed Parse(const std::vector<std::string>& arguments) { return ParseOptions(arguments, "mdscan 9.8.7"); }

TEST(Options, TheInputAloneIsEnough) {
    const Parsed parsed = Parse({"clip.mp4"});
    ASSERT_TRUE(parsed.options);
    EXPECT_EQ(parsed.options->inputs, std::vector<std::string>{"clip.mp4"});
    EXPECT_EQ(parsed.options->scan.rate, 6);
    EXPECT_EQ(parsed.options->scan.blockSize, 0);
    EXPECT_TRUE(parsed.options->scan.condition);
    EXPECT_EQ(parsed.options->scan.stabilise, Stabilise::Auto);
    EXPECT_EQ(parsed.options->scan.sensitivity, Sensitivity::Normal);
    EXPECT_TRUE(parsed.options->scan.memory.empty());
    EXPECT_FALSE(parsed.options->scan.shadows);
    EXPECT_FALSE(parsed.options->scan.frames);
    EXPECT_TRUE(parsed.options->zones.rectangles.empty());
    EXPECT_TRUE(parsed.options->outputs.background.empty());
    EXPECT_TRUE(parsed.options->outputs.overlay.empty());
}

TEST(Options, EveryOptionReachesItsField) {
    const Parsed parsed = Parse({"--rate",
                                 "0",
                                 "--skip-loop-filter",
                                 "--block",
                                 "7",
                                 "--stabilise",
                                 "off",
                                 "--sensitivity",
                                 "high",
                                 "--memory",
                                 "known",
                                 "--shadows",
                                 "--min-size",
                                 "0.125",
                                 "--merge-gap",
                                 "3.5",
                                 "--min-duration",
                                 "0.25",
                                 "--zone",
                                 "0.1,0.2,0.3,0.4",
                                 "--zone=0,0,1,1",
                                 "--frames",
                                 "--background",
                                 "b.png",
                                 "--overlay",
                                 "o.mp4",
                                 "-o",
                                 "out.jsonl",
                                 "--resume",
                                 "state",
                                 "-j",
                                 "3",
                                 "--max-size",
                                 "0.75",
                                 "--from",
                                 "T22:00",
                                 "--to",
                                 "T06:00",
                                 "--pre-roll",
                                 "1.5",
                                 "--post-roll",
                                 "2",
                                 "--min-blocks",
                                 "4",
                                 "--track",
                                 "--thumbnails",
                                 "pictures",
                                 "--clips",
                                 "cut",
                                 "--quiet",
                                 "--progress",
                                 "json",
                                 "--start-time",
                                 "2026-03-01T12:00:00Z",
                                 "--reconnect",
                                 "7.5",
                                 "clip.mp4",
                                 "-"});
    ASSERT_TRUE(parsed.options) << parsed.text;
    const Options& options = *parsed.options;
    EXPECT_EQ(options.inputs, (std::vector<std::string>{"clip.mp4", "-"}));
    EXPECT_EQ(options.scan.rate, 0);
    EXPECT_EQ(options.scan.blockSize, 7);
    EXPECT_TRUE(options.scan.skipLoopFilter);
    EXPECT_EQ(options.scan.stabilise, Stabilise::Off);
    EXPECT_EQ(options.scan.sensitivity, Sensitivity::High);
    EXPECT_EQ(options.scan.memory, "known");
    EXPECT_TRUE(options.scan.shadows);
    EXPECT_EQ(options.scan.minSize, 0.125);
    EXPECT_EQ(options.scan.maxSize, 0.75);
    EXPECT_EQ(options.scan.range.Text(), "--from T22:00 --to T06:00");
    EXPECT_EQ(options.scan.mergeGap, 3.5);
    EXPECT_EQ(options.scan.minDuration, 0.25);
    EXPECT_TRUE(options.scan.frames);
    EXPECT_EQ(options.outputs.background, "b.png");
    EXPECT_EQ(options.outputs.overlay, "o.mp4");
    EXPECT_EQ(options.outputs.lines, "out.jsonl");
    EXPECT_EQ(options.run.resume, "state");
    EXPECT_EQ(options.run.jobs, 3);
    EXPECT_TRUE(options.run.quiet);
    EXPECT_EQ(options.run.progress, "json");
    EXPECT_EQ(options.run.reconnect, 7.5);
    EXPECT_EQ(options.scan.startTime, Video::ParseWallTime("2026-03-01T12:00:00Z"));
    EXPECT_EQ(options.scan.preRoll, 1.5);
    EXPECT_EQ(options.scan.postRoll, 2);
    EXPECT_EQ(options.scan.minBlocks, 4);
    EXPECT_TRUE(options.scan.track);
    EXPECT_EQ(options.outputs.thumbnails, "pictures");
    EXPECT_EQ(options.outputs.clips, "cut");
    ASSERT_EQ(options.zones.rectangles.size(), 2u);
    EXPECT_EQ(options.zones.rectangles[0].x, 0.1);
    EXPECT_EQ(options.zones.rectangles[0].y, 0.2);
    EXPECT_EQ(options.zones.rectangles[0].width, 0.3);
    EXPECT_EQ(options.zones.rectangles[0].height, 0.4);
    EXPECT_EQ(options.zones.rectangles[1].width, 1);
}

TEST(Options, EveryChoiceIsUnderstood) {
    const auto scan = [](const char* option, const char* word) { return Parse({option, word, "a.mp4"}).options->scan; };
    EXPECT_TRUE(scan("--condition", "default").condition);
    EXPECT_FALSE(scan("--condition", "none").condition);
    EXPECT_EQ(scan("--stabilise", "auto").stabilise, Stabilise::Auto);
    EXPECT_EQ(scan("--stabilise", "on").stabilise, Stabilise::On);
    EXPECT_EQ(scan("--sensitivity", "low").sensitivity, Sensitivity::Low);
    EXPECT_EQ(scan("--sensitivity", "normal").sensitivity, Sensitivity::Normal);
    EXPECT_NE(Parse({"a.mp4", "--stabilise", "no"}).text.find("must be auto, on or off, not no"), std::string::npos);
    EXPECT_NE(Parse({"a.mp4", "--condition", "all"}).text.find("must be none or default, not all"), std::string::npos);
}

TEST(Options, ThePlainDetectorKeepsNoMemory) {
    EXPECT_NE(Parse({"a.mp4", "--condition", "none", "--memory", "m"}).text.find("has no --memory"), std::string::npos);
    EXPECT_TRUE(Parse({"a.mp4", "--condition", "none", "--stabilise", "on"}).options) << "idle, from a configuration";
    EXPECT_FALSE(Parse({"explain", "a.mp4", "--at", "1", "--pixel", "0,0", "--memory", "m"}).options)
        << "what it holds by then is not what the scan knew";
}

TEST(Options, AZoneDoesNotSwallowTheInput) {
    const Parsed parsed = Parse({"--zone", "0,0,1,1", "clip.mp4"});
    ASSERT_TRUE(parsed.options) << parsed.text;
    EXPECT_EQ(parsed.options->inputs, std::vector<std::string>{"clip.mp4"});
}

TEST(Options, AZoneThatEndsAtTheEdgeMayBeRounded) { EXPECT_TRUE(Parse({"clip.mp4", "--zone", "0.7,0.9,0.3,0.1"}).options); }

TEST(Options, HelpAndVersionAreNoErrors) {
    const Parsed help = Parse({"--help"});
    EXPECT_FALSE(help.options);
    EXPECT_EQ(help.exitCode, 0);
    for (const char* word : {"--rate",      "--block",     "--shadows",     "--min-size", "--merge-gap", "--min-duration",
                             "--zone",      "--frames",    "--background",  "--overlay",  "--version",   "Exit codes: 0",
                             "1 an input",  "2 bad usage", "3 no motion",   "--quiet",    "--progress",  "--preview",
                             "--condition", "--stabilise", "--sensitivity", "--memory"}) {
        EXPECT_NE(help.text.find(word), std::string::npos) << word;
    }
    int lines = 0;
    std::istringstream text(help.text);
    for (std::string line; std::getline(text, line); ++lines) {
        EXPECT_LE(line.size(), 100u) << line;
    }
    EXPECT_LE(lines, 62) << "more than a screen";
    const Parsed version = Parse({"--version"});
    EXPECT_FALSE(version.options);
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.text, "mdscan 9.8.7\n");
}

class BadUsage : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(BadUsage, IsOneLineAndExitCodeTwo) {
    const Parsed parsed = Parse(GetParam());
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitCode, 2);
    EXPECT_EQ(std::count(parsed.text.begin(), parsed.text.end(), '\n'), 1) << parsed.text;
    EXPECT_EQ(parsed.text.rfind("mdscan: ", 0), 0u) << parsed.text;
}

using Words = std::vector<std::string>;
INSTANTIATE_TEST_SUITE_P(
    Options, BadUsage,
    testing::Values(Words{}, Words{"a.mp4", "-j", "-1"}, Words{"a.mp4", "--progress", "much"},
                    Words{"a.mp4", "--start-time", "noon"}, Words{"a.mp4", "--reconnect", "-1"},
                    Words{"a.mp4", "--min-blocks", "0"}, Words{"a.mp4", "--unknown"}, Words{"a.mp4", "--condition", "some"},
                    Words{"a.mp4", "--stabilise"}, Words{"a.mp4", "--sensitivity", "11"}, Words{"a.mp4", "--condition", ""},
                    Words{"a.mp4", "--rate", "-1"}, Words{"a.mp4", "--rate", "fast"}, Words{"a.mp4", "--rate", "nan"},
                    Words{"a.mp4", "--rate", "inf"}, Words{"a.mp4", "--rate"}, Words{"a.mp4", "--block", "2.5"},
                    Words{"a.mp4", "--min-size", "0.2", "--max-size", "0.1"}, Words{"a.mp4", "--from", "20", "--to", "10"},
                    Words{"a.mp4", "--from", "T22:00", "--to", "10"}, Words{"a.mp4", "--from", "22h"},
                    Words{"a.mp4", "--max-size", "1.1"}, Words{"a.mp4", "--jobs", "1e1"}, Words{"a.mp4", "--block", "-4"},
                    Words{"a.mp4", "--block", "65"}, Words{"a.mp4", "--min-size", "1.1"},
                    Words{"a.mp4", "--merge-gap", "-0.1"}, Words{"a.mp4", "--min-duration", "1e9"},
                    Words{"a.mp4", "--zone", "0,0,1"}, Words{"a.mp4", "--zone", "0,0,1,1,1"},
                    Words{"a.mp4", "--zone", "0,0,1,x"}, Words{"a.mp4", "--zone", "0,0,0,1"},
                    Words{"a.mp4", "--zone", "0.5,0,0.6,1"}, Words{"a.mp4", "--zone", "nan,0,1,1"},
                    Words{"a.mp4", "--zone", "-0.1,0,1,1"}));

TEST(Options, OneThatIsGivenTwiceIsNamed) {
    EXPECT_EQ(Parse({"a.mp4", "--rate", "3", "--rate", "4"}).text, "mdscan: --rate is given twice (see mdscan --help)\n");
    EXPECT_EQ(Parse({"a.mp4", "-o", "x", "--output", "y"}).text, "mdscan: --output is given twice (see mdscan --help)\n");
    EXPECT_EQ(Parse({"explain", "a.mp4", "--at", "1", "--at", "2", "--block", "1,1"}).text,
              "mdscan: --at is given twice (see mdscan --help)\n");
    EXPECT_TRUE(Parse({"a.mp4", "--zone", "0,0,1,1", "--zone", "0,0,1,0.5"}).options) << "is repeatable";
}

TEST(Options, AMistakeDoesNotSteerTheTerminal) {
    EXPECT_NE(Parse({"a.mp4", "--progress", "\x1b[31m\u202e"}).text.find("not \\x1b[31m\\u202e"), std::string::npos);
}

}  // namespace
}  // namespace Scan
