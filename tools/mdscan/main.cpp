// mdscan: what moves in these videos, and when?  Reads the command line, starts a scan of one input or of many.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "ask/Explain.h"
#include "ask/ZonePreview.h"
#include "command/ConfigFile.h"
#include "command/Inputs.h"
#include "command/Options.h"
#include "command/Versions.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "results/TallyText.h"
#include "run/Batch.h"
#include "run/Job.h"
#include "run/ResultSettings.h"
#include "run/RunResults.h"
#include "run/RunState.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"
#include "video/files/Folder.h"
#include "video/media/Libav.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneFile.h"
#include "video/zones/ZoneMask.h"

namespace Scan {

namespace {

// Prints what the one scan finds.
class Printer : public JobListener {
public:
    Printer(RunResults& results, const std::string& input, Progress& progress)
        : _results(results), _input(input), _progress(progress) {}
    void OnRecord(const Record& record) override {
        _progress.Clear();  // both may go to the same terminal
        _results.Take(_input, record);
    }
    void OnScanPicture(const ScanPicture& picture) override { _results.Take(_input, picture); }
    void OnPicture(double done, const Video::Tally& tally) override { _progress.Show(done, tally); }

private:
    RunResults& _results;
    const std::string& _input;
    Progress& _progress;
};

ProgressStyle StyleOf(const Options& options) {
    if (options.quiet || options.progress == "none") {
        return ProgressStyle::None;
    }
    if (options.progress == "json") {
        return ProgressStyle::Json;
    }
    return isatty(STDERR_FILENO) != 0 ? ProgressStyle::Line : ProgressStyle::None;
}

int ScanOne(const Options& options, const std::string& input) {
    Progress progress(StyleOf(options));
    JobResult result;
    try {
        RunResults results(options, {input}, false);
        Printer printer(results, input, progress);
        result = RunJob(options, input, "", printer);
        if (result.health != Health::Unreadable && result.health != Health::Unwritten) {
            results.Finish(input, result);
            results.Keep();
        }
    } catch (const Video::Failure& failure) {
        result.health = Health::Unwritten;
        result.code = failure.Code();
        result.trouble = failure.what();
    }
    progress.Clear();
    if (!options.quiet || !result.trouble.empty()) {
        PrintLastLine(Video::ShownName(input), ResultText(result));
    }
    return CodeOf(result);
}

int ScanMany(Options options, const InputList& list) {
    if (options.startTime && list.several) {
        throw Video::Failure(Video::Concern::Usage, "--start-time wants a single input");
    }
    const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    options.jobs = options.jobs > 0 ? options.jobs : processors;
    options.decoderThreads = options.jobs == 1 ? 0 : std::max(1, processors / options.jobs);
    std::vector<std::string> paths;
    for (const Input& input : list.inputs) {
        paths.push_back(input.path);
    }
    std::optional<RunState> state;
    if (!options.resume.empty()) {
        state.emplace(options.resume, VersionText() + "\n" + ResultSettings(options));
    }
    for (const std::string& folder : {options.background, options.overlay}) {
        if (!folder.empty()) {
            Video::MakeFolder(folder);
        }
    }
    RunResults results(options, paths, true);
    Progress progress(StyleOf(options));
    const int code = Batch(options, list, results, state ? &*state : nullptr, progress).Run();
    results.Keep();
    return code;
}

// The zones of all options in one list. Throws Failure.
std::vector<Video::Zone> AllZones(const Options& options) {
    std::vector<Video::Zone> zones;
    if (!options.zoneFile.empty()) {
        zones = Video::ReadZoneFile(options.zoneFile);
    }
    if (!options.mask.empty()) {
        zones.push_back({.name = "mask", .mask = Video::ReadMask(options.mask)});
    }
    for (std::size_t i = 0; i < options.zones.size(); ++i) {
        zones.push_back(Video::RectangleZone("zone " + std::to_string(i + 1), options.zones[i]));
    }
    if (Video::WatchedNames(zones).size() > Video::mostZones) {
        throw Video::Failure(Video::Concern::Usage, "more than " + std::to_string(Video::mostZones) + " zones to watch");
    }
    return zones;
}

int Main(const std::vector<std::string>& arguments) {
    const Parsed parsed = ParseOptions(arguments, VersionText(), UsualConfigFile());
    if (!parsed.options) {
        std::fputs(parsed.text.c_str(), parsed.exitCode == Video::exitComplete ? stdout : stderr);
        return parsed.exitCode;
    }
    Options options = *parsed.options;
    Video::CollectComplaints();
    Video::LeaveOrderly();
    try {
        options.allZones = AllZones(options);
        if (options.showZones) {
            return ShowZones(options);
        }
        if (options.explain) {
            Progress progress(StyleOf(options));
            return Explain(options, progress);
        }
        for (const std::string& folder : {options.thumbnails, options.clips}) {
            if (!folder.empty()) {
                Video::MakeFolder(folder);
            }
        }
        const InputList list = FindInputs(options.inputs);
        RefuseSameFileTwice(options, list.several || !options.resume.empty());
        if (list.several || !options.resume.empty()) {
            return ScanMany(options, list);
        }
        return ScanOne(options, list.inputs.front().path);
    } catch (const Video::Failure& failure) {
        PrintLastLine("", failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        PrintLastLine("", error.what());
        return Video::exitFailed;
    }
}

}  // namespace

}  // namespace Scan

int main(int argc, char** argv) { return Scan::Main(std::vector<std::string>(argv + 1, argv + argc)); }
