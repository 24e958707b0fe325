// How is a folder for results made?
#include "video/files/Folder.h"

#include <filesystem>
#include <system_error>

#include "video/base/Failure.h"

namespace Video {

void MakeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error || !std::filesystem::is_directory(path, error)) {
        throw Failure(Concern::Output, "cannot write into " + path + ": " + (error ? error.message() : "is not a folder"));
    }
}

}  // namespace Video
