// How is a text put aside?
#include "run/SpillFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/types.h>
#include <unistd.h>

#include "video/base/Failure.h"

namespace Scan {

SpillFile::~SpillFile() {
    if (_file) {
        std::fclose(_file);
    }
}

void SpillFile::Check(bool good) const {
    if (!good) {
        throw Video::Failure(Video::Concern::System, std::string("cannot use a temporary file: ") + std::strerror(errno));
    }
}

SpillFile::Place SpillFile::Add(const std::string& text) {
    if (!_file) {
        _file = std::tmpfile();
        Check(_file != nullptr);
    }
    const Place place{_size, text.size()};
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = pwrite(fileno(_file), text.data() + done, text.size() - done, _size);
        Check(written > 0 || (written < 0 && errno == EINTR));
        done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        _size += std::max<ssize_t>(written, 0);
    }
    return place;
}

std::string SpillFile::Get(const Place& place) {
    std::string text(place.size, '\0');
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t got =
            pread(fileno(_file), text.data() + done, text.size() - done, place.offset + static_cast<long>(done));
        Check(got > 0 || (got < 0 && errno == EINTR));
        done += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    }
    return text;
}

}  // namespace Scan
