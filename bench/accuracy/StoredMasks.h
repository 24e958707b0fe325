// What did somebody else find, who cannot be asked here?  Mask pictures that another program wrote.
#pragma once

#include <string>

#include "FolderRun.h"

namespace Accuracy {

// folder: numbered pictures (jpg, png or bmp), each the mask of the next shown picture of a sequence, 0: still. So it is of
// one sequence, and has a mask for each of its pictures; where it has not, being shown them throws Video::Failure.
Candidate StoredMasks(const std::string& name, const std::string& folder, double share);

}  // namespace Accuracy
