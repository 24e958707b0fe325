// What are people told in the end about the conditions that an input showed?
#pragma once

#include <array>
#include <string>

#include "results/Records.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Scan {

class ConditionNote {
public:
    // Any record of the input; those that are no conditions are ignored.
    void Take(const Record& record);

    // "shaking for 12.0 s, covered for 30.1 s": each kind once, in their order. Empty: there is nothing to say.
    std::string Text() const;

    // Was there anything that may have hidden motion?
    bool HidesMotion() const;

private:
    struct Sum {
        int times = 0;
        Video::Ticks length = 0;  // of all of them
        Video::Ticks first = 0;   // when the first one began
    };

    std::array<Sum, Video::conditionNames.size()> _sums = {};  // by kind
};

}  // namespace Scan
