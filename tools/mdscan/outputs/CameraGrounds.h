// Which inputs show the same place, and what was learned of it?  Recorders keep a folder per camera: a file's camera is the
// folder that holds it, anything else is a camera of its own.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "results/ScanPictures.h"

namespace Scan {

// The folder as the input names it, "." for none; of a stream, a device or the standard input: the input itself.
std::string CameraOf(const std::string& input);

// "front-door": the last part of the camera's name, as part of a file's.
std::string ShortNameOf(const std::string& camera);

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
