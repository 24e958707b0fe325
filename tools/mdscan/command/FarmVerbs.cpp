// Which words belong to which verb of a farm?
#include "command/FarmVerbs.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "archive/Gathering.h"
#include "archive/Plan.h"
#include "archive/Planning.h"
#include "archive/Working.h"
#include "command/ArchiveVerbs.h"
#include "farm/Database.h"
#include "farm/Farm.h"
#include "farm/FarmQueue.h"
#include "farm/FarmResults.h"
#include "farm/FarmStatus.h"
#include "results/TallyText.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"

namespace Scan {

namespace {

constexpr int watchInterval = 2000;  // milliseconds
constexpr int watchStep = 100;       // how late an interruption is noticed

Video::Failure Misused(const std::string& how) { return {Video::Concern::Usage, how + " (see mdscan farm --help)"}; }

DatabaseAddress AddressOf(const Options& options) {
    return ReadAddress(options.farm.at, std::getenv("MDSCAN_AT"));  // NOLINT(concurrency-mt-unsafe): there is one thread
}

// The words after the verb's own; empty where it may be and is not there.
std::string Only(const Options& options, std::size_t place, const char* what, bool mayBeMissing = false) {
    if (options.inputs.size() > place + 1) {
        throw Misused("too many words: " + options.inputs.back());
    }
    if (options.inputs.size() <= place && !mayBeMissing) {
        throw Misused(std::string(what) + " is missing");
    }
    return options.inputs.size() > place ? options.inputs[place] : "";
}

void Say(const Options& options, const std::string& text) {
    if (!options.run.quiet) {
        PrintLastLine("", text);
    }
}

int Create(const Options& options, const std::string& version) {
    const std::string path = Only(options, 2, "the plan");
    const std::string& name = options.inputs[1];
    const Plan plan = ReadPlan(path);
    SettingsOf(plan, path, version);
    Database database(AddressOf(options), Database::Patience::Short);
    const FarmTally tally = CreateFarm(database, name, plan, options.farm.lease);
    Say(options, name + ": " + Counted(tally.jobs, "job") +
                     (tally.done > 0 ? ", " + std::to_string(tally.done) + " of them done already" : ""));
    return Video::exitComplete;
}

std::string Told(const Options& options, const FarmStatus& status) {
    return options.farm.json ? StatusJson(status) : options.farm.prometheus ? StatusMetrics(status) : StatusText(status);
}

int Status(const Options& options) {
    const std::string name = Only(options, 1, "the farm's name", true);
    Database database(AddressOf(options), Database::Patience::Short);
    for (;;) {
        const FarmStatus status = StatusOf(database, name);
        std::fputs(Told(options, status).c_str(), stdout);
        if (std::fflush(stdout) != 0) {
            throw Video::Failure(Video::Concern::Output, "cannot print the status");
        }
        if (!options.farm.watch || status.IsOver()) {
            return status.failed > 0 ? Video::exitFailed : Video::exitComplete;
        }
        for (int waited = 0; waited < watchInterval; waited += watchStep) {
            if (Video::Interrupted()) {
                return Video::exitComplete;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(watchStep));
        }
    }
}

int Retry(const Options& options) {
    const std::string name = Only(options, 1, "the farm's name");
    Database database(AddressOf(options), Database::Patience::Short);
    Say(options, name + ": " + Counted(RetryFarm(database, name), "job") + " to be tried again");
    return Video::exitComplete;
}

int Drop(const Options& options) {
    const std::string name = Only(options, 1, "the farm's name");
    Database database(AddressOf(options), Database::Patience::Short);
    DropFarm(database, name);
    return Video::exitComplete;
}

int Admit(const Options& options) {
    const std::string role = Only(options, 1, "the role's name");
    Database database(AddressOf(options), Database::Patience::Short);
    AdmitWorker(database, role);
    return Video::exitComplete;
}

int Tend(const Options& options, const std::string& version) {
    const std::string& action = options.inputs.front();
    return action == "create"   ? Create(options, version)
           : action == "status" ? Status(options)
           : action == "retry"  ? Retry(options)
           : action == "drop"   ? Drop(options)
           : action == "admit"  ? Admit(options)
                               : throw Misused("a farm can be asked to create, admit, status, retry or drop, not " + action);
}

int WorkOnFarm(const Options& options, const std::string& version) {
    const RunSettings run = WithJobs(options.run);
    FarmQueue queue(AddressOf(options), Only(options, 0, "", true), version, run.jobs);
    const Plan& head = queue.PlanHead();
    ScanLauncher launcher(SettingsOf(head, queue.Name(), version), RootsHere(head, ReadRoots(options.roots)));
    return WorkOn(queue, launcher, run);
}

int GatherFarm(const Options& options, const std::string& version) {
    std::string name = Only(options, 0, "", true);
    Database database(AddressOf(options), Database::Patience::Short);
    const Plan plan = PlanOfFarm(database, name);
    FarmResults results(database, name, plan);
    return Gather(plan, results, SettingsOf(plan, name, version), options.outputs, options.run.quiet);
}

}  // namespace

int DoFarmVerb(const Options& options, const std::string& version) {
    return options.verb == ArchiveVerb::Farm     ? Tend(options, version)
           : options.verb == ArchiveVerb::Gather ? GatherFarm(options, version)
                                                 : WorkOnFarm(options, version);
}

}  // namespace Scan
