// How does a picture travel between processes and runs?  As one line of text.
#pragma once

#include <string>

#include "results/ScanPictures.h"

namespace Scan {

// One line without its end.
std::string LineOf(const ScanPicture& picture);

// Throws std::exception when the line is not what LineOf made.
ScanPicture PictureOf(const std::string& line);

// Bytes as letters, digits, "+", "/" and "=".
std::string Base64(const std::string& bytes);

// And back. Throws std::exception.
std::string Unbase64(const std::string& text);

}  // namespace Scan
