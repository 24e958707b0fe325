// What do others find?  OpenCV's background subtractors on the full picture, in one thread, with their defaults.
#pragma once

#include <vector>

#include "FolderRun.h"

namespace Accuracy {

// Each on every picture and on every fourth, as it is and opened: "MOG2", "MOG2, every fourth, opened". A mask that is not
// opened is scored in the same run as one that is, and only the former's cost is that of the subtractor.
std::vector<Candidate> Peers();

}  // namespace Accuracy
