// How right is a subject?  Counts blocks and pictures, and makes the figures of them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "LabelRules.h"

namespace Accuracy {

// Of one sequence, or their mean. Shares, 0 to 1; 0 where there is nothing that they would be a share of.
struct Figures {
    double f = 0;           // of blocks
    double precision = 0;   // of blocks
    double recall = 0;      // of blocks
    double missed = 0;      // of the pictures with motion: nothing was found
    double falseShare = 0;  // of the pictures without motion: something was found
};

class Score {
public:
    // A picture that counts. Both are [scored block]; found: 0 or not. What lies in unknown blocks does not count.
    void Add(const std::vector<Truth>& truth, const std::vector<std::uint8_t>& found);

    Figures Of() const;

    int Moving() const { return _moving; }  // pictures with motion
    int Still() const { return _still; }    // pictures without

private:
    int _moving = 0, _missed = 0, _still = 0, _false = 0;  // pictures
    std::int64_t _hits = 0, _misses = 0, _extra = 0;       // blocks
};

// Every sequence weighs the same. One without a picture with motion, or without one that is still, weighs nothing in what is
// a share of these.
Figures MeanOf(const std::map<std::string, Score>& sequences);

}  // namespace Accuracy
