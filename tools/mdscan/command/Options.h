// What does the user want?  The command line as a record; main reads it once.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "video/time/WallClock.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Scan {

// Of "mdscan explain".
struct Question {
    double at = -1;                           // seconds
    std::optional<std::array<int, 2>> block;  // column and row
    std::optional<std::array<int, 2>> pixel;  // instead of it, x and y
    bool json = false;                        // answer in JSON
};

struct Options {
    std::vector<std::string> inputs;         // files, folders, patterns, "-"
    double rate = 6;                         // pictures analysed per second; 0: all
    bool fast = false;                       // decode only where keyframes differ
    int blockSize = 0;                       // pixels; 0: chosen from the picture's size
    bool shadows = false;                    // drop shadows
    double minSize = 0.03;                   // smallest object, as a fraction of the picture's width and of its height
    double mergeGap = 2;                     // seconds
    double minDuration = 0.5;                // seconds
    double preRoll = 0;                      // seconds
    double postRoll = 0;                     // seconds
    int minBlocks = 1;                       // moving blocks, for a frame to count
    bool track = false;                      // where the largest object went, in every event
    std::string thumbnails;                  // folder for them; empty: none
    std::string clips;                       // folder for them; empty: none
    std::vector<Video::RelativeZone> zones;  // of --zone
    std::string zoneFile;                    // empty: none
    std::string mask;                        // PNG file, a zone like the others; empty: none
    std::vector<Video::Zone> allZones;  // all of these; filled by main, not by the command line. None: the whole picture
    bool showZones = false;             // draw zones instead of scanning: "mdscan zones"
    std::string preview;                // file to draw them into; empty: none
    bool explain = false;               // look into one moment instead: "mdscan explain"
    Question question = {};             // then
    bool frames = false;                // one line per analysed frame, too
    std::string background;             // file to write, of several inputs a folder; empty: none
    std::string overlay;                // likewise
    std::optional<Video::WallTicks> startTime;  // wall clock at the start of the one input
    std::string csv;                            // file for a table of events; empty: none
    std::string heatmap;                        // file, of several inputs a folder, for heat maps; empty: none
    std::string report;                         // file for a page; empty: none
    std::string output;                         // file for result lines; empty: standard output
    std::string resume;                         // file that knows what is finished; empty: none
    int jobs = 1;                               // inputs at a time; 0: one per processor
    std::string config;                         // file of options, read already; empty: the usual one, if there is one
    double reconnect = 60;                      // seconds for which a live source that breaks is tried again
    bool quiet = false;                         // standard error is for what went wrong
    std::string progress = "auto";              // auto: on a terminal; json; none
    int decoderThreads = 0;                     // per input, 0: one per processor; not on the command line
};

// Throws Failure where two results would go to one place. several: of several inputs, some results are folders.
void RefuseSameFileTwice(const Options& options, bool several);

struct Parsed {
    std::optional<Options> options;  // absent: print `text` and leave
    int exitCode;                    // when absent
    std::string text;                // help, version, or one line on what is wrong
};

// arguments: without the program's name. version: answer to --version. usualConfig: configuration file to read unless the
// arguments name another one; empty: none.
Parsed ParseOptions(const std::vector<std::string>& arguments, const std::string& version,
                    const std::string& usualConfig = "");

}  // namespace Scan
