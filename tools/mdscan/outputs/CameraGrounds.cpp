// How are inputs grouped by camera?
#include "outputs/CameraGrounds.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "results/ScanPictures.h"
#include "video/files/OutputPath.h"
#include "video/watch/HeatMap.h"

namespace Scan {

namespace {

namespace fs = std::filesystem;

}  // namespace

std::string CameraOf(const std::string& input) {
    std::error_code ignored;
    const fs::file_status status = fs::status(input, ignored);
    const bool isFile = fs::is_regular_file(status) || (!fs::exists(status) && input.find("://") == std::string::npos);
    if (input == "-" || !isFile) {
        return input;
    }
    const std::string folder = fs::path(input).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string ShortNameOf(const std::string& camera) {
    std::error_code ignored;
    fs::path path =
        camera.find("://") == std::string::npos ? fs::absolute(camera, ignored).lexically_normal() : fs::path(camera);
    if (!path.has_filename()) {
        path = path.parent_path();  // of "folder/"
    }
    std::string stem = camera == "-" ? "stdin" : path.filename().string().substr(0, 80);
    std::replace_if(
        stem.begin(), stem.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '/'; }, '_');
    return stem.empty() ? "root" : stem;
}

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
