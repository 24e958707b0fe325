// When may a folder of another run be removed?  When nobody holds its lock any more.
#include "video/files/PassingFolder.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "video/base/Failure.h"
#include "video/files/PassingFile.h"

namespace Video {

namespace {

namespace fs = std::filesystem;

// A folder that has just been made and is not locked yet is empty: removing that needs no lock, and its maker notices.
void RemoveUnlessUsed(const fs::path& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    if (flock(file, LOCK_EX | LOCK_NB) == 0) {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    close(file);
}

void RemoveLeftFolders(const fs::path& path) {
    const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const std::string name = path.filename().native();
    std::vector<fs::path> left;
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end; entry.increment(error)) {
        if (IsPassingNameOf(name, entry->path().filename().native())) {
            left.push_back(entry->path());
        }
    }
    for (const fs::path& folder : left) {
        RemoveUnlessUsed(folder);
    }
}

}  // namespace

PassingFolder::PassingFolder(const std::string& path) : _name(path + "." + std::to_string(getpid()) + ".part") {
    RemoveLeftFolders(path);
    if (mkdir(_name.c_str(), 0777) != 0) {
        throw Failure(Concern::Output, "cannot write " + _name + ": " + std::strerror(errno));
    }
    _folder = open(_name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct stat status = {};
    if (_folder < 0 || (flock(_folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) || fstat(_folder, &status) != 0 ||
        status.st_nlink == 0) {
        if (_folder >= 0) {
            close(_folder);
        }
        throw Failure(Concern::Output, "cannot write " + _name + ": another run is removing it");
    }
}

PassingFolder::~PassingFolder() {
    std::error_code ignored;
    fs::remove_all(_name, ignored);
    close(_folder);
}

}  // namespace Video
