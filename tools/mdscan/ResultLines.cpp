// How are lines of results written?  Called by main and Batch through ResultLines.h.
#include "ResultLines.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace Scan {

ResultLines::ResultLines(const std::string& path, const std::vector<std::string>& inputs) : _file(stdout) {
    if (!path.empty()) {
        _place.emplace(path, inputs);
        _file = std::fopen(_place->PassingPath().c_str(), "wb");
        Check(_file != nullptr);
    }
}

ResultLines::~ResultLines() {
    if (_place && _file) {
        std::fclose(_file);
    }
}

void ResultLines::Check(bool good) const {
    if (!good) {
        const std::string place = _place ? "cannot write " + _place->Path() : "cannot print results";
        throw OutputFailure(exitFailed, place + ": " + std::strerror(errno));
    }
}

void ResultLines::Print(const std::string& line) {
    Check(std::fprintf(_file, "%s\n", line.c_str()) >= 0 && (_place || std::fflush(_file) == 0));
}

void ResultLines::Keep() {
    if (_place && _file) {
        Check(std::fclose(std::exchange(_file, nullptr)) == 0);
        _place->Keep();
    }
}

}  // namespace Scan
