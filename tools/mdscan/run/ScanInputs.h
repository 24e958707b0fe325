// How is what was asked for scanned, from names of inputs to an exit code?
#pragma once

#include <string>
#include <vector>

#include "settings/OutputSettings.h"
#include "settings/RunSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {

// One input in this process, several in processes of their own. version: of the program, as the user may ask for it. Returns
// the exit code; what went wrong with inputs has been said by then. Throws Failure where the run cannot go on.
int ScanInputs(const std::vector<std::string>& names, const ScanSettings& scan, const OutputSettings& outputs,
               const RunSettings& run, const std::string& version);

// resume: state of --resume, if any. several: of several inputs, some results are folders. Throws Failure.
void RefuseSameFileTwice(const OutputSettings& outputs, const std::string& resume, bool several);

}  // namespace Scan
