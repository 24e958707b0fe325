// How is the file of a camera called?
#include "run/CameraMemory.h"

#include <filesystem>
#include <system_error>

#include "outputs/CameraGrounds.h"
#include "video/base/LiveName.h"
#include "video/files/OutputPath.h"

namespace Scan {

namespace {

namespace fs = std::filesystem;

// The same wherever it is called from; addresses stay as they are.
std::string WholeName(const std::string& camera) {
    std::error_code error;
    const fs::path path = fs::is_directory(camera, error) ? fs::weakly_canonical(camera, error) : fs::path(camera);
    return error ? camera : path.string();
}

}  // namespace

std::string CameraMemory(const std::string& folder, const std::string& input) {
    const std::string camera = CameraOf(Video::ShownName(input));
    return (fs::path(folder) / (ShortNameOf(camera) + Video::MarkOf(WholeName(camera)) + ".memory")).string();
}

}  // namespace Scan
