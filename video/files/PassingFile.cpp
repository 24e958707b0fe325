// How do those who write files and those who remove leftovers keep out of each other's way?
//
// Whoever holds the lock of a file may remove it, nobody else. A writer's file has no lock yet when it comes into being:
// once it has one, it looks whether the file was removed before, and makes another one. Who removes looks whether the file
// that it has locked still bears the name: its writer may have finished and renamed it.
#include "video/files/PassingFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "video/base/Failure.h"

namespace Video {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view ending = ".part";
constexpr int mostAttempts = 100;  // to find a name: processes of one number meet where containers share a folder

enum class Hold { Taken, Denied, Unknown };

Hold TryLock(int file) {
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR) {
            return errno == EWOULDBLOCK ? Hold::Denied : Hold::Unknown;  // there are file systems without locks
        }
    }
    return Hold::Taken;
}

bool IsRemoved(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && status.st_nlink == 0;
}

bool Bears(int file, const std::string& name) {
    struct stat own = {}, named = {};
    return fstat(file, &own) == 0 && S_ISREG(own.st_mode) && lstat(name.c_str(), &named) == 0 &&
           own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

// "123" or "123.4".
bool IsNumber(std::string_view text) {
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    if (digits > 0 && digits < text.size() && text[digits] == '.') {
        return text.size() > digits + 1 && text.find_first_not_of("0123456789", digits + 1) == std::string_view::npos;
    }
    return digits > 0 && digits == text.size();
}

void RemoveUnlessWritten(const std::string& name) {
    const int file = open(name.c_str(), O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    if (TryLock(file) == Hold::Taken && Bears(file, name)) {
        unlink(name.c_str());
    }
    close(file);
}

// Names that end as passing files do. Of each folder once: with a picture per event, looking anew for every file would take
// longer than the scan.
const std::set<std::string>& PassingNames(const fs::path& folder) {
    static std::map<fs::path, std::set<std::string>> known;
    const auto [entry, isNew] = known.try_emplace(folder);
    if (isNew) {
        std::error_code error;
        for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error)) {
            const std::string name = file->path().filename().native();
            if (name.ends_with(ending)) {
                entry->second.insert(name);
            }
        }
    }
    return entry->second;
}

}  // namespace

bool IsPassingNameOf(std::string_view name, std::string_view passing) {
    const std::size_t rest = name.size() + 1 + ending.size();
    return passing.size() > rest && passing.starts_with(name) && passing[name.size()] == '.' && passing.ends_with(ending) &&
           IsNumber(passing.substr(name.size() + 1, passing.size() - rest));
}

void RemoveLeftovers(const std::string& path, const std::vector<std::string>& inputs) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const fs::path folder = fs::path(path).has_parent_path() ? fs::path(path).parent_path() : fs::path(".");
    const std::string own = fs::path(path).filename().native(), begin = own + ".";
    const std::set<std::string>& names = PassingNames(folder);
    for (auto name = names.lower_bound(begin); name != names.end() && name->starts_with(begin); ++name) {
        if (IsPassingNameOf(own, *name)) {
            const fs::path file = folder / *name;
            std::error_code ignored;
            const auto isInput = [&](const std::string& input) { return fs::equivalent(file, input, ignored); };
            if (std::none_of(inputs.begin(), inputs.end(), isInput)) {
                RemoveUnlessWritten(file.native());
            }
        }
    }
}

PassingFile::PassingFile(const std::string& path, const std::vector<std::string>& inputs) {
    RemoveLeftovers(path, inputs);
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        _name = path + "." + std::to_string(getpid());
        if (attempt > 0) {
            _name += '.';
            _name += std::to_string(attempt);
        }
        _name += ending;
        _file = open(_name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (_file < 0 && errno == EEXIST) {
            continue;
        }
        if (_file < 0) {
            break;
        }
        if (TryLock(_file) != Hold::Denied && !IsRemoved(_file)) {
            return;
        }
        close(_file);
        errno = EEXIST;
    }
    throw Failure(Concern::Output, "cannot write " + path + ": " + std::strerror(errno));
}

PassingFile::~PassingFile() {
    if (!_renamed) {
        unlink(_name.c_str());
    }
    close(_file);
}

bool PassingFile::RenameTo(const std::string& path) {
    _renamed = _renamed || std::rename(_name.c_str(), path.c_str()) == 0;
    return _renamed;
}

}  // namespace Video
