// What can be set of the element's analysis?  Values as its properties have them.
#pragma once

#include <string>

#include "conditioning/Conditioner.h"

namespace Gst {

struct MotionSettings {
    double rate = 6;        // pictures analysed per second; 0: all
    int block = 0;          // pixels; 0: chosen by the picture's size
    double minSize = -1;    // smallest object, of the picture's width and height; negative: as the sensitivity says
    bool shadows = false;   // drop them, where nothing is conditioned
    std::string zones;      // a file, or JSON; empty: the whole picture
    bool condition = true;  // the detector is helped against light, shaking and rain
    std::string memory;     // file of the camera's background; empty: none
    Host::Sensitivity sensitivity = Host::Sensitivity::Normal;
    double mergeGap = 2;       // seconds
    double minDuration = 0.5;  // seconds

    // Would a detector that learned with the others have learned otherwise, or found other objects?
    bool Detects(const MotionSettings& other) const {
        return block == other.block && minSize == other.minSize && shadows == other.shadows && zones == other.zones &&
               condition == other.condition && memory == other.memory && sensitivity == other.sensitivity;
    }
};

}  // namespace Gst
