// When did a recording begin, by what its file is called?
#pragma once

#include <optional>
#include <string>

#include "video/time/WallClock.h"

namespace Video {

// In place of a pattern: look for the usual forms; for none at all.
inline constexpr const char* usualNameTimes = "auto";
inline constexpr const char* noNameTimes = "none";

// Can names be read by this, "auto", "none" or a NamePattern? Empty, or why not.
std::string FaultOfNameTime(const std::string& pattern);

// path: from the root, where it is a file's, for folders may be named after days. What a recorder writes is its local time;
// without an offset beside it, it is taken for this machine's. A clock that was never set is not believed. Absent: no time
// is found.
// Precondition: no fault of the pattern.
std::optional<StartTime> TimeInName(const std::string& path, const std::string& pattern);

}  // namespace Video
