// What do "mdscan farm", and "work" and "gather" with --at do?
#pragma once

#include <string>

#include "command/Options.h"

namespace Scan {

// options: with such a verb. version: of the program, as the user may ask for it. Returns the exit code. Throws Failure.
int DoFarmVerb(const Options& options, const std::string& version);

}  // namespace Scan
