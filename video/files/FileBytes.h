// How do bytes that are all at hand become a file?
#pragma once

#include <string>

#include "video/files/AtomicFile.h"

namespace Video {

// Under the file's passing name. Throws Failure with the system's reason.
void WriteBytes(const std::string& bytes, const AtomicFile& file);

}  // namespace Video
