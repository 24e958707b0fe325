// Where do lines of results go?  To standard output as they come, or into a file that appears when all are there; main makes
// one, a single scan or Batch prints through it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "video/files/AtomicText.h"

namespace Scan {

class ResultLines {
public:
    // path: empty for standard output. inputs: files that must not be replaced. Throws Failure.
    ResultLines(const std::string& path, const std::vector<std::string>& inputs);

    // One line, given without its end; on standard output it is there at once. Throws Failure.
    void Print(const std::string& line);

    // Completes the file and gives it its name; without it no file remains. Throws Failure.
    void Keep();

private:
    std::optional<Video::AtomicText> _text;  // absent: standard output
};

}  // namespace Scan
