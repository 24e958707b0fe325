// How long is a subject in alarm where nothing moves?
#pragma once

#include <set>
#include <string>
#include <vector>

#include "FolderRun.h"

namespace Accuracy {

// Of a video in which everything that is found is found wrongly.
struct StillOutcome {
    double length = 0;                      // seconds
    double alarm = 0;                       // seconds, by pictures in which something is found
    int events = 0;                         // as mdscan counts them: without what it takes for a disturbance
    double told = 0;                        // seconds of these
    int analysed = 0;                       // pictures
    double cpu = 0;                         // seconds, without decoding
    std::set<std::string> conditions = {};  // that were told
};

// One outcome for each candidate, in their order; masks count as they are, but for events. Throws Video::Failure.
std::vector<StillOutcome> JudgeStill(const std::string& video, const std::vector<Candidate>& candidates);

}  // namespace Accuracy
