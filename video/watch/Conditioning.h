// How is a detector to be conditioned?
#pragma once

namespace Video {

// What a shaking camera's pictures are moved back by.
enum class Stabilise {
    Auto,  // as soon as it is seen to shake
    On,    // every picture
    Off    // none
};

// How little is told?
enum class Sensitivity {
    Low,     // large things of good contrast
    Normal,  //
    High     // small and faint ones, too
};

struct ConditioningRules {
    bool on = false;  // off: the detector sees the pictures as they are, and its answer stands
    Stabilise stabilise = Stabilise::Auto;
    Sensitivity sensitivity = Sensitivity::Normal;
};

}  // namespace Video
