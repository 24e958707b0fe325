// How is a text of unknown length written, whole or not at all?  Results that grow while the scan runs: lines, table, page.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ResultFile.h"

namespace Scan {

class GrowingFile {
public:
    // inputs: files that must not be replaced. Throws Failure.
    GrowingFile(const std::string& path, const std::vector<std::string>& inputs);
    ~GrowingFile();
    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    const std::string& Path() const { return _place.Path(); }

    // Under the file's passing name. Throws OutputFailure.
    void Write(const std::string& text);

    // Completes the file and gives it its name; without it no file remains. Once is enough. Throws OutputFailure.
    void Keep();

private:
    void Check(bool good) const;

    ResultFile _place;
    std::FILE* _file;  // owned; null once closed
};

}  // namespace Scan
