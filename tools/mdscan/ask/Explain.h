// Why was this block foreground at that moment, or why not?  `mdscan explain`: scans the video as a scan does, looks at the
// block on the way; called by main.
#pragma once

#include "command/Options.h"

namespace Scan {

class Progress;

// Uses inputs, all that decides what is found, and the question of the options. Prints the explanation. Returns the exit
// code. Throws Failure.
int Explain(const Options& options, Progress& progress);

}  // namespace Scan
