// How are these results to be read?  The first line of every output: version of the lines, and the settings that decide what
// is found.
#pragma once

#include <string>

#include "settings/ScanSettings.h"

namespace Scan {

// Grows when a field changes its meaning or goes, and when scans tell lines of a new type unasked; new fields do not count.
inline constexpr int schemaVersion = 2;

// One line of JSON without its end. The same for every -j, and for a run that was interrupted and resumed.
std::string ScanLine(const ScanSettings& settings);

}  // namespace Scan
