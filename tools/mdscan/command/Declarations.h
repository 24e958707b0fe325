// Which options are there, and what may they say?
#pragma once

#include <string>
#include <vector>

#include "command/Options.h"

namespace CLI {
class App;
}

namespace Scan {

// What options say that is not a plain value.
struct Words {
    std::vector<std::string> zones;
    std::vector<std::string> blocks;  // of explain: places and sizes
    std::string from, to;
    std::string at;
    std::string pixel;
};

// Thrown out of the parser by --write-config.
struct CallForTemplate {};

// All that can be said on the command line, and most of it in a configuration file; options says already whether it is about
// zones or explain. What is parsed goes to options and words, which must outlive the app.
void Declare(CLI::App& app, Options& options, Words& words, const std::string& version);

// The words of a plan that decide what is found, on whatever machine they are parsed again; zones are not among them.
std::vector<std::string> PlannedWords(const CLI::App& app);

// Puts words in their places. Empty, or what is wrong with them.
std::string TakeIn(const Words& words, Options& options);

}  // namespace Scan
