// How is the command line read?  Called by main through Options.h.
#include "command/Options.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

#include "command/ConfigFile.h"
#include "command/OptionValues.h"
#include "video/base/Failure.h"
#include "video/time/WallClock.h"

namespace Scan {

namespace {

constexpr double longestTime = 1e6;   // seconds; eleven days
constexpr double highestRate = 1000;  // pictures per second
constexpr int mostJobs = 256;
constexpr int mostMovingBlocks = 1'000'000;
constexpr int largestBlock = 64;  // pixels; as much as the block reducer sums

constexpr const char* about =
    "Finds motion in videos, prints when and where as JSON lines; mdscan explain tells why, or why not.";
constexpr const char* aboutExplain = "Tells why a block was motion at a moment of a video, or why it was not.";

// Headings of the help, each with an example.
constexpr const char* inputGroup = "Inputs, as in: mdscan -j 2 --resume march.state -o march.jsonl recordings/2026-03";
constexpr const char* motionGroup = "What counts, as in: mdscan --shadows --min-size 0.1 --merge-gap 5 garden.mp4";
constexpr const char* zoneGroup =
    "Where, as in: mdscan --zone 0,0.5,1,0.5 street.mp4; mdscan zones --preview p.png street.mp4";
constexpr const char* whyGroup = "Why, as in: mdscan explain street.mp4 --at 1:02.5 --block 40,22";
constexpr const char* resultGroup = "Results, as in: mdscan --thumbnails pictures --overlay boxes.mp4 door.mp4";

constexpr const char* footer =
    "Prints one JSON object per event; man mdscan explains it, zone files and all else.\n"
    "Exit codes: 0 motion found; 1 an input failed, in part or whole; 2 bad usage; 3 no motion found.\n";

constexpr const char* explainFooter =
    "Explains the scan with the same options: the picture analysed last by then, and the event that it belongs to.\n"
    "Exit codes: 0 explained; 1 the video failed, in part or whole; 2 bad usage.\n";

// A number within bounds; NaN is in no bounds.
CLI::Validator Within(double low, double high) {
    std::ostringstream range;
    range << low << " to " << high;
    return CLI::Validator(
        [low, high, text = range.str()](std::string& value) {
            char* end = nullptr;
            const double number = std::strtod(value.c_str(), &end);
            const bool inside = end != value.c_str() && *end == '\0' && number >= low && number <= high;
            return inside ? std::string() : "must be a number from " + text + ", not " + value;
        },
        "");
}

// What `read` makes a value of. what: what the text must be else.
template <typename Value>
CLI::Validator Reads(std::optional<Value> (*read)(const std::string&), const char* what) {
    return CLI::Validator(
        [read, what](std::string& value) {
            return read(value) ? std::string() : "must be " + std::string(what) + ", not " + value;
        },
        "");
}

CLI::Validator IsZone() { return Reads(&ReadZone, "x,y,w,h, each from 0 to 1 and inside the picture"); }
CLI::Validator IsTime() { return Reads(&Video::ParseWallTime, "a time like 2026-03-01T12:00:00Z"); }
CLI::Validator IsMoment() { return Reads(&ReadTime, "seconds or hh:mm:ss"); }
CLI::Validator IsPlace() { return Reads(&ReadPlace, "x,y, two whole numbers from 0"); }

CLI::Validator IsStyle() {
    return CLI::Validator(
        [](std::string& value) {
            const bool known = value == "auto" || value == "json" || value == "none";
            return known ? std::string() : "must be auto, json or none, not " + value;
        },
        "");
}

// Of explain's --block: a place, or a size as everywhere else.
CLI::Validator IsPlaceOrSize() {
    return CLI::Validator(
        [](std::string& value) {
            return value.find(',') == std::string::npos ? Within(0, largestBlock)(value) : IsPlace()(value);
        },
        "");
}

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// Thrown out of the parser by --write-config.
struct CallForTemplate {};

// What options say that is not a plain value.
struct Words {
    std::vector<std::string> zones;
    std::vector<std::string> blocks;  // of explain: places and sizes
    std::string at;
    std::string pixel;
};

// Explain scans, and writes no results: it knows what decides what is found, and its question.
void TurnIntoExplain(CLI::App& app, Options& options, Words& words) {
    app.footer(explainFooter);
    app.get_option("input")->description("The video");
    for (CLI::Option* option : app.get_options()) {
        bool isOfScan = option->get_group() == resultGroup;
        for (const char* name :
             {"--write-config", "--jobs", "--resume", "--start-time", "--reconnect", "--preview", "--block"}) {
            isOfScan = isOfScan || option->check_name(name);
        }
        if (isOfScan) {
            app.remove_option(option);
        }
    }
    app.option_defaults()->group(whyGroup);
    app.add_option("--at", words.at, "The moment in question, in seconds or as hh:mm:ss")
        ->required()
        ->check(IsMoment())
        ->type_name("TIME")
        ->default_str("");
    app.add_option("--block", words.blocks, "Column and row of the block; a single number is the block size")
        ->check(IsPlaceOrSize())
        ->type_name("X,Y")
        ->allow_extra_args(false)
        ->default_str("");
    app.add_option("--pixel", words.pixel, "Instead of it, a pixel of the block")
        ->check(IsPlace())
        ->type_name("X,Y")
        ->default_str("");
    app.add_flag("--json", options.question.json, "Answer with one JSON object");
}

// All that can be said on the command line, and most of it in a configuration file. Values go to the options and to words.
void Declare(CLI::App& app, Options& options, Words& words, const std::string& version) {
    app.footer(footer);
    app.option_defaults()->always_capture_default();
    app.get_formatter()->column_width(28);

    app.option_defaults()->group(inputGroup);
    app.set_help_flag("-h,--help", "Print this help and leave")->group(inputGroup);
    app.set_version_flag("--version", version, "Print versions and leave")->group(inputGroup);
    app.add_option("--config", options.config, "Read options from there, not from ~/.config/mdscan.conf")
        ->type_name("FILE")
        ->default_str("")
        ->configurable(false);
    app.add_flag_callback(
           "--write-config", [] { throw CallForTemplate(); }, "Print a configuration file with every option and leave")
        ->configurable(false);
    app.add_option("input", options.inputs, "Video files, folders, patterns, rtsp:// and the like, /dev/videoN, or -")
        ->required()
        ->type_name("FILE")
        ->default_str("")
        ->configurable(false);
    app.add_option("-j,--jobs", options.jobs, "Inputs scanned at a time; 0: one per processor")
        ->check(Within(0, mostJobs))
        ->type_name("N");
    app.add_option("--resume", options.resume, "Remember finished inputs there; skip those that it knows")
        ->type_name("STATE")
        ->default_str("");
    app.add_flag("-q,--quiet", options.quiet, "Say nothing but what went wrong");
    app.add_option("--progress", options.progress, "auto: on a terminal; json: lines for machines; none")
        ->check(IsStyle())
        ->type_name("STYLE");
    app.add_option_function<std::string>(
           "--start-time", [&options](const std::string& text) { options.startTime = Video::ParseWallTime(text); },
           "Time of day at the start of the one input, like 2026-03-01T12:00:00Z")
        ->check(IsTime())
        ->type_name("TIME")
        ->default_str("")
        ->configurable(false);

    app.add_option("--reconnect", options.reconnect, "Seconds without a picture after which a live source is given up")
        ->check(Within(0, longestTime))
        ->type_name("S");

    app.option_defaults()->group(motionGroup);
    app.add_option("--rate", options.rate, "Pictures analysed per second; 0: every picture")
        ->check(Within(0, highestRate))
        ->type_name("N");
    app.add_flag("--fast", options.fast, "Decode keyframes, and all else only where these show motion");
    app.add_option("--block", options.blockSize, "Block size in pixels, up to 64; 0: gives 80 to 160 columns")
        ->check(Within(0, largestBlock))
        ->type_name("N");
    app.add_flag("--shadows", options.shadows, "Drop what only darkens the background");
    app.add_option("--min-size", options.minSize, "Smallest object, as a fraction of picture width and height")
        ->check(Within(0, 1))
        ->type_name("F");
    app.add_option("--min-blocks", options.minBlocks, "Moving blocks below which a frame counts as still")
        ->check(Within(1, mostMovingBlocks))
        ->type_name("N");
    app.add_option("--merge-gap", options.mergeGap, "Seconds without an object that end an event")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--min-duration", options.minDuration, "Seconds below which an event is dropped")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--pre-roll", options.preRoll, "Seconds added before an event")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--post-roll", options.postRoll, "Seconds added after it; events that then overlap are one")
        ->check(Within(0, longestTime))
        ->type_name("S");

