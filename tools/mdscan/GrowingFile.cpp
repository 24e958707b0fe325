// Where does a growing text go until it is whole?  Called by ResultLines, CsvTable and HtmlPage through GrowingFile.h.
#include "GrowingFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace Scan {

GrowingFile::GrowingFile(const std::string& path, const std::vector<std::string>& inputs)
    : _place(path, inputs), _file(std::fopen(_place.PassingPath().c_str(), "wb")) {
    Check(_file != nullptr);
}

GrowingFile::~GrowingFile() {
    if (_file) {
        std::fclose(_file);
    }
}

void GrowingFile::Check(bool good) const {
    if (!good) {
        throw OutputFailure(exitFailed, "cannot write " + Path() + ": " + std::strerror(errno));
    }
}

void GrowingFile::Write(const std::string& text) { Check(std::fwrite(text.data(), 1, text.size(), _file) == text.size()); }

void GrowingFile::Keep() {
    if (_file) {
        Check(std::fclose(std::exchange(_file, nullptr)) == 0);
        _place.Keep();
    }
}

}  // namespace Scan
