// What does a configuration file say?  Lines of "name = value" whose names are those of the options.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Scan {

struct Setting {
    int line;           // of the file, from 1
    std::string name;   // of an option, without the dashes
    std::string value;  // as it would stand on the command line
};

// The file's settings in order, whatever their names are. Throws Failure: one line with file and line.
std::vector<Setting> ReadSettings(const std::string& path);

// "file: line 3: what": how all complaints about a configuration file begin.
std::string PlaceInConfig(const std::string& path, int line, const std::string& what);

// Where people keep such a file: mdscan.conf in $XDG_CONFIG_HOME, else in ~/.config. Empty where there is none.
std::string UsualConfigFile();

// A file with a comment and a line for every option that may stand in one; every line is commented out and has the default.
std::string ConfigTemplate(const CLI::App& declarations);

}  // namespace Scan
