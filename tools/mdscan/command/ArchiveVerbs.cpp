// How does a plan become what its options said, on a machine that never saw them?
#include "command/ArchiveVerbs.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "archive/FolderStore.h"
#include "archive/Gathering.h"
#include "archive/Plan.h"
#include "archive/Planning.h"
#include "archive/Working.h"
#include "command/FarmVerbs.h"
#include "results/TallyText.h"
#include "run/SettingsFingerprint.h"
#include "settings/RunSettings.h"
#include "settings/ScanSettings.h"
#include "video/base/Failure.h"
#include "video/base/LiveName.h"
#include "video/files/Folder.h"
#include "video/zones/ZoneSources.h"

namespace Scan {

namespace {

int MakeThePlan(const Options& options, const std::string& version) {
    ScanSettings scan = options.scan;
    scan.zones = Video::ReadZones(options.zones);
    const Plan plan =
        MakePlan(options.inputs, scan, options.words, ReadRoots(options.roots), version, options.split, options.byContent);
    WritePlan(plan, options.outputs.lines);
    for (const PlannedJob& job : plan.jobs) {
        if (!job.trouble.empty()) {
            PrintLastLine(Video::ShownName(job.file), "not planned: " + job.trouble);
        }
    }
    if (!options.run.quiet) {
        const auto troubled =
            std::count_if(plan.jobs.begin(), plan.jobs.end(), [](const PlannedJob& job) { return !job.trouble.empty(); });
        PrintLastLine("", Counted(static_cast<std::int64_t>(plan.jobs.size()) - troubled, "job") +
                              (plan.otherFiles > 0 ? "; " + Counted(plan.otherFiles, "other file") + " passed over" : ""));
    }
    return Video::exitComplete;
}

// The plan of one of its jobs, counted from 1. Throws Failure.
void KeepOnly(Plan& plan, int job, const std::string& name) {
    if (static_cast<std::size_t>(job) > plan.jobs.size()) {
        throw Video::Failure(Video::Concern::Usage, "there is no job " + std::to_string(job) + " in " + name + ": it has " +
                                                        Counted(static_cast<std::int64_t>(plan.jobs.size()), "job"));
    }
    plan.jobs = std::vector<PlannedJob>{plan.jobs[static_cast<std::size_t>(job) - 1]};
}

int Work(const Options& options, const std::string& version) {
    const std::string& path = options.inputs.front();
    Plan plan = ReadPlan(path);
    if (options.job > 0) {
        KeepOnly(plan, options.job, path);
    }
    const ScanSettings scan = SettingsOf(plan, path, version);
    ScanLauncher launcher(scan, RootsHere(plan, ReadRoots(options.roots)));
    Video::MakeFolder(options.folder);
    FolderStore store(options.folder);
    return WorkOn(plan, store, launcher, WithJobs(options.run));
}

int GatherFrom(const Options& options, const std::string& version) {
    const std::string& path = options.inputs.front();
    const Plan plan = ReadPlan(path);
    const ScanSettings scan = SettingsOf(plan, path, version);
    FolderStore store(options.folder);
    return Gather(plan, store, scan, options.outputs, options.run.quiet);
}

// Where the results are: in a folder, or in a database with the plan. Throws Failure where that is not said.
bool IsOfFarm(const Options& options, const char* folder) {
    const bool isNamed = !options.folder.empty(), isAddressed = !options.farm.at.empty();
    if (isNamed && isAddressed) {
        throw Video::Failure(Video::Concern::Usage, std::string("either ") + folder + " or --at, not both");
    }
    if (isNamed && options.inputs.empty()) {
        throw Video::Failure(Video::Concern::Usage, "which plan?");
    }
    const bool isInEnvironment = std::getenv("MDSCAN_AT") != nullptr;  // NOLINT(concurrency-mt-unsafe): one thread
    if (!isNamed && !isAddressed && !isInEnvironment) {
        throw Video::Failure(Video::Concern::Usage, std::string(folder) + " is required, or --at (see mdscan --help)");
    }
    if (!isNamed && options.job > 0) {
        throw Video::Failure(Video::Concern::Usage, "--job belongs to --into: a farm hands out its jobs itself");
    }
    return !isNamed;
}

}  // namespace

ScanSettings SettingsOf(const Plan& plan, const std::string& name, const std::string& version) {
    const Video::Failure other(Video::Concern::Usage,
                               name + " was made by another version of mdscan, or on another kind of machine");
    if (plan.version != version) {
        throw other;
    }
    std::vector<std::string> words = plan.options;
    words.push_back("-");
    const Parsed parsed = ParseOptions(words, version);
    if (!parsed.options) {
        throw other;
    }
    ScanSettings scan = parsed.options->scan;
    scan.zones = plan.zones;
    if (SettingsFingerprint(scan, FilesOfPlan()) != plan.settings) {
        throw other;
    }
    return scan;
}

RunSettings WithJobs(RunSettings run) {
    run.jobs = run.jobs > 0 ? run.jobs : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return run;
}

int DoArchiveVerb(const Options& options, const std::string& version) {
    switch (options.verb) {
        case ArchiveVerb::Plan: return MakeThePlan(options, version);
        case ArchiveVerb::Work: return IsOfFarm(options, "--into") ? DoFarmVerb(options, version) : Work(options, version);
        case ArchiveVerb::Gather:
            return IsOfFarm(options, "--from") ? DoFarmVerb(options, version) : GatherFrom(options, version);
        case ArchiveVerb::Farm: return DoFarmVerb(options, version);
        case ArchiveVerb::None: break;
    }
    return Video::exitUsage;
}

}  // namespace Scan
