// How is each option declared?
#include "command/Declarations.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "ask/Question.h"
#include "command/OptionValues.h"
#include "command/Options.h"
#include "settings/OutputSettings.h"
#include "settings/ScanSettings.h"
#include "video/time/NameTime.h"
#include "video/time/WallClock.h"

namespace Scan {

namespace {

constexpr double longestTime = 1e6;   // seconds; eleven days
constexpr double highestRate = 1000;  // pictures per second
constexpr int mostJobs = 256;
constexpr int mostMovingBlocks = 1'000'000;
constexpr int largestBlock = 64;  // pixels; as much as the block reducer sums
constexpr std::array progressStyles = {"auto", "json", "none"};

constexpr const char* about =
    "Finds motion in videos, prints when and where as JSON lines; mdscan explain tells why, or why not.";
constexpr const char* aboutExplain = "Tells why a block was motion at a moment of a video, or why it was not.";

constexpr const char* aboutPlan = "Plans scans of an archive: a line per video, which mdscan work takes on any machine.";
constexpr const char* aboutWork = "Scans whatever of a plan nobody has scanned or scans; run it as often as you like.";
constexpr const char* aboutGather = "Makes of the results of a plan what one mdscan of all its videos would have made.";
constexpr const char* aboutFarm =
    "Keeps a plan in PostgreSQL, whence any number of machines take its jobs: create NAME PLAN, status [NAME], retry NAME, "
    "drop NAME, admit ROLE.";
constexpr const char* archiveFooter = "Exit codes: 0 planned; 1 the plan could not be written; 2 bad usage.\n";

// Headings of the help, each with an example.
constexpr const char* inputGroup = "Inputs, as in: mdscan -j 2 --resume march.state -o march.jsonl recordings/2026-03";
constexpr const char* motionGroup = "What counts, as in: mdscan --sensitivity low --merge-gap 5 garden.mp4";
constexpr const char* zoneGroup =
    "Where, as in: mdscan --zone 0,0.5,1,0.5 street.mp4; mdscan zones --preview p.png street.mp4";
constexpr const char* whyGroup = "Why, as in: mdscan explain street.mp4 --at 1:02.5 --block 40,22";
constexpr const char* resultGroup = "Results, as in: mdscan --thumbnails pictures --overlay boxes.mp4 door.mp4";

constexpr const char* archiveGroup =
    "Archives, as in: mdscan plan recordings -o a.plan; mdscan work a.plan --into a.d; mdscan gather a.plan --from a.d";

constexpr const char* footer =
    "One JSON object per event; man mdscan explains all. For archives: mdscan plan, work and gather.\n"
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

// A whole number within bounds. Whatever else may look like one to the parser, 1e2, 1.5 or 010, is none.
CLI::Validator WholeWithin(int low, int high) {
    const std::string range = std::to_string(low) + " to " + std::to_string(high);
    return CLI::Validator(
        [low, high, range](std::string& value) {
            const std::optional<int> number = ReadWhole(value);
            const bool inside = number && *number >= low && *number <= high;
            return inside ? std::string() : "must be a whole number from " + range + ", not " + value;
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
CLI::Validator IsNameTime() {
    return CLI::Validator(
        [](std::string& value) {
            const std::string fault = Video::FaultOfNameTime(value);
            return fault.empty() ? fault : "must be auto, none or a pattern like %Y%m%d_%H%M%S, not " + value + ": " + fault;
        },
        "");
}
CLI::Validator IsMoment() { return Reads(&ReadTime, "seconds or hh:mm:ss"); }
CLI::Validator IsEdge() { return Reads(&ReadEdge, "seconds, hh:mm:ss, or a time of day like T22:30"); }
CLI::Validator IsPlace() { return Reads(&ReadPlace, "x,y, two whole numbers from 0"); }

constexpr std::array<const char*, 2> identities = {"time", "content"};

// "auto, json or none"
template <std::size_t count>
std::string Listed(const std::array<const char*, count>& words) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += i == 0 ? "" : i + 1 < count ? ", " : " or ";
        text += words[i];
    }
    return text;
}

template <std::size_t count>
CLI::Validator IsOneOf(const std::array<const char*, count>& words) {
    return CLI::Validator(
        [words](std::string& value) {
            const bool known = std::find(words.begin(), words.end(), value) != words.end();
            return known ? std::string() : "must be " + Listed(words) + ", not " + value;
        },
        "");
}

// An option that takes one of the words, whose place is the value. value: its default by then.
template <typename Value, std::size_t count>
void AddChoice(CLI::App& app, const std::string& name, Value& value, const std::array<const char*, count>& words,
               const std::string& description) {
    app.add_option_function<std::string>(
           name,
           [&value, words](const std::string& word) {
               value = static_cast<Value>(std::find(words.begin(), words.end(), word) - words.begin());
           },
           description)
        ->check(IsOneOf(words))
        ->type_name("HOW")
        ->default_str(words[static_cast<std::size_t>(value)]);
}

// Of explain's --block: a place, or a size as everywhere else.
CLI::Validator IsPlaceOrSize() {
    return CLI::Validator(
        [](std::string& value) {
            return value.find(',') == std::string::npos ? WholeWithin(0, largestBlock)(value) : IsPlace()(value);
        },
        "");
}

// About the program itself, and where else it finds options.
void DeclareProgram(CLI::App& app, Options& options, const std::string& version) {
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
}

void DeclareInputs(CLI::App& app, Options& options, Words& words) {
    app.option_defaults()->group(inputGroup);
    app.add_option("input", options.inputs, "Video files, folders, patterns, rtsp:// and the like, /dev/videoN, or -")
        ->required()
        ->type_name("FILE")
        ->default_str("")
        ->configurable(false);
    app.add_option("-j,--jobs", options.run.jobs, "Inputs scanned at a time; 0: one per processor")
        ->check(WholeWithin(0, mostJobs))
        ->type_name("N");
    app.add_option("--resume", options.run.resume, "Remember finished inputs there; skip those that it knows")
        ->type_name("STATE")
        ->default_str("");
    app.add_flag("-q,--quiet", options.run.quiet, "Say nothing but what went wrong");
    app.add_option("--progress", options.run.progress, "auto: on a terminal; json: lines for machines; none")
        ->check(IsOneOf(progressStyles))
        ->type_name("STYLE");
    app.add_option_function<std::string>(
           "--start-time", [&options](const std::string& text) { options.scan.startTime = Video::ParseWallTime(text); },
           "Time of day at the start of the one input, like 2026-03-01T12:00:00Z")
        ->check(IsTime())
        ->type_name("TIME")
        ->default_str("")
        ->configurable(false);
    app.add_option("--name-time", options.scan.nameTime, "Times in names: auto, none, or a pattern like %Y%m%d_%H%M%S")
        ->check(IsNameTime())
        ->type_name("PATTERN");
    app.add_option("--from", words.from, "Analyse from there on: seconds, hh:mm:ss, or a time of day like T22:30")
        ->check(IsEdge())
        ->type_name("TIME")
        ->default_str("");
    app.add_option("--to", words.to, "Analyse up to there")->check(IsEdge())->type_name("TIME")->default_str("");
    app.add_option("--reconnect", options.run.reconnect, "Seconds without a picture after which a live source is given up")
        ->check(Within(0, longestTime))
        ->type_name("S");
}

void DeclareMotion(CLI::App& app, ScanSettings& settings) {
    app.option_defaults()->group(motionGroup);
    app.add_option("--rate", settings.rate, "Pictures analysed per second; 0: every picture")
        ->check(Within(0, highestRate))
        ->type_name("N");
    app.add_flag("--fast", settings.fast, "Decode keyframes, and all else only where these show motion");
    app.add_flag("--skip-loop-filter", settings.skipLoopFilter, "Decode H.264 without its filter: cheaper, less exact");
    app.add_option("--block", settings.blockSize, "Block size in pixels, up to 64; 0: gives up to 128 columns")
        ->check(WholeWithin(0, largestBlock))
        ->type_name("N");
    AddChoice(app, "--condition", settings.condition, conditionWords,
              "default: primed, balanced, stabilised, gated; none: the plain detector");
    AddChoice(app, "--stabilise", settings.stabilise, stabiliseWords,
              "auto: while the camera shakes; on: always; off: never");
    AddChoice(app, "--sensitivity", settings.sensitivity, sensitivityWords,
              "low: fewer alarms; normal: a balance; high: small and faint things, too");
    app.add_option("--memory", settings.memory, "Keep each camera's background there, from input to input")
        ->type_name("DIR")
        ->default_str("");
    app.add_flag("--shadows", settings.shadows, "Drop shadows with --condition none, too; else always dropped");
    app.add_option("--min-size", settings.minSize, "Smallest object, of width and height; 0.03, by --sensitivity; 0: any")
        ->check(Within(0, 1))
        ->type_name("F")
        ->default_str("");
    app.add_option("--max-size", settings.maxSize, "Largest object, as a fraction of picture width and height")
        ->check(Within(0, 1))
        ->type_name("F");
    app.add_option("--min-blocks", settings.minBlocks, "Moving blocks below which a frame counts as still")
        ->check(WholeWithin(1, mostMovingBlocks))
        ->type_name("N");
    app.add_flag("--ignore-flashes", settings.ignoreFlashes, "Drop events in which nothing but the light changed, at once");
    app.add_option("--merge-gap", settings.mergeGap, "Seconds without an object that end an event")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--min-duration", settings.minDuration, "Seconds below which an event is dropped")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--pre-roll", settings.preRoll, "Seconds added before an event")
        ->check(Within(0, longestTime))
        ->type_name("S");
    app.add_option("--post-roll", settings.postRoll, "Seconds added after it; events that then overlap are one")
        ->check(Within(0, longestTime))
        ->type_name("S");
}

void DeclareZones(CLI::App& app, Options& options, Words& words) {
    app.option_defaults()->group(zoneGroup);
    app.add_option("--zone", words.zones, "Only within this rectangle, in fractions of the picture; repeatable")
        ->check(IsZone())
        ->type_name("X,Y,W,H")
        ->allow_extra_args(false)
        ->default_str("");
    app.add_option("--zones", options.zones.file, "Only within the zones of this file; events name them")
        ->type_name("FILE.json")
        ->default_str("");
    app.add_option("--mask", options.zones.mask, "Only where this picture is bright")
        ->type_name("FILE.png")
        ->default_str("");
    app.add_option("--preview", options.preview, "With mdscan zones: draw the zones over the first picture")
        ->type_name("FILE.png")
        ->default_str("")
        ->configurable(false);
    app.add_option("--edit", options.edit, "With mdscan zones: write a page on which to draw and change them")
        ->type_name("FILE.html")
        ->default_str("")
        ->configurable(false);
}

void DeclareResults(CLI::App& app, OutputSettings& outputs, ScanSettings& settings) {
    app.option_defaults()->group(resultGroup);
    app.add_option("-o,--output", outputs.lines, "Write the result lines there instead of printing them")
        ->type_name("FILE.jsonl")
        ->default_str("");
    app.add_option("--csv", outputs.csv, "Also write the events as a table")->type_name("FILE.csv")->default_str("");
    app.add_option("--report", outputs.report, "Write a page with timeline, pictures and filters")
        ->type_name("FILE.html")
        ->default_str("");
    app.add_flag("--frames", settings.frames, "Also a line per analysed frame with its objects");
    app.add_flag("--track", settings.track, "Also where the largest object went during an event");
    app.add_option("--thumbnails", outputs.thumbnails, "Write a small picture of every event at its peak there")
        ->type_name("DIR")
        ->default_str("");
    app.add_option("--clips", outputs.clips, "Write the video of every event there, as it is stored")
        ->type_name("DIR")
        ->default_str("");
    app.add_option("--join", outputs.join, "Write one video of all events there, one after another, with chapters")
        ->type_name("FILE.mp4")
        ->default_str("");
    app.add_option("--background", outputs.background, "Write the learned background; of several inputs, a folder of them")
        ->type_name("FILE.png")
        ->default_str("");
    app.add_option("--heatmap", outputs.heatmap, "Write where it moved; of several inputs, a folder of them")
        ->type_name("FILE.png")
        ->default_str("");
    app.add_option("--overlay", outputs.overlay, "Write the video with boxes, blocks, times and zones drawn")
        ->type_name("FILE.mp4")
        ->default_str("");
}

// Explain scans, and writes no results: it knows what decides what is found, and its question.
void TurnIntoExplain(CLI::App& app) {
    app.name("mdscan explain");
    app.description(aboutExplain);
    app.footer(explainFooter);
    app.get_option("input")->description("The video");
    for (CLI::Option* option : app.get_options()) {
        bool isOfScan = option->get_group() == resultGroup;
        for (const char* name : {"--write-config", "--jobs", "--resume", "--start-time", "--name-time", "--reconnect",
                                 "--memory", "--preview", "--edit", "--block"}) {
            isOfScan = isOfScan || option->check_name(name);
        }
        if (isOfScan) {
            app.remove_option(option);
        }
    }
}

// Without what these names do not name.
void KeepOnly(CLI::App& app, std::initializer_list<const char*> names) {
    for (CLI::Option* option : app.get_options()) {
        const bool isKept =
            option->check_name("--help") || option->check_name("--version") || option->check_name("--config") ||
            option->check_name("--quiet") ||
            std::any_of(names.begin(), names.end(), [&](const char* name) { return option->check_name(name); });
        if (!isKept) {
            app.remove_option(option);
        }
    }
}

void DeclareRoots(CLI::App& app, Options& options) {
    app.add_option("--root", options.roots, "Where the videos below NAME are on this machine; repeatable")
        ->type_name("NAME=DIR")
        ->allow_extra_args(false)
        ->default_str("")
        ->configurable(false);
}

// A plan decides what is found; its outputs come when all is gathered. What is kept from video to video is refused later,
// with the reason.
void TurnIntoPlan(CLI::App& app, Options& options) {
    app.name("mdscan plan");
    app.description(aboutPlan);
    app.footer(archiveFooter);
    for (const char* name :
         {"--jobs", "--resume", "--progress", "--start-time", "--reconnect", "--csv", "--report", "--thumbnails", "--clips",
          "--join", "--background", "--heatmap", "--overlay", "--preview", "--edit", "--write-config"}) {
        app.remove_option(app.get_option(name));
    }
    app.get_option("input")->description("Video files, folders, patterns");
    app.get_option("--output")->description("Write the plan there instead of printing it")->type_name("FILE.plan");
    app.option_defaults()->group(archiveGroup);
    DeclareRoots(app, options);
    app.add_option_function<std::string>(
           "--identity", [&options](const std::string& value) { options.byContent = value == "content"; },
           "What tells that a video is still the same: time, of its last change, or content, which is read")
        ->check(IsOneOf(identities))
        ->type_name("HOW")
        ->default_str(identities[0])
        ->configurable(false);
    app.add_option_function<std::string>(
           "--split",
           [&options](const std::string& value) { options.split = Video::FromSeconds(ReadPartLength(value).value()); },
           "Split long videos into jobs of about so long; those up to one and a half as long stay whole")
        ->check(Reads(&ReadPartLength, "a duration from 20s to 24h, like 90s, 10m or 1h"))
        ->type_name("DURATION")
        ->default_str("")
        ->configurable(false);
}

// Instead of a folder. With it, the input is the farm's name, which need not be said where there is one.
void DeclareDatabase(CLI::App& app, Options& options) {
    app.add_option("--at", options.farm.at,
                   "Database of the farm, as in postgresql://desk@nas/video; else that of MDSCAN_AT")
        ->type_name("ADDRESS")
        ->default_str("")
        ->configurable(false);
}

void TurnIntoWork(CLI::App& app, Options& options) {
    app.name("mdscan work");
    app.description(aboutWork);
    app.footer("Exit codes: 0 all is done; 1 some of it is not; 2 bad usage.\n");
    KeepOnly(app, {"input", "--jobs", "--progress"});
    app.get_option("input")->description("The plan; with --at, the farm's name")->required(false)->expected(0, 1);
    app.option_defaults()->group(archiveGroup);
    DeclareRoots(app, options);
    app.add_option("--into", options.folder, "Folder for the results, the same for all machines")
        ->type_name("DIR")
        ->default_str("")
        ->configurable(false);
    app.add_option("--job", options.job, "Do this job only: 1 is the first after the plan's head, as sed -n 2p prints it")
        ->check(WholeWithin(1, std::numeric_limits<int>::max()))
        ->type_name("N")
        ->default_str("")
        ->configurable(false);
    DeclareDatabase(app, options);
}

void TurnIntoGather(CLI::App& app, Options& options) {
    app.name("mdscan gather");
    app.description(aboutGather);
    app.footer("Exit codes: 0 motion found; 1 an input failed or is missing; 2 bad usage; 3 no motion found.\n");
    KeepOnly(app, {"input", "--output", "--csv", "--report", "--heatmap"});
    app.get_option("input")->description("The plan; with --at, the farm's name")->required(false)->expected(0, 1);
    app.get_option("--heatmap")->description("Write where it moved; a folder with a picture per camera")->type_name("DIR");
    app.option_defaults()->group(archiveGroup);
    app.add_option("--from", options.folder, "Folder with the results")
        ->type_name("DIR")
        ->default_str("")
        ->configurable(false);
    DeclareDatabase(app, options);
}

void TurnIntoFarm(CLI::App& app, Options& options) {
    app.name("mdscan farm");
    app.description(aboutFarm);
    app.footer("Exit codes: 0 done; 1 the database cannot be asked, or jobs have failed; 2 bad usage.\n");
    KeepOnly(app, {"input"});
    app.get_option("input")->description("What to do, and to which farm")->type_name("WORD");
    app.option_defaults()->group(archiveGroup);
    DeclareDatabase(app, options);
    app.add_option("--lease", options.farm.lease, "With create: seconds after which a silent worker is taken for dead")
        ->check(Within(1, 86400))
        ->type_name("S")
        ->configurable(false);
    app.add_flag("--json", options.farm.json, "With status: one line of JSON")->configurable(false);
    app.add_flag("--prometheus", options.farm.prometheus, "With status: metrics as Prometheus reads them")
        ->configurable(false);
    app.add_flag("--watch", options.farm.watch, "With status: again every two seconds until all is done")
        ->configurable(false);
}

void DeclareQuestion(CLI::App& app, Question& question, Words& words) {
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
    app.add_flag("--json", question.json, "Answer with one JSON object");
}

}  // namespace

void Declare(CLI::App& app, Options& options, Words& words, const std::string& version) {
    app.name("mdscan");
    app.description(about);
    app.footer(footer);
    app.option_defaults()->always_capture_default();
    app.get_formatter()->column_width(28);
    DeclareProgram(app, options, version);
    DeclareInputs(app, options, words);
    DeclareMotion(app, options.scan);
    DeclareZones(app, options, words);
    DeclareResults(app, options.outputs, options.scan);
    if (options.explain) {
        TurnIntoExplain(app);
        DeclareQuestion(app, options.question, words);
    }
    switch (options.verb) {
        case ArchiveVerb::None: break;
        case ArchiveVerb::Plan: TurnIntoPlan(app, options); break;
        case ArchiveVerb::Work: TurnIntoWork(app, options); break;
        case ArchiveVerb::Gather: TurnIntoGather(app, options); break;
        case ArchiveVerb::Farm: TurnIntoFarm(app, options); break;
    }
}

std::vector<std::string> PlannedWords(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::Option* option : app.get_options()) {
        const bool decides = option->get_group() == motionGroup || option->check_name("--frames") ||
                             option->check_name("--track") || option->check_name("--name-time") ||
                             option->check_name("--from") || option->check_name("--to");
        for (const std::string& value : decides ? option->results() : std::vector<std::string>()) {
            words.push_back("--" + option->get_lnames().front() + "=" + value);
        }
    }
    return words;
}

