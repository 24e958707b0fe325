// How is a run conducted?
#include "run/ScanInputs.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include "outputs/RunOutputs.h"
#include "results/ConditionNote.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/ScanLine.h"
#include "results/ScanPictures.h"
#include "results/TallyText.h"
#include "run/Batch.h"
#include "run/Inputs.h"
#include "run/Job.h"
#include "run/RunState.h"
#include "run/SettingsFingerprint.h"
#include "settings/JobSettings.h"
#include "video/base/Failure.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"
#include "video/files/Folder.h"
#include "video/files/PassingFolder.h"
#include "video/files/PngFile.h"

namespace Scan {

namespace {

// Hands on what the one scan finds.
class Teller : public JobListener {
public:
    Teller(RunOutputs& results, const std::string& input, Progress& progress, bool quiet)
        : _results(results), _input(input), _progress(progress), _quiet(quiet) {}
    void OnWait() override {
        if (!_quiet) {
            PrintLastLine(Video::ShownName(_input), waitingForWriter);
        }
    }
    void OnRecord(const Record& record) override {
        _progress.Clear();  // both may go to the same terminal
        _note.Take(record);
        _results.Tell(_input, record);
        _results.Show(_input, record);
    }
    void OnScanPicture(const ScanPicture& picture) override { _results.Show(_input, picture); }
    void OnPicture(double done, const Video::Tally& tally) override { _progress.Show(done, tally); }
    void OnWarning(const std::string& text) override {
        if (!_quiet && _warned.insert(text).second) {
            _progress.Clear();
            PrintLastLine("", text);
        }
    }
    const ConditionNote& Note() const { return _note; }

private:
    RunOutputs& _results;
    const std::string& _input;
    Progress& _progress;
    const bool _quiet;
    std::set<std::string> _warned;
    ConditionNote _note;
};

void MakeFolders(std::initializer_list<std::string> paths) {
    for (const std::string& path : paths) {
        if (!path.empty()) {
            Video::MakeFolder(path);
        }
    }
}

int ScanOne(const std::string& input, const JobSettings& job, const OutputSettings& outputs, const RunSettings& run) {
    Progress progress(StyleOf(run));
    JobResult result;
    std::string note;
    try {
        RunOutputs results(outputs, ScanLine(job.scan), {input}, false);
        Teller teller(results, input, progress, run.quiet);
        result = RunJob(job, input, "", teller);
        note = teller.Note().Text();
        if (result.health != Health::Unreadable && result.health != Health::Untold) {
            results.TellEnd(input, result);
            results.ShowEnd(input, result);
            results.Keep();
            AddUnwritten(results.GaveUp().Text(), result);
        }
    } catch (const Video::Failure& failure) {
        result.health = Health::Untold;
        result.code = failure.Code();
        result.trouble = failure.what();
    }
    progress.Clear();
    if (!run.quiet && !note.empty()) {
        PrintLastLine(Video::ShownName(input), note);
    }
    if (!run.quiet && IsOutside(result, job.scan.range)) {
        PrintLastLine(Video::ShownName(input), "nothing analysed: it has nothing from " + job.scan.range.Text());
    }
    if (!run.quiet || !result.trouble.empty()) {
        PrintLastLine(Video::ShownName(input), ResultText(result));
    }
    return CodeOf(result);
}

int ScanMany(const InputList& list, JobSettings job, const OutputSettings& outputs, RunSettings run,
             const std::string& version) {
    if (job.scan.startTime && list.several) {
        throw Video::Failure(Video::Concern::Usage, "--start-time wants a single input");
    }
    const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    run.jobs = run.jobs > 0 ? run.jobs : processors;
    job.decoderThreads = run.jobs == 1 ? 0 : std::max(1, processors / run.jobs);
    std::vector<std::string> paths;
    for (const Input& input : list.inputs) {
        paths.push_back(input.path);
    }
    std::optional<RunState> state;
    if (!run.resume.empty()) {
        state.emplace(run.resume, version + "\n" + SettingsFingerprint(job.scan, job.files));
        if (const std::string damage = state->Damage(); !damage.empty()) {
            PrintLastLine(run.resume, damage);
        }
    }
    MakeFolders({outputs.background, outputs.overlay});
    RunOutputs results(outputs, ScanLine(job.scan), paths, true);
    Progress progress(StyleOf(run));
    return Batch(job, run, list, results, state ? &*state : nullptr, progress).Run();
}

}  // namespace

void RefuseSameFileTwice(const OutputSettings& outputs, const std::string& resume, bool several) {
    const std::pair<const char*, const std::string&> places[] = {{"--output", outputs.lines},
                                                                 {"--csv", outputs.csv},
                                                                 {"--report", outputs.report},
                                                                 {"--resume", resume},
                                                                 {"--join", outputs.join},
                                                                 {"--heatmap", outputs.heatmap},
                                                                 {"--background", outputs.background},
                                                                 {"--overlay", outputs.overlay}};
    constexpr std::size_t firstFolder = 5;  // of several inputs, these are folders that may be one
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

int ScanInputs(const std::vector<std::string>& names, const ScanSettings& scan, const OutputSettings& outputs,
               const RunSettings& run, const std::string& version) {
    MakeFolders({outputs.thumbnails, outputs.clips, scan.memory});
    const InputList list = FindInputs(names);
    const bool several = list.several || !run.resume.empty();
    RefuseSameFileTwice(outputs, run.resume, several);
    if (!several) {
        Video::RefuseUnlessPng("--background", outputs.background);
        Video::RefuseUnlessPng("--heatmap", outputs.heatmap);
    }
    OutputSettings places = outputs;
    std::optional<Video::PassingFolder> clips;
    if (!outputs.join.empty() && outputs.clips.empty()) {
        if (!run.resume.empty()) {
            throw Video::Failure(Video::Concern::Usage,
                                 "--join wants --clips with --resume: what was known from before has to have its clips yet");
        }
        places.clips = clips.emplace(outputs.join + ".clips").Name();
        places.keepsClips = false;
    }
    const JobSettings job{.scan = scan, .files = FilesOf(places), .reconnect = run.reconnect};
    return several ? ScanMany(list, job, places, run, version) : ScanOne(list.inputs.front().path, job, places, run);
}

}  // namespace Scan
