// Is there a folder to write into?
#pragma once

#include <string>

namespace Video {

// Also where it is there already; makes those above it, too. Throws Failure.
void MakeFolder(const std::string& path);

}  // namespace Video
