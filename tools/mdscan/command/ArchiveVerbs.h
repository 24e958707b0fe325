// What do "mdscan plan", "work", "gather" and "farm" do?
#pragma once

#include <string>

#include "archive/Plan.h"
#include "command/Options.h"
#include "settings/RunSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {

// options: with such a verb. version: of the program, as the user may ask for it; a plan of another one is refused. Returns
// the exit code. Throws Failure.
int DoArchiveVerb(const Options& options, const std::string& version);

// Settings that this program reads from the plan as the one did that made it. name: of the plan, to be told. Throws Failure.
ScanSettings SettingsOf(const Plan& plan, const std::string& name, const std::string& version);

// With the number of jobs at a time that is meant.
RunSettings WithJobs(RunSettings run);

}  // namespace Scan
