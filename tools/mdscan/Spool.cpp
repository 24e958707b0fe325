// How is a text put aside?  Called by Batch through Spool.h.
#include "Spool.h"

#include <cerrno>
#include <cstring>

#include "Failure.h"

namespace Scan {

Spool::~Spool() {
    if (_file) {
        std::fclose(_file);
    }
}

void Spool::Check(bool good) const {
    if (!good) {
        throw OutputFailure(exitFailed, std::string("cannot use a temporary file: ") + std::strerror(errno));
    }
}

Spool::Place Spool::Add(const std::string& text) {
    if (!_file) {
        _file = std::tmpfile();
        Check(_file != nullptr);
    }
    Check(std::fseek(_file, 0, SEEK_END) == 0);
    const Place place{std::ftell(_file), text.size()};
    Check(std::fwrite(text.data(), 1, text.size(), _file) == text.size());
    return place;
}

std::string Spool::Get(const Place& place) {
    std::string text(place.size, '\0');
    Check(std::fseek(_file, place.offset, SEEK_SET) == 0 && std::fread(text.data(), 1, text.size(), _file) == text.size());
    return text;
}

}  // namespace Scan
