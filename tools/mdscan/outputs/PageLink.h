// How does a page point at a file?  By a relative address, so that a folder with page and recordings can be moved.
#pragma once

#include <string>

namespace Scan {

// Whatever bytes the names are made of: nothing but letters, digits and "-._~/%", and never a scheme. "../cam/a%20b.mp4".
std::string LinkFrom(const std::string& page, const std::string& target);

}  // namespace Scan
