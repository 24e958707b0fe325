// Where does a file go while it is written?  Beside its place, under a passing name; the real name stands for a whole file.
#pragma once

#include <string>
#include <vector>

namespace Video {

class AtomicFile {
public:
    // Makes the file under its passing name, so that an impossible place is known before the scan.
    // Throws Failure when that fails, when the place holds something that is not a plain file, or an input.
    AtomicFile(std::string path, const std::string& input);
    AtomicFile(std::string path, const std::vector<std::string>& inputs);

    // Without Keep before: leaves nothing behind.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    const std::string& Path() const { return _path; }
    const std::string& PassingPath() const { return _passing; }  // write here

    // Gives the finished file its name, in place of an older one. Throws Failure.
    void Keep();

private:
    std::string _path;
    std::string _passing;
};

}  // namespace Video
