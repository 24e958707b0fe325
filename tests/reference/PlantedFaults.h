// Would a mistake show?  The model's rules with one of them changed by the least amount that matters.
// Caller: the differential test, which demands that the comparison notices every one of them.
#pragma once

#include "ReferenceRules.h"

#include <vector>

namespace Reference {

struct PlantedFault {
    const char* name;  // letters and digits: part of a test's name
    void (*plant)(Rules& rules);
};

const std::vector<PlantedFault>& PlantedFaults();

}  // namespace Reference
