// Which settings decide the results of an input, apart from itself?  A run may skip what an earlier one with the same
// settings finished: main gives them to RunState.
#pragma once

#include <string>

#include "command/Options.h"

namespace Scan {

// One line.
std::string ResultSettings(const Options& options);

}  // namespace Scan
