// Which videos can be planned, and what are they called?
#include "archive/Planning.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <vector>

#include "archive/Digest.h"
#include "archive/Splitting.h"
#include "run/Inputs.h"
#include "run/SettingsFingerprint.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"

namespace Scan {

namespace {

namespace fs = std::filesystem;

Video::Failure Unplanned(const std::string& what) { return {Video::Concern::Usage, "cannot plan " + what}; }

// Below the root, where it is; the deepest of them counts. All paths are canonical.
void Place(PlannedJob& job, const fs::path& whole, const Roots& roots) {
    job.path = whole.native();
    std::size_t deepest = 0;
    for (const auto& [name, folder] : roots) {
        const fs::path root = folder;
        const std::size_t depth = static_cast<std::size_t>(std::distance(root.begin(), root.end()));
        const bool isBelow = std::mismatch(root.begin(), root.end(), whole.begin(), whole.end()).first == root.end();
        if (isBelow && depth > deepest) {
            deepest = depth;
            job.root = name;
            job.path = whole.lexically_relative(root).native();
        }
    }
    if (!roots.empty() && job.root.empty()) {
        throw Unplanned(job.file + ": is below no root");
    }
}

// A recording that still grows, or that nobody may read, does not keep others from being planned: it fails when all is
// gathered.
void TakeContent(PlannedJob& job, const std::string& path) {
    try {
        job.content = DigestOfFile(path);
        if (IdentityOf(path) != job.identity) {
            job.trouble = "it changed while it was planned";
        }
    } catch (const Video::Failure& failure) {
        job.trouble = failure.what();
    }
    job.identity.changed = 0;
}

PlannedJob JobFor(const Input& input, const ScanSettings& scan, const Roots& roots, bool byContent) {
    PlannedJob job{.file = input.path, .trouble = input.trouble};
    if (!job.trouble.empty()) {
        return job;
    }
    job.identity = IdentityOf(input.path);
    if (job.identity == Identity{}) {
        throw Unplanned(input.path + ": is not a plain file");
    }
    std::error_code error;
    const fs::path whole = fs::canonical(input.path, error);
    if (error) {
        throw Unplanned(input.path + ": " + error.message());
    }
    Place(job, whole, roots);
    job.start = StartByName(input.path, scan.nameTime);
    if (byContent) {
        TakeContent(job, input.path);
    }
    return job;
}

bool IsFolder(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

}  // namespace

Roots ReadRoots(const std::vector<std::string>& words) {
    Roots roots;
    for (const std::string& word : words) {
        const std::size_t sign = word.find('=');
        if (sign == 0 || sign == std::string::npos) {
            throw Video::Failure(Video::Concern::Usage, "--root must be NAME=FOLDER, not " + word);
        }
        if (!IsFolder(word.substr(sign + 1))) {  // it may be mounted later
            throw Video::Failure(Video::Concern::Input, "--root " + word + ": there is no such folder here");
        }
        if (!roots.try_emplace(word.substr(0, sign), word.substr(sign + 1)).second) {
            throw Video::Failure(Video::Concern::Usage, "--root " + word.substr(0, sign) + " is given twice");
        }
    }
    return roots;
}

JobFiles FilesOfPlan() {
    JobFiles files;
    files.report = "report";
    files.heatmap = true;
    return files;
}

Plan MakePlan(const std::vector<std::string>& names, const ScanSettings& scan, const std::vector<std::string>& options,
              const Roots& roots, const std::string& version, Video::Ticks split, bool byContent) {
    if (!scan.memory.empty()) {
        throw Unplanned("with --memory: each video would wait for the one before, and jobs are done in any order");
    }
    if (split > 0 && scan.fast) {
        throw Unplanned("with --split and --fast: which GOPs are skipped depends on all that came before");
    }
    if (split > 0 && !scan.range.IsAll()) {
        throw Unplanned("with --split and " + scan.range.Text() + ": one part at a time");
    }
    Plan plan{
        .version = version, .options = options, .zones = scan.zones, .settings = SettingsFingerprint(scan, FilesOfPlan())};
    for (const auto& [name, folder] : roots) {
        plan.roots[name] = fs::canonical(folder).native();
    }
    const InputList list = FindInputs(names);
    plan.otherFiles = list.otherFiles;
    for (const Input& input : list.inputs) {
        PlannedJob job = JobFor(input, scan, plan.roots, byContent);
        std::vector<JobPart> parts;
        if (split > 0 && job.trouble.empty()) {
            parts = PartsOf(input.path, scan, split);
        }
        for (std::size_t i = 0; i < std::max<std::size_t>(1, parts.size()); ++i) {
            job.part = parts.empty() ? std::nullopt : std::optional(parts[i]);
            job.key = job.trouble.empty() ? ResultKey(plan, job) : "";
            plan.jobs.push_back(job);
        }
        if (Video::Interrupted()) {
            throw Video::Failure(Video::Concern::System, "interrupted");
        }
    }
    return plan;
}

std::string PlaceOf(const PlannedJob& job, const Roots& roots) {
    return job.root.empty() ? job.path : (fs::path(roots.at(job.root)) / job.path).native();
}

Roots RootsHere(const Plan& plan, const Roots& given) {
    Roots roots = plan.roots;
    for (const auto& [name, folder] : given) {
        if (!roots.contains(name)) {
            throw Video::Failure(Video::Concern::Usage, "--root " + name + " is none of the plan's");
        }
        roots[name] = folder;
    }
    for (const PlannedJob& job : plan.jobs) {
        if (!job.root.empty() && !roots.contains(job.root)) {
            throw Video::Failure(Video::Concern::Usage,
                                 "the plan does not say where " + job.root + " was: --root " + job.root + "=FOLDER does");
        }
    }
    for (const auto& [name, folder] : roots) {
        if (!IsFolder(folder)) {
            throw Video::Failure(Video::Concern::Input,
                                 "there is no " + folder + " here: where is it?  --root " + name + "=FOLDER");
        }
    }
    return roots;
}

}  // namespace Scan
