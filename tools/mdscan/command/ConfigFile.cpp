// How is a configuration file read, and a template written?
//
// CLI11 has a reader of its own. It ignores lines that it does not understand, cuts values at a # within quotes and does
// not know in which line a value stood: a wrong file would not be noticed, or not where it is wrong.
#include "command/ConfigFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <CLI/CLI.hpp>

#include "video/base/Failure.h"

namespace Scan {

namespace {

namespace fs = std::filesystem;

constexpr const char* blanks = " \t\r";

constexpr const char* preface =
    "# Configuration of mdscan. What stands here holds wherever the command line says nothing else.\n"
    "#\n"
    "# Looked for as mdscan.conf in $XDG_CONFIG_HOME, else in ~/.config; --config FILE names another one. A line is\n"
    "# \"name = value\", with the name of an option; text may be put in quotes. Below are all names with their defaults:\n"
    "# take the # away before those that you change.\n";

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// What remains of a line without its comment: a # at its beginning or behind a blank, outside quotes.
std::string WithoutComment(const std::string& line) {
    char quote = '\0';
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool mayBegin = i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t';
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if ((c == '"' || c == '\'') && Trimmed(line.substr(0, i)).ends_with('=')) {
            quote = c;
        } else if (c == '#' && mayBegin) {
            return line.substr(0, i);
        }
    }
    return line;
}

// "What counts, as in: mdscan ..." without the example.
std::string Heading(const std::string& group) { return group.substr(0, group.find(", as in")); }

}  // namespace

// What is quoted of the file may be of any length, and hold anything.
std::string PlaceInConfig(const std::string& path, int line, const std::string& what) {
    constexpr std::size_t longest = 240;  // bytes
    constexpr const char* digits = "0123456789abcdef";
    std::string text = path + ": line " + std::to_string(line) + ": ";
    for (const char c : what.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isControl = byte < ' ' || byte == 0x7F;
        text += isControl ? std::string("\\x") + digits[byte >> 4] + digits[byte & 15] : std::string(1, c);
    }
    return text + (what.size() > longest ? "..." : "");
}

std::vector<Setting> ReadSettings(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::error_code ignored;
    if (!file || fs::is_directory(path, ignored)) {
        throw Video::Failure(Video::Concern::Usage, path + ": cannot be read");
    }
    std::vector<Setting> settings;
    int number = 0;
    for (std::string whole; std::getline(file, whole);) {
        ++number;
        const auto expect = [&](bool good, const std::string& what) {
            if (!good) {
                throw Video::Failure(Video::Concern::Usage, PlaceInConfig(path, number, what));
            }
        };
        const std::string line = Trimmed(WithoutComment(whole));
        if (line.empty()) {
            continue;
        }
        const std::size_t middle = line.find('=');
        expect(middle != std::string::npos, "must be \"name = value\", not " + line);
        const std::string name = Trimmed(line.substr(0, middle));
        expect(!name.empty(), "there is no name before the =");
        std::string value = Trimmed(line.substr(middle + 1));
        if (!value.empty() && (value.front() == '"' || value.front() == '\'')) {
            const bool closed = value.size() > 1 && value.find(value.front(), 1) == value.size() - 1;
            expect(closed, "the quotes of " + name + " must enclose all of its value");
            value = value.substr(1, value.size() - 2);
        }
        expect(!value.empty(), name + " has no value");
        settings.push_back({number, name, value});
    }
    return settings;
}

std::string UsualConfigFile() {
    const char* const folder = std::getenv("XDG_CONFIG_HOME");
    const char* const home = std::getenv("HOME");
    fs::path path;
    if (folder && *folder == '/') {  // relative ones are to be ignored
        path = folder;
    } else if (home && *home == '/') {
        path = fs::path(home) / ".config";
    } else {
        return "";
    }
    path /= "mdscan.conf";
    std::error_code ignored;
    return fs::exists(path, ignored) ? path.string() : "";
}

std::string ConfigTemplate(const CLI::App& declarations) {
    std::string text = preface;
    std::string group;
    for (const CLI::Option* option : declarations.get_options()) {
        if (!option->get_configurable() || option->get_lnames().empty()) {
            continue;
        }
        if (group != option->get_group()) {
            group = option->get_group();
            text += "\n# ---- " + Heading(group) + " ----\n";
        }
        const bool isFlag = option->get_expected_min() == 0;
        const std::string given = option->get_default_str();
        const std::string value = isFlag ? "false" : given.empty() ? option->get_type_name() : given;
        text += "\n# " + option->get_description() + "\n#" + option->get_lnames().front() + " = " + value + "\n";
    }
    return text;
}

}  // namespace Scan
