// Where does a growing text go until it is whole?
#include "video/files/AtomicText.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "video/base/Failure.h"

namespace Video {

AtomicText::AtomicText(const std::string& path, const std::vector<std::string>& inputs)
    : _place(path, inputs), _file(std::fopen(_place.PassingPath().c_str(), "wb")) {
    Check(_file != nullptr);
}

AtomicText::~AtomicText() {
    if (_file) {
        std::fclose(_file);
    }
}

void AtomicText::Check(bool good) const {
    if (!good) {
        throw Failure(Concern::Output, "cannot write " + Path() + ": " + std::strerror(errno));
    }
}

// Nothing waits in memory: what cannot be written is known at once, and to whoever asked for it.
void AtomicText::Write(const std::string& text) {
    Check(std::fwrite(text.data(), 1, text.size(), _file) == text.size() && std::fflush(_file) == 0);
}

void AtomicText::Keep() {
    if (_file) {
        Check(std::fclose(std::exchange(_file, nullptr)) == 0);
        _place.Keep();
    }
}

}  // namespace Video
