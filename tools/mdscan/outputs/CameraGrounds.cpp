// How does what was learned of a camera add up?
#include "outputs/CameraGrounds.h"

#include "outputs/Camera.h"
#include "results/ScanPictures.h"
#include "video/files/OutputPath.h"
#include "video/watch/HeatMap.h"

namespace Scan {

std::vector<std::string> PictureNames(const std::vector<std::string>& cameras) {
    std::map<std::string, int> bearers;
    for (const std::string& camera : cameras) {
        ++bearers[ShortNameOf(camera)];
    }
    std::vector<std::string> names;
    for (const std::string& camera : cameras) {
        const std::string stem = ShortNameOf(camera);
        names.push_back(stem + (bearers[stem] > 1 ? Video::MarkOf(camera) : "") + ".png");
    }
    return names;
}

void CameraGrounds::Add(const std::string& camera, const GroundPicture& ground) {
    GroundPicture& known = _grounds[camera];
    known.heat.Add(ground.heat);
    if (!ground.background.pixels.empty()) {
        Video::UpdateBackground(known.background, ground.background);
    }
}

}  // namespace Scan
