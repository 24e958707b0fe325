// How long does one wait for a pipe?
#include "video/media/PipeReader.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/mem.h>
}

#include "video/base/Failure.h"
#include "video/media/Connection.h"

namespace Video {

namespace {

constexpr int bufferSize = 1 << 15;  // bytes
constexpr int pollInterval = 100;    // milliseconds; how late the end of patience may be noticed

}  // namespace

bool PipeReader::Reads(const std::string& path) {
    struct stat status = {};
    return path == standardInput ? fstat(STDIN_FILENO, &status) == 0 && !S_ISREG(status.st_mode)
                                 : stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

PipeReader::PipeReader(const std::string& path, const Patience& patience, std::function<void()> onWait)
    : _patience(patience),
      _file(path == standardInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)),
      _owned(path != standardInput),
      _onWait(_owned ? std::move(onWait) : nullptr) {
    if (_file < 0) {
        throw Failure(Concern::Input, std::string("cannot open: ") + std::strerror(errno));
    }
    auto* const buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    _context =
        buffer ? avio_alloc_context(
                     buffer, bufferSize, 0, this,
                     [](void* self, std::uint8_t* to, int size) { return static_cast<PipeReader*>(self)->Read(to, size); },
                     nullptr, nullptr)
               : nullptr;
    if (!_context) {
        av_free(buffer);
        if (_owned) {
            close(_file);
        }
        throw std::bad_alloc();
    }
}

PipeReader::~PipeReader() {
    av_freep(&_context->buffer);
    avio_context_free(&_context);
    if (_owned) {
        close(_file);
    }
}

// A pipe that nobody has opened for writing is silent; to read from it all the same is to reach an end, which counts only
// once there was a beginning.
int PipeReader::Read(unsigned char* to, int size) {
    while (!_patience.IsOver()) {
        pollfd waiting = {_file, POLLIN, 0};
        const bool isSilent = poll(&waiting, 1, pollInterval) <= 0;
        if (isSilent && !_onWait) {
            continue;
        }
        const auto onWait = std::exchange(_onWait, nullptr);
        const ssize_t got = read(_file, to, static_cast<std::size_t>(size));
        if (isSilent && got == 0) {
            onWait();
            continue;
        }
        if (got > 0) {
            return static_cast<int>(got);
        }
        if (got == 0) {
            return AVERROR_EOF;
        }
        if (errno != EINTR && errno != EAGAIN) {
            return AVERROR(errno);
        }
    }
    return AVERROR_EXIT;
}

}  // namespace Video
