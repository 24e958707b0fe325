// Where do lines of results go?  To standard output as they come, or into a file that appears when all are there.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "results/JobResult.h"
#include "results/Records.h"
#include "video/files/AtomicText.h"

namespace Scan {

class JsonOutput {
public:
    // path: empty for standard output. inputs: files that must not be replaced. Throws Failure.
    JsonOutput(const std::string& path, const std::vector<std::string>& inputs);

    // On standard output each is there at once. Throw Failure.
    void Begin(const std::string& scan);  // the first line
    void Take(const Record& record);
    void Finish(const std::string& file, const JobResult& result);  // the line after those of an input

    // Completes the file and gives it its name; without it no file remains. Throws Failure.
    void Keep();

private:
    void Print(const std::string& line);

    std::optional<Video::AtomicText> _text;  // absent: standard output
};

}  // namespace Scan
