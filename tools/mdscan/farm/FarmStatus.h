// How far is a farm, who works on what, and what went wrong?
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "farm/Database.h"

namespace Scan {

struct FarmStatus {
    struct Job {
        std::string file;
        double seconds;  // since it was taken
    };
    struct Worker {
        std::string name, role;
        int slots;
        double seconds;  // since it came
        bool isSilent;   // beyond its lease
        std::vector<Job> jobs;
    };
    struct Trouble {
        std::string reason, example;  // a file
        std::int64_t jobs;
        bool isGivenUp;  // else open again
    };

    std::string farm;
    std::int64_t jobs = 0, done = 0, open = 0, taken = 0, failed = 0;
    double perMinute = 0;               // jobs, in the last ten minutes
    std::optional<double> secondsLeft;  // absent: not known
    std::vector<Worker> workers;
    std::vector<Trouble> troubles;  // most frequent first

    bool IsOver() const { return open == 0 && taken == 0; }
};

// name: empty: the only farm there is. By the server's clock. Throws Failure.
FarmStatus StatusOf(Database& database, const std::string& name);

// For people: some lines. For programs: one line of JSON; or what Prometheus reads.
std::string StatusText(const FarmStatus& status);
std::string StatusJson(const FarmStatus& status);
std::string StatusMetrics(const FarmStatus& status);

}  // namespace Scan
