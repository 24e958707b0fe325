// What did a plan find?  Results of all its jobs become the outputs that one scan of all its videos would have written, byte
// by byte, whoever made them in whatever order.
#pragma once

#include "archive/Plan.h"
#include "archive/ResultStore.h"
#include "settings/OutputSettings.h"
#include "settings/ScanSettings.h"

namespace Scan {

// scan: that of the plan. Returns the exit code, as of a scan; what failed or is missing has been said by then. Throws
// Failure where the outputs cannot be, or the store fails.
int Gather(const Plan& plan, KeptResults& store, const ScanSettings& scan, const OutputSettings& outputs, bool quiet);

}  // namespace Scan
