// Which versions are at work?  Those of the libraries that run, and of the headers where they differ.
#pragma once

#include <array>
#include <string>

namespace Scan {

using VersionNumbers = std::array<int, 3>;  // major, minor, patch

// "name 1.2.3", or "name 1.2.3 (built with 1.2.0)".
std::string VersionOf(const std::string& name, const VersionNumbers& running, const VersionNumbers& built);

// Two lines: mdscan with coreMD, FFmpeg with its libraries.
std::string VersionText();

}  // namespace Scan
