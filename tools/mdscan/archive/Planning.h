// How do videos become a plan?  Found as for a scan, and named by roots, which may lie elsewhere on other machines.
#pragma once

#include <string>
#include <vector>

#include "archive/Plan.h"
#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"
#include "video/time/TickTime.h"

namespace Scan {

// "nas=/mnt/video", each. Throws Failure.
Roots ReadRoots(const std::vector<std::string>& words);

// names: as for a scan. options: words of the command line that make these settings, with the zones, which are read.
// version: of the program. byContent: a video whose time of change differs is the same as long as its bytes are.
// split: ticks that a part of a long video takes; 0: none is split.
// Throws Failure where something cannot be done by whoever comes, whenever that is, and where the user has had enough.
Plan MakePlan(const std::vector<std::string>& names, const ScanSettings& scan, const std::vector<std::string>& options,
              const Roots& roots, const std::string& version, Video::Ticks split = 0, bool byContent = false);

// What a scan for the plan does beside its lines: gathering may want all of it.
JobFiles FilesOfPlan();

// Where the video of a job is on a machine that has these roots.
std::string PlaceOf(const PlannedJob& job, const Roots& roots);

// Those of the plan with those given in their place. Throws Failure where one is none of the plan's, or no folder here.
Roots RootsHere(const Plan& plan, const Roots& given);

}  // namespace Scan
