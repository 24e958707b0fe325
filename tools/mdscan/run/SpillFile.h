// Where do large texts wait until it is their turn?  In a nameless temporary file, so that memory does not grow.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace Scan {

class SpillFile {
public:
    struct Place {
        long offset;       // bytes
        std::size_t size;  // bytes
    };

    SpillFile() = default;
    ~SpillFile();
    SpillFile(const SpillFile&) = delete;
    SpillFile& operator=(const SpillFile&) = delete;

    // Both throw Failure.
    Place Add(const std::string& text);
    std::string Get(const Place& place);

private:
    void Check(bool good) const;

    // Made when needed, gone with the process. Only its descriptor is used: children share the place where a stream stands,
    // and move it when they end.
    std::FILE* _file = nullptr;
    long _size = 0;  // bytes
};

}  // namespace Scan
