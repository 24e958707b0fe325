// How right is each of these subjects on this labelled sequence?
#pragma once

#include <string>
#include <vector>

#include "LabelledFolder.h"
#include "Score.h"
#include "Subject.h"

namespace Accuracy {

// A subject by its name, and the share of a scored block that its mask has to cover.
struct Candidate {
    std::string name;
    double share = 0.25;
    NewSubject make;
};

struct Outcome {
    Score score;
    int analysed = 0;  // pictures, scored or not
    double cpu = 0;    // seconds, for all of them; decoding is not in it
};

// Shows the sequence to all of them at once. One outcome for each candidate, in their order. Throws Video::Failure.
std::vector<Outcome> Judge(const LabelledFolder& folder, const std::vector<Candidate>& candidates);

}  // namespace Accuracy
