// Where in the picture do the zones lie?  `mdscan zones`: checks them, says what they cover, draws them over a frame.
#pragma once

#include <string>
#include <vector>

#include "settings/ScanSettings.h"

namespace Scan {

// Prints a line per zone. inputs: one, or it is refused. preview: file for a picture; empty: none. Returns the exit code.
// Throws Failure.
int ShowZones(const std::vector<std::string>& inputs, const ScanSettings& settings, const std::string& preview);

}  // namespace Scan
