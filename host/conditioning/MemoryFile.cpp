// How does a memory get into a file, and back?
#include "conditioning/MemoryFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#include <process.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Host {
namespace {

namespace fs = std::filesystem;
using File = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

#if defined(_WIN32)

// Nobody removes a file that is open: no lock is needed.
File Locked(const std::string& path) { return File(std::fopen(path.c_str(), "wb")); }

bool SeeToDisk(std::FILE* file) { return _commit(_fileno(file)) == 0; }

// A file that is open keeps its name.
bool Rename(File& file, const std::string& from, const std::string& to) {
    file.reset();
    if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
    errno = EACCES;
    return false;
}

int ProcessNumber() { return _getpid(); }

#else

bool Bears(int descriptor, const std::string& name) {
    struct stat own = {}, named = {};
    return fstat(descriptor, &own) == 0 && stat(name.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
           own.st_ino == named.st_ino;
}

// An empty file, locked as long as it is open, so that whoever removes what ended processes left behind can tell that it is
// written; where there are no locks, nobody can. Null: errno says why.
File Locked(const std::string& path) {
    for (;;) {
        const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor < 0) return nullptr;
        flock(descriptor, LOCK_EX);
        if (!Bears(descriptor, path)) {  // removed or renamed by who had the lock before
            close(descriptor);
            continue;
        }
        File file(fdopen(descriptor, "wb"));
        if (!file) close(descriptor);
        return file && ftruncate(descriptor, 0) == 0 ? std::move(file) : nullptr;
    }
}

bool SeeToDisk(std::FILE* file) { return fsync(fileno(file)) == 0; }

// So that the new name survives a power cut, too. Some file systems cannot; the file is whole all the same.
void SeeFolderToDisk(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

bool Rename(File&, const std::string& from, const std::string& to) {
    if (std::rename(from.c_str(), to.c_str()) != 0) return false;
    SeeFolderToDisk(to);
    return true;
}

int ProcessNumber() { return getpid(); }

#endif

// False: errno says why.
bool WriteWhole(std::FILE* file, std::span<const std::uint8_t> bytes) {
    return (bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size()) && std::fflush(file) == 0 &&
           SeeToDisk(file);
}

}  // namespace

std::string SaveMemory(const std::string& path, std::span<const std::uint8_t> bytes) {
    const std::string passing = path + "." + std::to_string(ProcessNumber()) + ".part";
    File file = Locked(passing);
    const bool isOpen = file != nullptr;
    if (isOpen && WriteWhole(file.get(), bytes) && Rename(file, passing, path)) return {};
    std::string failure = "cannot write " + path + ": " + std::strerror(errno);
    if (isOpen && std::remove(passing.c_str()) != 0) {
        file.reset();  // Windows removes no file that is open
        std::remove(passing.c_str());
    }
    return failure;
}

LoadedBytes LoadMemory(const std::string& path) {
    const auto failed = [&](const std::string& reason) {
        return LoadedBytes{std::nullopt, "cannot read " + path + ": " + reason};
    };
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error) return failed(error.message());
    if (!fs::is_regular_file(status)) return failed("is not a plain file");
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > static_cast<std::uintmax_t>(mostMemoryBytes)) return failed("is too large for a memory");
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file) return failed(std::strerror(errno));
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return failed("ends before its length");
    return {std::move(bytes), {}};
}

}  // namespace Host
