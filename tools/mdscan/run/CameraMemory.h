// Where is kept what a camera looks like when nothing happens?  A file per camera, which scans of its inputs read and write
// in turn.
#pragma once

#include <string>

namespace Scan {

// "DIR/front-door-0a1b2c3d.memory": the same for every input of a camera, whatever else is scanned, and of different cameras
// different ones.
std::string CameraMemory(const std::string& folder, const std::string& input);

}  // namespace Scan
