// How is the command line read?  Called by main through Options.h.
#include "Options.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include <CLI/CLI.hpp>

#include "Failure.h"

namespace Scan {

namespace {

constexpr double longestTime = 1e6;        // seconds; eleven days
constexpr double highestRate = 1000;       // pictures per second
constexpr int mostJobs = 256;
constexpr int mostMovingBlocks = 1'000'000;
constexpr int largestBlock = 64;           // pixels; as much as the block reducer sums

// Headings of the help, each with an example.
constexpr const char* inputGroup = "Inputs, as in: mdscan -j 2 --resume march.state -o march.jsonl recordings/2026-03";
constexpr const char* motionGroup = "What counts, as in: mdscan --shadows --min-size 0.1 --merge-gap 5 garden.mp4";
constexpr const char* zoneGroup = "Where, as in: mdscan --zone 0,0.5,1,0.5 street.mp4; mdscan zones --preview p.png street.mp4";
constexpr const char* resultGroup = "Results, as in: mdscan --thumbnails pictures --overlay boxes.mp4 door.mp4";

constexpr const char* footer =
    "Prints one JSON object per event; man mdscan explains it, zone files and all else.\n"
    "Exit codes: 0 motion found; 1 an input failed, in part or whole; 2 bad usage; 3 no motion found.\n";

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

// "x,y,w,h" with all of it inside the picture.
std::optional<RelativeZone> ReadZone(const std::string& text) {
    double values[4] = {};
    const char* rest = text.c_str();
    for (int i = 0; i < 4; ++i) {
        char* end = nullptr;
        values[i] = std::strtod(rest, &end);
        const char expected = i < 3 ? ',' : '\0';
        if (end == rest || *end != expected) {
            return std::nullopt;
        }
        rest = end + 1;
    }
    const auto [x, y, width, height] = values;
    constexpr double rounding = 1e-9;      // 0.7 + 0.3 may end up beyond 1
    const bool inside = x >= 0 && y >= 0 && width > 0 && height > 0 && x + width <= 1 + rounding && y + height <= 1 + rounding;
    return inside ? std::optional(RelativeZone{x, y, width, height}) : std::nullopt;
}

CLI::Validator IsZone() {
    return CLI::Validator(
        [](std::string& value) {
            return ReadZone(value) ? std::string() : "must be x,y,w,h, each from 0 to 1 and inside the picture, not " + value;
        },
        "");
}

CLI::Validator IsStyle() {
    return CLI::Validator(
        [](std::string& value) {
            const bool known = value == "auto" || value == "json" || value == "none";
            return known ? std::string() : "must be auto, json or none, not " + value;
        },
        "");
}

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

std::string ResultSettings(const Options& options) {
    std::ostringstream text;
    text.precision(17);
    text << "rate " << options.rate << " block " << options.blockSize << " shadows " << options.shadows << " min-size "
         << options.minSize << " merge-gap " << options.mergeGap << " min-duration " << options.minDuration << " frames "
         << options.frames << " rolls " << options.preRoll << " " << options.postRoll << " min-blocks " << options.minBlocks
         << " track " << options.track << " thumbnails \"" << options.thumbnails << "\"";
    for (const Zone& zone : options.allZones) {
        text << " zone \"" << zone.name << "\" " << zone.exclude << " " << zone.minSize.value_or(-1);
        for (const Point& corner : zone.polygon) {
            text << " " << corner.x << "," << corner.y;
        }
        std::uint64_t digest = 14'695'981'039'346'656'037u;            // FNV-1a: tells masks apart, no more is asked of it
        for (const std::uint8_t pixel : zone.mask.pixels) {
            digest = (digest ^ pixel) * 1'099'511'628'211u;
        }
        text << " mask " << zone.mask.width << "x" << zone.mask.height << " " << digest;
    }
    return text.str();
}

Parsed ParseOptions(const std::vector<std::string>& all, const std::string& version) {
    Options options;
    options.showZones = !all.empty() && all.front() == "zones";
    const std::vector<std::string> arguments(all.begin() + (options.showZones ? 1 : 0), all.end());
    std::vector<std::string> zones;

    CLI::App app("Finds motion in videos and prints when and where, as JSON lines.", "mdscan");
    app.footer(footer);
    app.option_defaults()->always_capture_default();
    app.get_formatter()->column_width(28);

    app.option_defaults()->group(inputGroup);
    app.set_help_flag("-h,--help", "Print this help and leave")->group(inputGroup);
    app.set_version_flag("--version", version, "Print versions and leave")->group(inputGroup);
    app.add_option("input", options.inputs, "Video files, folders of them, patterns, or - for a pipe")->required()
        ->type_name("FILE")->default_str("");
    app.add_option("-j,--jobs", options.jobs, "Inputs scanned at a time; 0: one per processor")
        ->check(Within(0, mostJobs))->type_name("N");
    app.add_option("--resume", options.resume, "Remember finished inputs there; skip those that it knows")
        ->type_name("STATE")->default_str("");
    app.add_flag("-q,--quiet", options.quiet, "Say nothing but what went wrong");
    app.add_option("--progress", options.progress, "auto: on a terminal; json: lines for machines; none")
        ->check(IsStyle())->type_name("STYLE");

    app.option_defaults()->group(motionGroup);
    app.add_option("--rate", options.rate, "Pictures analysed per second; 0: every picture")
        ->check(Within(0, highestRate))->type_name("N");
    app.add_option("--block", options.blockSize, "Block size in pixels, up to 64; 0: gives 120 to 240 columns")
        ->check(Within(0, largestBlock))->type_name("N");
    app.add_flag("--shadows", options.shadows, "Drop what only darkens the background");
    app.add_option("--min-size", options.minSize, "Smallest object, as a fraction of picture width and height")
        ->check(Within(0, 1))->type_name("F");
    app.add_option("--min-blocks", options.minBlocks, "Moving blocks below which a frame counts as still")
        ->check(Within(1, mostMovingBlocks))->type_name("N");
    app.add_option("--merge-gap", options.mergeGap, "Seconds without an object that end an event")
        ->check(Within(0, longestTime))->type_name("S");
    app.add_option("--min-duration", options.minDuration, "Seconds below which an event is dropped")
        ->check(Within(0, longestTime))->type_name("S");
    app.add_option("--pre-roll", options.preRoll, "Seconds added before an event")->check(Within(0, longestTime))->type_name("S");
    app.add_option("--post-roll", options.postRoll, "Seconds added after it; events that then overlap are one")
        ->check(Within(0, longestTime))->type_name("S");

    app.option_defaults()->group(zoneGroup);
    app.add_option("--zone", zones, "Only within this rectangle, in fractions of the picture; repeatable")
        ->check(IsZone())->type_name("X,Y,W,H")->allow_extra_args(false)->default_str("");
    app.add_option("--zones", options.zoneFile, "Only within the zones of this file; events name them")
        ->type_name("FILE.json")->default_str("");
    app.add_option("--mask", options.mask, "Only where this picture is bright")->type_name("FILE.png")->default_str("");
    app.add_option("--preview", options.preview, "With mdscan zones: draw the zones over the first picture")
        ->type_name("FILE.png")->default_str("");

    app.option_defaults()->group(resultGroup);
    app.add_option("-o,--output", options.output, "Write the result lines there instead of printing them")
        ->type_name("FILE.jsonl")->default_str("");
    app.add_flag("--frames", options.frames, "Also a line per analysed frame with its objects");
    app.add_flag("--track", options.track, "Also where the largest object went during an event");
    app.add_option("--thumbnails", options.thumbnails, "Write a small picture of every event at its peak there")
        ->type_name("DIR")->default_str("");
    app.add_option("--background", options.background, "Write the learned background; magenta: not known")
        ->type_name("FILE.png")->default_str("");
    app.add_option("--overlay", options.overlay, "Write the video with the objects' boxes drawn")
        ->type_name("FILE.mp4")->default_str("");

    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());      // as the parser wants them
        app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        return {std::nullopt, exitComplete, app.help()};
    } catch (const CLI::CallForVersion&) {
        return {std::nullopt, exitComplete, version + "\n"};
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, exitUsage, "mdscan: " + OneLine(error.what()) + " (see mdscan --help)\n"};
    }
    for (const std::string& zone : zones) {
        options.zones.push_back(ReadZone(zone).value());
    }
    if (!options.showZones && !options.preview.empty()) {
        return {std::nullopt, exitUsage, "mdscan: --preview belongs to \"mdscan zones\" (see mdscan --help)\n"};
    }
    return {options, exitComplete, ""};
}

}  // namespace Scan
