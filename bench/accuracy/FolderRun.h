// How right is each of these subjects on this labelled sequence?
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "LabelledFolder.h"
#include "Score.h"
#include "Subject.h"
#include "ThirdEvents.h"

namespace Accuracy {

// A subject by its name, and the shares of a scored block that its mask has to cover: one score for each.
struct Candidate {
    std::string name;
    std::vector<double> shares;
    NewSubject make;
};

struct Outcome {
    std::vector<Score> scores;         // one for each share
    std::vector<Score> settled;        // likewise, without pictures before FirstScored
    std::array<EventCount, 3> thirds;  // by the first share
    std::map<std::size_t, std::vector<std::uint8_t>> found =
        {};            // [scored block] by place, of pictures that count; likewise
    int analysed = 0;  // pictures, scored or not
    double cpu = 0;    // seconds, for all of them; decoding is not in it
};

// Shows the sequence to all of them at once. One outcome for each candidate, in their order. Throws Video::Failure.
std::vector<Outcome> Judge(const LabelledFolder& folder, const std::vector<Candidate>& candidates);

}  // namespace Accuracy
