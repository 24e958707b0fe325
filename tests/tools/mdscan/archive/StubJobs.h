// What does a test work on that is about who works, not on what?  Jobs that wait, whose results follow from their keys.
#pragma once

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "archive/Plan.h"
#include "archive/Working.h"
#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/Records.h"
#include "run/Worker.h"
#include "settings/RunSettings.h"

namespace Scan {

inline void Pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

// What the environment says instead of what is usual: how many, how long.
inline int Setting(const char* name, int usual) {
    const char* text = std::getenv(name);
    return text ? std::atoi(text) : usual;
}

inline RunSettings TwoAtATime() {
    RunSettings run;
    run.jobs = 2;
    run.quiet = true;
    return run;
}

inline Plan PlanOfStubs(int jobs, const std::string& version = "1") {
    Plan plan{.version = version};
    for (int i = 0; i < jobs; ++i) {
        PlannedJob job{.file = "file" + std::to_string(i), .path = "/nowhere/" + std::to_string(i)};
        job.key = ResultKey(plan, job);
        plan.jobs.push_back(job);
    }
    return plan;
}

// A byte in `log` for every job that was begun; empty: nobody counts them.
class StubLauncher : public JobLauncher {
public:
    StubLauncher(int milliseconds, const std::string& log) : _milliseconds(milliseconds), _log(log) {}

    std::optional<std::string> Refusal(const PlannedJob&) override { return std::nullopt; }

    std::unique_ptr<Worker> Launch(const PlannedJob& job, const std::vector<int>&) override {
        return std::make_unique<Worker>([=, this](int pipe) {
            if (!_log.empty()) {
                std::ofstream(_log, std::ios::app) << '.';
            }
            Pause(_milliseconds);
            const int seed = std::stoi(job.key.substr(0, 6), nullptr, 16);
            std::string said;
            for (int event = 1; event <= seed % 4; ++event) {
                said += "L" + LineOf(EventRecord{.file = "elsewhere/" + job.file, .number = event, .frames = seed}) + "\n";
            }
            said += "E" + Packed(JobResult{.tally = {.pictures = seed, .events = seed % 4}}) + "\n";
            [[maybe_unused]] const ssize_t written = write(pipe, said.data(), said.size());
            _exit(0);  // a look for leaks would take longer than the job
        });
    }

private:
    const int _milliseconds;
    const std::string _log;
};

}  // namespace Scan