namespace {

// The page knows a zone file, and writes one.
std::string TroubleOfZones(const Options& options) {
    if (!options.showZones) {
        const std::string asked = !options.preview.empty() ? "--preview" : !options.edit.empty() ? "--edit" : "";
        return asked.empty() ? "" : asked + " belongs to \"mdscan zones\"";
    }
    const bool others = !options.zones.mask.empty() || !options.zones.rectangles.empty();
    return options.edit.empty() || !others ? "" : "--edit begins with the zones of --zones, not with --mask or --zone";
}

}  // namespace

std::string TakeIn(const Words& words, Options& options) {
    for (const std::string& zone : words.zones) {
        options.zones.rectangles.push_back(ReadZone(zone).value());
    }
    Video::TimeRange& range = options.scan.range;
    range.from = words.from.empty() ? std::nullopt : ReadEdge(words.from);
    range.to = words.to.empty() ? std::nullopt : ReadEdge(words.to);
    if (const std::string trouble = Video::Trouble(range); !trouble.empty()) {
        return trouble;
    }
    if (!options.explain) {
        return TroubleOfZones(options);
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
            options.scan.blockSize = ReadWhole(block).value();
        }
    }
    question.pixel = words.pixel.empty() ? std::nullopt : ReadPlace(words.pixel);
    const bool asksOnce = question.block.has_value() != question.pixel.has_value();
    return asksOnce ? "" : "mdscan explain wants either --block X,Y or --pixel X,Y";
}

}  // namespace Scan
