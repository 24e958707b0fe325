// What does the user want?  The command line and the configuration file as a record; only main sees all of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ask/Question.h"
#include "settings/OutputSettings.h"
#include "settings/RunSettings.h"
#include "settings/ScanSettings.h"
#include "video/time/TickTime.h"
#include "video/zones/ZoneSources.h"

namespace Scan {

// What is done with an archive, whose work is shared out: "mdscan plan", "work", "gather", "farm".
enum class ArchiveVerb { None, Plan, Work, Gather, Farm };

// Of a plan in a database.
struct FarmWords {
    std::string at;     // address of the database; empty: no farm is meant, or the environment says it
    double lease = 60;  // seconds after which a silent worker is taken for dead
    bool json = false;  // of status, like the others
    bool prometheus = false;
    bool watch = false;
};

struct Options {
    std::vector<std::string> inputs;  // files, folders, patterns, "-"
    ScanSettings scan;                // but for the zones, which are still to be read
    Video::ZoneSources zones;
    OutputSettings outputs;
    RunSettings run;
    bool showZones = false;                // draw zones instead of scanning: "mdscan zones"
    std::string preview;                   // file to draw them into; empty: none
    std::string edit;                      // page to draw them on; empty: none
    bool explain = false;                  // look into one moment instead: "mdscan explain"
    Question question = {};                // then
    ArchiveVerb verb = ArchiveVerb::None;  // instead
    std::vector<std::string> roots;        // then: NAME=FOLDER
    std::string folder;                    // of results; empty: a farm has them
    int job = 0;                           // of work: the only one that is done, from 1; 0: all
    Video::Ticks split = 0;                // of plan: of a part of a long video; 0: none is split
    bool byContent = false;                // of plan: the content of videos tells that they are the same
    FarmWords farm = {};
    std::vector<std::string> words;  // of plan: those that decide what is found, but for zones
    std::string config;              // file of options, read already; empty: the usual one, if there is one
};

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