    app.option_defaults()->group(zoneGroup);
    app.add_option("--zone", words.zones, "Only within this rectangle, in fractions of the picture; repeatable")
        ->check(IsZone())
        ->type_name("X,Y,W,H")
        ->allow_extra_args(false)
        ->default_str("");
    app.add_option("--zones", options.zoneFile, "Only within the zones of this file; events name them")
        ->type_name("FILE.json")
        ->default_str("");
    app.add_option("--mask", options.mask, "Only where this picture is bright")->type_name("FILE.png")->default_str("");
    app.add_option("--preview", options.preview, "With mdscan zones: draw the zones over the first picture")
        ->type_name("FILE.png")
        ->default_str("")
        ->configurable(false);

    app.option_defaults()->group(resultGroup);
    app.add_option("-o,--output", options.output, "Write the result lines there instead of printing them")
        ->type_name("FILE.jsonl")
        ->default_str("");
    app.add_option("--csv", options.csv, "Also write the events as a table")->type_name("FILE.csv")->default_str("");
    app.add_option("--report", options.report, "Write a page with timeline, pictures and filters")
        ->type_name("FILE.html")
        ->default_str("");
    app.add_flag("--frames", options.frames, "Also a line per analysed frame with its objects");
    app.add_flag("--track", options.track, "Also where the largest object went during an event");
    app.add_option("--thumbnails", options.thumbnails, "Write a small picture of every event at its peak there")
        ->type_name("DIR")
        ->default_str("");
    app.add_option("--clips", options.clips, "Write the video of every event there, as it is stored")
        ->type_name("DIR")
        ->default_str("");
    app.add_option("--background", options.background, "Write the learned background; of several inputs, a folder of them")
        ->type_name("FILE.png")
        ->default_str("");
    app.add_option("--heatmap", options.heatmap, "Write where it moved; of several inputs, a folder of them")
        ->type_name("FILE.png")
        ->default_str("");
    app.add_option("--overlay", options.overlay, "Write the video with boxes, blocks, times and zones drawn")
        ->type_name("FILE.mp4")
        ->default_str("");

