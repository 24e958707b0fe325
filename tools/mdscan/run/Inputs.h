// Which videos do these names mean?  Files, folders with everything below them, patterns and the standard input become one
// list.
#pragma once

#include <string>
#include <vector>

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

}  // namespace Scan
