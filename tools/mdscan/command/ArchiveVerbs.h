// What do "mdscan plan", "work" and "gather" do?
#pragma once

#include <string>

#include "command/Options.h"

namespace Scan {

// options: with such a verb. version: of the program, as the user may ask for it; a plan of another one is refused. Returns
// the exit code. Throws Failure.
int DoArchiveVerb(const Options& options, const std::string& version);

}  // namespace Scan
