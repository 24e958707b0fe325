// How is a detector to be conditioned?
#pragma once

#include <optional>

#include "conditioning/Conditioner.h"
#include "conditioning/SteadyReduction.h"

namespace Video {

using Host::Sensitivity;
using Host::Stabilise;

struct ConditioningRules {
    bool on = false;  // off: the detector sees the pictures as they are, and its answer stands
    Stabilise stabilise = Stabilise::Auto;
    Sensitivity sensitivity = Sensitivity::Normal;
};

// Of an object, as a fraction of the picture's width and of its height, where nobody states another.
inline constexpr double usualSmallestSize = 0.03;

// Of an object that is told: what somebody states stands, 0 and the usual one too; else the sensitivity says, where anybody
// conditions.
double SmallestSize(std::optional<double> stated, const ConditioningRules& rules);

// Of the detector's blocks, likewise, where the picture's size asks for `fitting` pixels.
int BlockSizeOf(int fitting, const ConditioningRules& rules);

}  // namespace Video
