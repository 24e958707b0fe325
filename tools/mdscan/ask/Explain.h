// Why was this block foreground at that moment, or why not?  `mdscan explain`: scans the video as a scan does, looks at the
// block on the way.
#pragma once

#include <string>
#include <vector>

#include "ask/Question.h"
#include "settings/ScanSettings.h"

namespace Scan {

class Progress;

// Prints the explanation. inputs: one, or it is refused. Returns the exit code. Throws Failure.
int Explain(const std::vector<std::string>& inputs, const ScanSettings& settings, const Question& question,
            Progress& progress);

}  // namespace Scan
