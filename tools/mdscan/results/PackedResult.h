// How does a result travel between processes and runs?  As one line of text.
#pragma once

#include <string>

#include "results/JobResult.h"

namespace Scan {

// One line of JSON without its end.
std::string Packed(const JobResult& result);

// Throws std::exception when the text is not what Packed made.
JobResult Unpacked(const std::string& text);

}  // namespace Scan
