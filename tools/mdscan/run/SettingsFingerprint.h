// Which settings decide the results of an input, apart from itself?  A run may skip what an earlier one with the same
// settings finished.
#pragma once

#include <string>

#include "settings/JobSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {

// One line.
std::string SettingsFingerprint(const ScanSettings& scan, const JobFiles& files);

}  // namespace Scan
