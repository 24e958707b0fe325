// Would a call go through?  Asks the conditions that the call would ensure, in its order, and changes nothing.
#pragma once

#include "coreMD.h"

namespace MD {

class MotionDetector;
struct Broken;

// Each returns the text of the first condition that the call would break, null where it breaks none. What only the call
// itself can know is not looked at: whether memory suffices, and whether arrays are as long as their records say.
class CallCheck {
public:
    static const char* OfFrame(const MotionDetector& detector, const DetectionInfo* info);
    static const char* OfZone(const MDZoneInfo* zone);
    static const char* OfObject(const MotionDetector& detector);

private:
    static bool ContentDecides(const MotionDetector& detector);
    static const char* OfFit(const MotionDetector& detector);
    static const char* OfTrial(const MotionDetector& detector, DetectionInfo info);
};

// The end of a frame that a copy was shown.
struct TrialEnd {
    const char* condition;
};

}  // namespace MD