    if (options.explain) {
        TurnIntoExplain(app, options, words);
    }
}

// Puts words in their places. Empty, or what is wrong with them.
std::string TakeIn(const Words& words, Options& options) {
    for (const std::string& zone : words.zones) {
        options.zones.push_back(ReadZone(zone).value());
    }
    if (!options.explain) {
        return options.showZones || options.preview.empty() ? "" : "--preview belongs to \"mdscan zones\"";
    }
    Question& question = options.question;
    question.at = ReadTime(words.at).value();
    for (const std::string& block : words.blocks) {
        if (const std::optional<std::array<int, 2>> place = ReadPlace(block)) {
            if (question.block) {
                return "--block names two blocks";
            }
            question.block = place;
        } else {
            options.blockSize = static_cast<int>(std::strtod(block.c_str(), nullptr));
        }
    }
    question.pixel = words.pixel.empty() ? std::nullopt : ReadPlace(words.pixel);
    const bool asksOnce = question.block.has_value() != question.pixel.has_value();
    return asksOnce ? "" : "mdscan explain wants either --block X,Y or --pixel X,Y";
}

// Takes the words in the order in which they stand.
void Parse(CLI::App& app, const std::vector<std::string>& words) {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // reversed, as the parser wants them
}

// "--rate: must be ..." as said of a setting.
std::string WithoutDashes(const std::string& complaint, const std::string& name) {
    const std::string start = "--" + name + ": ";
    return OneLine(complaint.rfind(start, 0) == 0 ? name + " " + complaint.substr(start.size()) : complaint);
}

// The word that says the same on the command line. Throws Failure.
std::string WordOf(const Setting& setting, const std::string& path) {
    const auto expect = [&](bool good, const std::string& what) {
        if (!good) {
            throw Video::Failure(Video::Concern::Usage, PlaceInConfig(path, setting.line, what));
        }
    };
    Options trial;
    Words words;
    CLI::App app;
    Declare(app, trial, words, "");
    const CLI::Option* option = app.get_option_no_throw("--" + setting.name);
    expect(option && option->get_configurable(),
           "unknown name \"" + setting.name + "\", mdscan --write-config lists those known");
    const bool isSwitch = setting.value == "true" || setting.value == "false";
    expect(option->get_expected_min() > 0 || isSwitch, setting.name + " must be true or false, not " + setting.value);
    const std::string word = "--" + setting.name + "=" + setting.value;
    try {
        Parse(app, {word, "-"});
    } catch (const CLI::ParseError& error) {
        expect(false, WithoutDashes(error.what(), setting.name));
    }
    return word;
}

// Words for all that the file sets and the command line does not. given: what the command line said. Throws Failure.
std::vector<std::string> WordsOfFile(const std::string& path, const CLI::App& given) {
    std::vector<std::string> words;
    std::map<std::string, int> lines;  // of the names seen
    for (const Setting& setting : ReadSettings(path)) {
        const std::string word = WordOf(setting, path);
        const CLI::Option* option = given.get_option_no_throw("--" + setting.name);
        const auto [earlier, isNew] = lines.try_emplace(setting.name, setting.line);
        if (!isNew && !(option && option->get_expected_max() > 1)) {
            throw Video::Failure(Video::Concern::Usage, PlaceInConfig(path, setting.line,
                                                                      setting.name + " is given twice, first in line " +
                                                                          std::to_string(earlier->second)));
        }
        if (option && (option->count() == 0 || setting.name == "block")) {  // the last --block wins, see TakeIn
            words.push_back(word);
        }
    }
    return words;
}

// Without the second of two empty lines, which would not fit on a screen.
std::string HelpOf(const CLI::App& app) {
    std::string text = app.help();
    for (std::size_t place = 0; (place = text.find("\n\n\n", place)) != std::string::npos;) {
        text.erase(place, 1);
    }
    return text;
}

}  // namespace

