// Where does a file go while it is written?  Beside its place, under a passing name; the real name stands for a whole file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "video/files/PassingFile.h"

namespace Video {

// Without Keep, it leaves nothing behind.
class AtomicFile {
public:
    // Makes the file under its passing name, so that an impossible place is known before the scan.
    // Throws Failure when that fails, when the place holds something that is not a plain file, or an input.
    AtomicFile(std::string path, const std::string& input);
    AtomicFile(std::string path, const std::vector<std::string>& inputs);

    const std::string& Path() const { return _path; }
    const std::string& PassingPath() const { return _passing->Name(); }  // write here

    // Gives the finished file its name, in place of an older one. Throws Failure.
    void Keep();

private:
    std::string _path;
    std::optional<PassingFile> _passing;
};

}  // namespace Video
