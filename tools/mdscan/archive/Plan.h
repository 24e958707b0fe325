// What is to be done to an archive?  A file with a line per job, which any machine can take one from.
//
// The plan holds all that decides results: options, zones, versions, and what each video was like. A machine adds where the
// videos lie on it.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "run/StateLine.h"
#include "settings/JobSettings.h"
#include "video/time/WallClock.h"
#include "video/zones/Zone.h"

namespace Scan {

struct PlannedJob {
    std::string key = {};                        // of its result; empty: there is nothing to scan
    std::string file = {};                       // what results call it
    std::string root = {};                       // name; empty: the path is whole
    std::string path = {};                       // below the root
    Identity identity = {};                      // when it was planned
    std::string content = {};                    // its digest, in place of the time of change; empty: that counts
    std::optional<Video::StartTime> start = {};  // as its name says; absent: that says nothing
    std::optional<JobPart> part = {};            // absent: all of it; those of a video stand in order, one after another
    std::string trouble = {};                    // why it is known not to be a video; empty: nothing against it so far
};

using Roots = std::map<std::string, std::string>;  // name to folder

struct Plan {
    std::string version = {};               // of the program
    std::vector<std::string> options = {};  // of the command line, without zones
    std::vector<Video::Zone> zones = {};
    std::string settings = {};  // what options and zones amount to
    Roots roots = {};           // where they were when it was planned
    int otherFiles = 0;         // in folders: not planned, no videos by their names
    std::vector<PlannedJob> jobs = {};
};

// Of a job's result: the same for the same video, whatever machine reads it, wherever its root lies there.
std::string ResultKey(const Plan& plan, const PlannedJob& job);

// The lines of a plan, without their ends: the first one, and that of each job.
std::string HeadLineOf(const Plan& plan);
std::string JobLineOf(const PlannedJob& job);

// And back. Both throw std::exception when the line is none.
std::size_t TakeHeadLine(const std::string& line, Plan& plan);  // returns how many jobs there are
PlannedJob JobOfLine(const std::string& line);

// path: empty: standard output. Throws Failure.
void WritePlan(const Plan& plan, const std::string& path);

// Throws Failure when it is no plan, or not a whole one.
Plan ReadPlan(const std::string& path);

}  // namespace Scan
