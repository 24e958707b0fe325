// Do the detector's answers fit together?  Reads everything that the output records point to, and claims what the C
// interface promises about it.  Called by DetectFuzz and MediaFuzz after a frame.
#pragma once

#include <cstdint>

#include "coreMD.h"

namespace Fuzz {

// What the caller knows about the frame that is read out.
struct Expected {
    int columns;         // blocks
    int rows;            // blocks
    bool isReady;        // 11 frames of history
    bool hasZones;       // the frame met at least one zone; without, the object map is that of an earlier frame
    bool detectsShadow;  // as taken when the detector last started afresh
    bool passThroughFlag;
};

void ClaimSummary(DetectorHandle* handle, const Expected& expected);     // h17
void ClaimZoneResult(DetectorHandle* handle, const Expected& expected);  // h19, and all its objects with h18
void ClaimBackground(DetectorHandle* handle, const Expected& expected);  // h33

}  // namespace Fuzz
