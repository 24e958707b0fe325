// How do those who never meet agree by files?
#include "archive/FolderStore.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "video/base/Failure.h"

namespace Scan {

namespace {

constexpr std::string_view resultEnding = ".result";
constexpr int mostTries = 100;  // to lock a file that others finish meanwhile

// Does the file that was opened under this name still bear it?  Else somebody has finished it or given it back.
bool StillBears(int file, const std::string& name) {
    struct stat own = {}, named = {};
    return fstat(file, &own) == 0 && lstat(name.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
           own.st_ino == named.st_ino;
}

// 0, or the error.
int LockNow(int file) {
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int WriteAll(int file, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(file, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    return 0;
}

}  // namespace

FolderStore::FolderStore(const std::string& folder) : _folder(folder) {
    _descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (_descriptor < 0) {
        throw Video::Failure(Video::Concern::Input, "cannot open " + folder + ": " + std::strerror(errno));
    }
}

FolderStore::~FolderStore() {
    while (!_taken.empty()) {
        GiveBack(std::string(_taken.begin()->first));
    }
    close(_descriptor);
}

std::string FolderStore::PartOf(const std::string& key) const { return _folder + "/" + key + ".part"; }

std::string FolderStore::ResultOf(const std::string& key) const { return _folder + "/" + key + std::string(resultEnding); }

bool FolderStore::IsDone(const std::string& key) const { return access(ResultOf(key).c_str(), F_OK) == 0; }

void FolderStore::Fail(const std::string& what, const std::string& path, int error) const {
    throw Video::Failure(Video::Concern::Output, "cannot " + what + " " + path + ": " + std::strerror(error));
}

Taking FolderStore::Take(const std::string& key) {
    const std::string part = PartOf(key);
    for (int attempt = 0; attempt < mostTries; ++attempt) {
        if (IsDone(key)) {
            return Taking::Done;
        }
        const int file = open(part.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (file < 0) {
            Fail("write", part, errno);
        }
        if (const int error = LockNow(file); error != 0) {
            close(file);
            if (error == EWOULDBLOCK) {
                return Taking::Held;
            }
            Fail("lock", part, error);
        }
        if (!StillBears(file, part)) {
            close(file);
            continue;
        }
        _taken[key] = file;
        if (IsDone(key)) {  // since it was looked for
            GiveBack(key);
            return Taking::Done;
        }
        return Taking::Taken;
    }
    return Taking::Held;
}

// The name first: whoever gets the lock next finds that the file has lost it.
void FolderStore::GiveBack(const std::string& key) {
    if (const auto taken = _taken.find(key); taken != _taken.end()) {
        unlink(PartOf(key).c_str());
        close(taken->second);
        _taken.erase(taken);
    }
}

void FolderStore::Keep(const std::string& key, const std::string& line) {
    const std::string part = PartOf(key), result = ResultOf(key);
    const int file = _taken.at(key);
    int error = ftruncate(file, 0) == 0 ? WriteAll(file, line + "\n") : errno;  // a process that ended may have begun it
    error = error == 0 && fsync(file) != 0 ? errno : error;
    error = error == 0 && std::rename(part.c_str(), result.c_str()) != 0 ? errno : error;
    if (error != 0) {
        GiveBack(key);
        Fail("write", result, error);
    }
    close(file);
    _taken.erase(key);
    if (fsync(_descriptor) != 0) {
        Fail("write", _folder, errno);
    }
}

std::optional<std::string> FolderStore::Read(const std::string& key) {
    const std::string path = ResultOf(key);
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        Fail("open", path, errno);
    }
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

void FolderStore::Discard(const std::string& key) {
    const std::string path = ResultOf(key);
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        Fail("remove", path, errno);
    }
}

std::set<std::string> FolderStore::List() {
    std::set<std::string> keys;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(_folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().native();
        if (name.ends_with(resultEnding)) {
            keys.insert(name.substr(0, name.size() - resultEnding.size()));
        }
    }
    return keys;
}

}  // namespace Scan
