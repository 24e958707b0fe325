// Is this line of a file the one that was written?  A checksum before it tells.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Video {

// "1a2b3c4d TEXT", the CRC-32 of the text in front. text: without the end of a line.
std::string Checked(const std::string& text);

// The text of such a line. Absent: it is none, or not as it was written; up to 32 bits in a row are always noticed.
std::optional<std::string_view> Verified(std::string_view line);

}  // namespace Video
