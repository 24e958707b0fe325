// What can be done to a farm: a plan in a database, with its jobs and their results?
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "archive/Plan.h"
#include "farm/Database.h"

namespace Scan {

struct FarmTally {
    std::int64_t jobs = 0;
    std::int64_t done = 0;  // by whatever worked on other plans with the same videos and options
};

// All throw Failure. name: of the farm; where it may be empty, the only one there is.

// Makes the tables where there are none.
FarmTally CreateFarm(Database& database, const std::string& name, const Plan& plan, double lease);

// Results go, too, but for those that other farms share.
void DropFarm(Database& database, const std::string& name);

// Jobs that were given up are open again. Returns how many.
std::int64_t RetryFarm(Database& database, const std::string& name);

// This role of the database may work, and nothing else.
void AdmitWorker(Database& database, const std::string& role);

// name may be empty, and is the farm's afterwards.
Plan PlanOfFarm(Database& database, std::string& name);

// Its name and number. name may be empty.
struct FarmName {
    std::string name, id;
};
FarmName FindFarm(Database& database, const std::string& name);

}  // namespace Scan
