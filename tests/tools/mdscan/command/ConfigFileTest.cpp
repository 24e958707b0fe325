// Is a configuration file read as written, and refused with the line of its first mistake?
#include "command/ConfigFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "MutatedText.h"
#include "ScanFixture.h"
#include "command/Options.h"
#include "run/SettingsFingerprint.h"
#include "settings/JobSettings.h"

namespace Scan {
namespace {

class ConfigFile : public ScanFixture {
protected:
    Parsed ParseWith(const std::string& content, std::vector<std::string> words = {"clip.mp4"}) const {
        Write("mdscan.conf", content);
        words.insert(words.end(), {"--config", In("mdscan.conf")});
        return ParseOptions(words, "");
    }

    // What is said of a file behind its name.
    std::string Complaint(const std::string& content) const {
        const Parsed parsed = ParseWith(content);
        EXPECT_FALSE(parsed.options) << content;
        EXPECT_EQ(parsed.exitCode, 2);
        const std::string start = "mdscan: " + In("mdscan.conf") + ": ";
        EXPECT_EQ(parsed.text.rfind(start, 0), 0u) << parsed.text;
        EXPECT_EQ(parsed.text.find('\n'), parsed.text.size() - 1) << parsed.text;
        return parsed.text.substr(start.size(), parsed.text.size() - start.size() - 1);
    }
};

std::string SettingsOf(const Parsed& parsed) {
    return SettingsFingerprint(parsed.options->scan, FilesOf(parsed.options->outputs));
}

std::string Template() { return ParseOptions({"--write-config"}, "").text; }

TEST_F(ConfigFile, SetsWhatTheCommandLineLeavesOpen) {
    const Parsed parsed =
        ParseWith("# mine\n\n  rate = 12   # more\nshadows=true\r\nzone = 0,0,0.5,1\nzone = 0.5,0,0.5,1\nmin-size = 0.1\n"
                  "thumbnails = \"a # b\"\noutput = a b.jsonl\nframes = false\n",
                  {"clip.mp4", "--min-size", "0.2"});
    ASSERT_TRUE(parsed.options) << parsed.text;
    const Options& options = *parsed.options;
    EXPECT_EQ(options.scan.rate, 12);
    EXPECT_TRUE(options.scan.shadows);
    EXPECT_FALSE(options.scan.frames);
    EXPECT_EQ(options.zones.rectangles.size(), 2u);
    EXPECT_EQ(options.scan.minSize, 0.2) << "the command line wins";
    EXPECT_EQ(options.outputs.thumbnails, "a # b");
    EXPECT_EQ(options.outputs.lines, "a b.jsonl");
    EXPECT_EQ(options.inputs, std::vector<std::string>{"clip.mp4"});
}

TEST_F(ConfigFile, TheCommandLineTakesFlagsAndZonesBack) {
    const Parsed parsed = ParseWith("shadows = true\nzone = 0,0,0.5,1\nzone = 0.5,0,0.5,1\n",
                                    {"clip.mp4", "--shadows=false", "--zone", "0,0,1,1"});
    ASSERT_TRUE(parsed.options) << parsed.text;
    EXPECT_FALSE(parsed.options->scan.shadows);
    ASSERT_EQ(parsed.options->zones.rectangles.size(), 1u);
    EXPECT_EQ(parsed.options->zones.rectangles[0].width, 1);
}

TEST_F(ConfigFile, MistakesAreNamedWithTheirLine) {
    EXPECT_EQ(Complaint("\nrat = 5\n"), "line 2: unknown name \"rat\", mdscan --write-config lists those known");
    EXPECT_EQ(Complaint("rate = 5\nrate = fast\n"), "line 2: rate must be a number from 0 to 1000, not fast");
    EXPECT_EQ(Complaint("rate = 5\nblock = 4\nrate = 6\n"), "line 3: rate is given twice, first in line 1");
    EXPECT_EQ(
        Complaint("name-time = %H\n"),
        "line 1: name-time must be auto, none or a pattern like %Y%m%d_%H%M%S, not %H: it tells no day: %Y, %m and %d");
    EXPECT_EQ(Complaint("shadows = 2\n"), "line 1: shadows must be true or false, not 2");
    EXPECT_EQ(Complaint("shadows\n"), "line 1: must be \"name = value\", not shadows");
    EXPECT_EQ(Complaint("x\n"), "line 1: must be \"name = value\", not x");
    EXPECT_EQ(Complaint("= 3\n"), "line 1: there is no name before the =");
    EXPECT_EQ(Complaint("mask = # none\n"), "line 1: mask has no value");
    EXPECT_EQ(Complaint("mask = \"a.png\n"), "line 1: the quotes of mask must enclose all of its value");
    EXPECT_EQ(Complaint("zone = 0,0,2,1\n"),
              "line 1: zone must be x,y,w,h, each from 0 to 1 and inside the picture, not 0,0,2,1");
    EXPECT_EQ(Complaint("[motion]\nrate = 5\n"), "line 1: must be \"name = value\", not [motion]");
    for (const char* name : {"help", "version", "config", "write-config", "preview", "input", "-rate", "j"}) {
        EXPECT_EQ(Complaint(std::string(name) + " = 1\n"),
                  "line 1: unknown name \"" + std::string(name) + "\", mdscan --write-config lists those known");
    }
}

TEST_F(ConfigFile, NumbersThatNobodyCanHoldAreNamedWithLineAndName) {
    EXPECT_EQ(Complaint("rate = 1e400\n"), "line 1: rate must be a number from 0 to 1000, not 1e400");
    EXPECT_EQ(Complaint("rate = nan\n"), "line 1: rate must be a number from 0 to 1000, not nan");
    EXPECT_EQ(Complaint("\nmin-size = -0.1\n"), "line 2: min-size must be a number from 0 to 1, not -0.1");
    EXPECT_EQ(Complaint("block = 99999999999999999999\n"),
              "line 1: block must be a whole number from 0 to 64, not 99999999999999999999");
    EXPECT_EQ(Complaint("jobs = 1.5\n"), "line 1: jobs must be a whole number from 0 to 256, not 1.5");
    EXPECT_EQ(Complaint("min-blocks = 1e3\n"), "line 1: min-blocks must be a whole number from 1 to 1000000, not 1e3");
    EXPECT_EQ(Complaint("zone = 0,0,1e400,1\n"),
              "line 1: zone must be x,y,w,h, each from 0 to 1 and inside the picture, not 0,0,1e400,1");
    EXPECT_EQ(Complaint(std::string("a\x1b[2J\tb") + std::string(1000, 'c')).substr(0, 51),
              "line 1: must be \"name = value\", not a\\x1b[2J\\x09bcc");
}

// Bytes changed, left out and doubled, values put elsewhere: what comes out is a run's options, or one line of ours.
TEST_F(ConfigFile, MutatedFilesAreTakenOrRefusedInOurWords) {
    const std::string whole = "# mine, and nobody else has to understand what it is for\nrate = 12\nmin-size = 0.1\nzone = "
                              "0,0,0.5,1\nshadows = true\njobs = 2\n"
                              "output = \"a b.jsonl\"\nsensitivity = low\nblock = 8\nmerge-gap = 2\n";
    const std::vector<std::string> pieces = {"1e400",   "-1", "nan", "inf", "1.5", "0x10", "=",    "\"",
                                             "[a,b]",   "\n", "#",   "{}",  "--",  "\xFF", "true", "18446744073709551616",
                                             "jobs = ", "%s"};
    const std::regex ours("line [0-9]+: (must be \"name = value\", not |there is no name|unknown name \"|the quotes of |"
                          "[a-z-]+ (must be |has no value|is given twice, first in line [0-9]+))[^\n]*");
    std::mt19937 random(8);
    int refused = 0, accepted = 0;
    for (int i = 0; i < 200; ++i) {
        const std::string text = Kit::MutatedText(whole, pieces, random);
        if (ParseWith(text).options) {
            ++accepted;
            continue;
        }
        ++refused;
        const std::string said = Complaint(text);
        EXPECT_TRUE(std::regex_match(said, ours)) << text << "\n  " << said;
    }
    EXPECT_GT(refused, 100);
    EXPECT_GT(accepted, 10);
}

TEST_F(ConfigFile, AFileThatCannotBeReadIsNamed) {
    for (const std::string& path : {In("missing.conf"), In("")}) {
        const Parsed parsed = ParseOptions({"clip.mp4", "--config", path}, "");
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.text, "mdscan: " + path + ": cannot be read\n");
    }
    EXPECT_TRUE(ParseOptions({"clip.mp4", "--config", "/dev/null"}, "").options) << "the way to have none";
}

// As written, and with every option taken into use: the template says nothing else than the defaults.
TEST_F(ConfigFile, TheTemplateHoldsTheDefaults) {
    const std::string text = Template();
    const Parsed usual = ParseOptions({"clip.mp4"}, ""), commented = ParseWith(text);
    ASSERT_TRUE(commented.options) << commented.text;
    EXPECT_EQ(SettingsOf(commented), SettingsOf(usual));
    const std::regex placeholder("#[a-z-]+ = [A-Z]");  // nothing is the default
    std::string used;
    int names = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 120u) << line;
        if (line.size() > 1 && line[0] == '#' && line[1] != ' ' && !std::regex_search(line, placeholder)) {
            used += line.substr(1) + "\n";
            ++names;
        }
    }
    EXPECT_GE(names, 12);
    const Parsed all = ParseWith(used);
    ASSERT_TRUE(all.options) << all.text;
    EXPECT_EQ(SettingsOf(all), SettingsOf(usual));
    EXPECT_EQ(all.options->run.jobs, usual.options->run.jobs);
    EXPECT_EQ(all.options->run.progress, usual.options->run.progress);
}

