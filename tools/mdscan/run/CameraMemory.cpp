// How is the file of a camera called?
#include "run/CameraMemory.h"

#include <filesystem>

#include "outputs/Camera.h"
#include "video/base/LiveName.h"
#include "video/files/OutputPath.h"

namespace Scan {

std::string CameraMemory(const std::string& folder, const std::string& input) {
    const std::string shown = Video::ShownName(input);
    const std::string name = ShortNameOf(CameraOf(shown)) + Video::MarkOf(WholeCameraOf(shown)) + ".memory";
    return (std::filesystem::path(folder) / name).string();
}

}  // namespace Scan
