// How is it known that all of them are written?
#include "video/files/FileBytes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "video/base/Failure.h"

namespace Video {

void WriteBytes(const std::string& bytes, const AtomicFile& file) {
    std::FILE* out = std::fopen(file.PassingPath().c_str(), "wb");
    const bool written = out && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() && std::fflush(out) == 0;
    int error = errno;
    const bool closed = out && std::fclose(out) == 0;
    error = written ? errno : error;
    if (!written || !closed) {
        throw Failure(Concern::Output, "cannot write " + file.Path() + ": " + std::strerror(error));
    }
}

}  // namespace Video
