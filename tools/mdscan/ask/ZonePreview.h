// Where in the picture do the zones lie?  `mdscan zones`: checks them, says what they cover, draws them over a frame; called
// by main.
#pragma once

#include "command/Options.h"

namespace Scan {

// Uses input, zones, block size and preview of the options. Prints a line per zone. Returns the exit code. Throws Failure.
int ShowZones(const Options& options);

}  // namespace Scan