void RefuseSameFileTwice(const Options& options, bool several) {
    const std::pair<const char*, const std::string&> places[] = {
        {"--output", options.output},  {"--csv", options.csv},         {"--report", options.report},
        {"--resume", options.resume},  {"--heatmap", options.heatmap}, {"--background", options.background},
        {"--overlay", options.overlay}};
    constexpr std::size_t firstFolder = 4;  // of several inputs, these are folders that may be one
    std::map<std::filesystem::path, std::size_t> taken;
    for (std::size_t i = 0; i < std::size(places); ++i) {
        const auto& [name, path] = places[i];
        const auto [other, isNew] = taken.try_emplace(std::filesystem::path(path).lexically_normal(), i);
        if (!path.empty() && !isNew && !(several && other->second >= firstFolder)) {
            throw Video::Failure(Video::Concern::Usage,
                                 std::string(places[other->second].first) + " and " + name + " name the same file");
        }
    }
}

Parsed ParseOptions(const std::vector<std::string>& all, const std::string& version, const std::string& usualConfig) {
    Options options;
    options.showZones = !all.empty() && all.front() == "zones";
    options.explain = !all.empty() && all.front() == "explain";
    const bool isCommand = options.showZones || options.explain;
    std::vector<std::string> words(all.begin() + (isCommand ? 1 : 0), all.end());
    Words notPlain;
    CLI::App app(options.explain ? aboutExplain : about, options.explain ? "mdscan explain" : "mdscan");
    Declare(app, options, notPlain, version);
    const auto refuse = [](const std::string& what) {
        return Parsed{std::nullopt, Video::exitUsage, "mdscan: " + what + "\n"};
    };
    try {
        Parse(app, words);
        const std::string config = options.config.empty() ? usualConfig : options.config;
        if (!config.empty()) {
            const std::vector<std::string> settings = WordsOfFile(config, app);
            words.insert(words.begin(), settings.begin(), settings.end());
            Parse(app, words);
        }
    } catch (const CLI::CallForHelp&) {
        return {std::nullopt, Video::exitComplete, HelpOf(app)};
    } catch (const CLI::CallForVersion&) {
        return {std::nullopt, Video::exitComplete, version + "\n"};
    } catch (const CallForTemplate&) {
        return {std::nullopt, Video::exitComplete, ConfigTemplate(app)};
    } catch (const CLI::ParseError& error) {
        return refuse(OneLine(error.what()) + " (see mdscan --help)");
    } catch (const Video::Failure& failure) {
        return refuse(failure.what());
    }
    const std::string trouble = TakeIn(notPlain, options);
    if (!trouble.empty()) {
        return refuse(trouble + " (see mdscan --help)");
    }
    if (options.fast && !options.overlay.empty()) {
        return refuse("--overlay shows every picture, --fast decodes few (see mdscan --help)");
    }
    return {options, Video::exitComplete, ""};
}

}  // namespace Scan
