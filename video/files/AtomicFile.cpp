// How does a result come into being all at once?
#include "video/files/AtomicFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "video/base/Failure.h"

namespace Video {

AtomicFile::AtomicFile(std::string path, const std::string& input) : AtomicFile(std::move(path), std::vector{input}) {}

AtomicFile::AtomicFile(std::string path, const std::vector<std::string>& inputs) : _path(std::move(path)) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (fs::exists(_path, ignored) && !fs::is_regular_file(_path, ignored)) {
        throw Failure(Concern::Place, "cannot write " + _path + ": is not a plain file");
    }
    for (const std::string& input : inputs) {
        if (fs::equivalent(_path, input, ignored)) {
            throw Failure(Concern::Place, "cannot write " + _path + ": is the input");
        }
    }
    _passing.emplace(_path, inputs);
}

void AtomicFile::Keep() {
    if (!_passing->RenameTo(_path)) {
        throw Failure(Concern::Output, "cannot write " + _path + ": " + std::strerror(errno));
    }
}

}  // namespace Video
