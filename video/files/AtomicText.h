// How is a text of unknown length written, whole or not at all?
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "video/files/AtomicFile.h"

namespace Video {

class AtomicText {
public:
    // inputs: files that must not be replaced. Throws Failure.
    AtomicText(const std::string& path, const std::vector<std::string>& inputs);
    ~AtomicText();
    AtomicText(const AtomicText&) = delete;
    AtomicText& operator=(const AtomicText&) = delete;

    const std::string& Path() const { return _place.Path(); }

    // Under the file's passing name. Throws Failure.
    void Write(const std::string& text);

    // Completes the file and gives it its name; without it no file remains. Once is enough. Throws Failure.
    void Keep();

private:
    void Check(bool good) const;

    AtomicFile _place;
    std::FILE* _file;  // owned; null once closed
};

}  // namespace Video
