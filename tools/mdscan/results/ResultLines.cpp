// How are lines of results written?  Called by main and Batch through ResultLines.h.
#include "results/ResultLines.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "video/base/Failure.h"

namespace Scan {

ResultLines::ResultLines(const std::string& path, const std::vector<std::string>& inputs) {
    if (!path.empty()) {
        _text.emplace(path, inputs);
    }
}

void ResultLines::Print(const std::string& line) {
    if (_text) {
        _text->Write(line + "\n");
    } else if (std::printf("%s\n", line.c_str()) < 0 || std::fflush(stdout) != 0) {
        throw Video::Failure(Video::Concern::Output, std::string("cannot print results: ") + std::strerror(errno));
    }
}

void ResultLines::Keep() {
    if (_text) {
        _text->Keep();
    }
}

}  // namespace Scan