TEST_F(ConfigFile, TheTemplateHasEveryOptionOfTheHelp) {
    const std::string text = Template(), help = ParseOptions({"--help"}, "").text;
    const std::regex name("\n  (?:-[a-z],)?--([a-z-]+)");
    int found = 0;
    for (std::sregex_iterator match(help.begin(), help.end(), name), end; match != end; ++match, ++found) {
        const std::string option = (*match)[1];
        const bool belongs = option != "help" && option != "version" && option != "config" && option != "write-config" &&
                             option != "preview" && option != "edit" && option != "start-time";
        EXPECT_EQ(text.find("\n#" + option + " = ") != std::string::npos, belongs) << option;
    }
    EXPECT_GE(found, 20);
}

TEST_F(ConfigFile, TheUsualPlaceIsTheOneOfTheDesktop) {
    const char* const before = std::getenv("HOME");
    const std::string home = before ? before : "";
    setenv("XDG_CONFIG_HOME", In("config").c_str(), 1);
    EXPECT_EQ(UsualConfigFile(), "");
    std::filesystem::create_directories(In("config"));
    Write("config/mdscan.conf", "rate = 0\n");
    EXPECT_EQ(UsualConfigFile(), In("config/mdscan.conf"));
    setenv("HOME", In("home").c_str(), 1);
    for (const char* notUsed : {"", "relative"}) {
        setenv("XDG_CONFIG_HOME", notUsed, 1);
        EXPECT_EQ(UsualConfigFile(), "");
    }
    std::filesystem::create_directories(In("home/.config"));
    Write("home/.config/mdscan.conf", "rate = 0\n");
    EXPECT_EQ(UsualConfigFile(), In("home/.config/mdscan.conf"));
    setenv("HOME", home.c_str(), 1);
}

TEST_F(ConfigFile, TheProgramReadsTheUsualPlaceUnlessToldAnother) {
    std::filesystem::create_directories(In("config"));
    Write("config/mdscan.conf", "min-size = 1\n");
    Write("empty.conf", "");
    const std::string clip = RawClip({.width = 160, .height = 120, .seconds = 6, .from = 3, .until = 5});
    EXPECT_EQ(Mdscan({clip}, {.configFolder = In("config")}).code, 3) << "nothing is that large";
    EXPECT_EQ(Mdscan({"--config", In("empty.conf"), clip}, {.configFolder = In("config")}).code, 0);
    EXPECT_EQ(Mdscan({clip}).code, 0) << "other tests do not read it";
    Write("config/mdscan.conf", "min-sice = 1\n");
    const Outcome run = Mdscan({clip}, {.configFolder = In("config")});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.ErrorLines(), 1) << run.err;
    EXPECT_NE(run.err.find("config/mdscan.conf: line 1: unknown name \"min-sice\""), std::string::npos) << run.err;
}

}  // namespace
}  // namespace Scan
