// What does the sensitivity stand for?  docs/accuracy.md has the figures of each.
#include "video/watch/Conditioning.h"

#include <algorithm>

namespace Video {

double SmallestSize(std::optional<double> stated, const ConditioningRules& rules) {
    if (!rules.on || stated) {
        return stated.value_or(usualSmallestSize);
    }
    switch (rules.sensitivity) {
        case Sensitivity::Low: return 0.05;
        case Sensitivity::Normal: return usualSmallestSize;
        case Sensitivity::High: return 0.015;
    }
    return usualSmallestSize;
}

int BlockSizeOf(int fitting, const ConditioningRules& rules) {
    return rules.on && rules.sensitivity == Sensitivity::High ? std::max(1, (2 * fitting + 1) / 3) : fitting;
}

}  // namespace Video
