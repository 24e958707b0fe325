// Which videos do these names mean, and what do the names tell of them?  Files, folders with everything below them, patterns
// and the standard input become one list.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "video/time/WallClock.h"

namespace Scan {

struct Input {
    std::string path;          // "-": the standard input; or the address of a source
    std::string trouble = "";  // why it is known not to be a video; empty: nothing against it so far
};

struct InputList {
    std::vector<Input> inputs;  // in the order given, a folder's sorted by name; none twice
    int otherFiles = 0;         // in folders: not listed, no videos by their names
    bool several = false;       // the user named several, a folder or a pattern: results have to name their file
};

// A name that exists is never a pattern. In folders: files with an ending that videos have; what begins with a dot and links
// to folders are not looked at.
InputList FindInputs(const std::vector<std::string>& names);

// Does the name end as videos do?
bool HasVideoName(const std::string& path);

// A pipe or a live source cannot; numbered pictures have no file of their name.
bool CanBeReadTwice(const std::string& input);

// When it was at its start, as its name says; of a file by all of its path, for folders that the user did not name may be
// those of a day; of an address by that. pattern: as --name-time takes it.
std::optional<Video::StartTime> StartByName(const std::string& input, const std::string& pattern);

}  // namespace Scan
