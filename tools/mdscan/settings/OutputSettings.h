// Where does a run write what it finds?
#pragma once

#include <string>

namespace Scan {

// Paths; empty: none.
struct OutputSettings {
    std::string lines;       // file for result lines; empty: standard output
    std::string csv;         // file for a table of events
    std::string report;      // file for a page
    std::string heatmap;     // file, of several inputs a folder, for heat maps
    std::string thumbnails;  // folder for one of every event
    std::string clips;       // likewise
    bool keepsClips = true;  // false: their folder lasts as long as the run, and nothing names them
    std::string join = {};   // file for one video of all events
    std::string background;  // file, of several inputs a folder
    std::string overlay;     // likewise
};

}  // namespace Scan
