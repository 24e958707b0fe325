// Where do files go that only live as long as a run?  Into a folder beside what is made of them, under a passing name.
#pragma once

#include <string>

namespace Video {

class PassingFolder {
public:
    // Makes "PATH.NUMBER.part", empty, with the number of this process, and removes those of this path that ended processes
    // have left behind. Throws Failure.
    explicit PassingFolder(const std::string& path);

    // Removes it with all that it holds.
    ~PassingFolder();
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

    const std::string& Name() const { return _name; }

private:
    std::string _name;
    int _folder = -1;  // descriptor, which holds the lock
};

}  // namespace Video
