// What was learned of each camera, from all of its inputs?
#pragma once

#include <map>
#include <string>
#include <vector>

#include "results/ScanPictures.h"

namespace Scan {

// "front-door.png": after the last part of the camera's name; with a mark of the whole name where two would be the same.
// One per camera, in order.
std::vector<std::string> PictureNames(const std::vector<std::string>& cameras);

// What was learned of each camera from all of its inputs, in the order of their coming.
class CameraGrounds {
public:
    void Add(const std::string& camera, const GroundPicture& ground);

    const std::map<std::string, GroundPicture>& All() const { return _grounds; }

private:
    std::map<std::string, GroundPicture> _grounds;
};

}  // namespace Scan
