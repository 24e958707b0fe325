// How does a machine do its share of a plan?  It takes whatever nobody has done and nobody does, a few at a time, until all
// is done.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/JobQueue.h"
#include "archive/Plan.h"
#include "archive/ResultStore.h"
#include "run/Worker.h"
#include "settings/RunSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {

// What becomes of jobs in a process of their own.
class JobLauncher {
public:
    virtual ~JobLauncher() = default;

    // Why this job cannot be done here, or not any more; absent: nothing is known against it.
    virtual std::optional<std::string> Refusal(const PlannedJob& job) = 0;

    // others: pipes of those that run. Throws Failure when there can be no further process.
    virtual std::unique_ptr<Worker> Launch(const PlannedJob& job, const std::vector<int>& others) = 0;
};

// Scans the videos, each by one thread: with several, a decoder tells damage at another place, and machines differ.
class ScanLauncher : public JobLauncher {
public:
    ScanLauncher(const ScanSettings& scan, const Roots& roots) : _scan(scan), _roots(roots) {}

    std::optional<std::string> Refusal(const PlannedJob& job) override;
    std::unique_ptr<Worker> Launch(const PlannedJob& job, const std::vector<int>& others) override;

private:
    const ScanSettings _scan;
    const Roots _roots;
};

// Returns the exit code: complete when all jobs have results, whoever made them. run: with a number of jobs from 1. An
// interruption gives back what is under way. Throws Failure when results cannot be kept, having given back the rest.
int WorkOn(JobQueue& queue, JobLauncher& launcher, const RunSettings& run);

// Likewise, of a plan and whoever keeps its results.
int WorkOn(const Plan& plan, ResultStore& store, JobLauncher& launcher, const RunSettings& run);

}  // namespace Scan
