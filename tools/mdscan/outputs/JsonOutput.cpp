// How are lines of results written?
#include "outputs/JsonOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "outputs/Camera.h"
#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "video/base/Failure.h"

namespace Scan {

JsonOutput::JsonOutput(const std::string& path, const std::vector<std::string>& inputs) {
    if (!path.empty()) {
        _text.emplace(path, inputs);
    }
}

void JsonOutput::Print(const std::string& line) {
    if (_text) {
        _text->Write(line + "\n");
    } else if (std::printf("%s\n", line.c_str()) < 0 || std::fflush(stdout) != 0) {
        throw Video::Failure(Video::Concern::Output, std::string("cannot print results: ") + std::strerror(errno));
    }
}

void JsonOutput::Begin(const std::string& scan) { Print(scan); }

void JsonOutput::Take(const Record& record) { Print(LineOf(record)); }

void JsonOutput::Finish(const std::string& file, const JobResult& result) { Print(FileLine(file, CameraOf(file), result)); }

void JsonOutput::Keep() {
    if (_text) {
        _text->Keep();
    }
}

}  // namespace Scan
