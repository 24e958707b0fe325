// How is the command line read, together with a configuration file?
#include "command/Options.h"

#include <algorithm>
#include <map>
#include <utility>

#include <CLI/CLI.hpp>

#include "command/ConfigFile.h"
#include "command/Declarations.h"
#include "results/VisibleText.h"
#include "video/base/Failure.h"

namespace Scan {

namespace {

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// Takes the words in the order in which they stand.
void Parse(CLI::App& app, const std::vector<std::string>& words) {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // reversed, as the parser wants them
}

// "--rate: must be ..." as said of a setting.
std::string WithoutDashes(const std::string& complaint, const std::string& name) {
    const std::string start = "--" + name + ": ";
    return OneLine(complaint.rfind(start, 0) == 0 ? name + " " + complaint.substr(start.size()) : complaint);
}

// The word that says the same on the command line. Throws Failure.
std::string WordOf(const Setting& setting, const std::string& path) {
    const auto expect = [&](bool good, const std::string& what) {
        if (!good) {
            throw Video::Failure(Video::Concern::Usage, PlaceInConfig(path, setting.line, what));
        }
    };
    Options trial;
    Words words;
    CLI::App app;
    Declare(app, trial, words, "");
    const CLI::Option* option = app.get_option_no_throw("--" + setting.name);
    expect(option && option->get_configurable(),
           "unknown name \"" + setting.name + "\", mdscan --write-config lists those known");
    const bool isSwitch = setting.value == "true" || setting.value == "false";
    expect(option->get_expected_min() > 0 || isSwitch, setting.name + " must be true or false, not " + setting.value);
    std::string word = "--" + setting.name + "=" + setting.value;
    try {
        Parse(app, {word, "-"});
    } catch (const CLI::ParseError& error) {
        expect(false, WithoutDashes(error.what(), setting.name));
    }
    return word;
}

// Words for all that the file sets and the command line does not. given: what the command line said. Throws Failure.
std::vector<std::string> WordsOfFile(const std::string& path, const CLI::App& given) {
    std::vector<std::string> words;
    std::map<std::string, int> lines;  // of the names seen
    for (const Setting& setting : ReadSettings(path)) {
        const std::string word = WordOf(setting, path);
        const CLI::Option* option = given.get_option_no_throw("--" + setting.name);
        const auto [earlier, isNew] = lines.try_emplace(setting.name, setting.line);
        if (!isNew && !(option && option->get_expected_max() > 1)) {
            throw Video::Failure(Video::Concern::Usage, PlaceInConfig(path, setting.line,
                                                                      setting.name + " is given twice, first in line " +
                                                                          std::to_string(earlier->second)));
        }
        if (option && (option->count() == 0 || setting.name == "block")) {  // the last --block wins, see TakeIn
            words.push_back(word);
        }
    }
    return words;
}

// The option that was given twice where one value is wanted; empty: none.
std::string Doubled(const CLI::App& app) {
    for (const CLI::Option* option : app.get_options()) {
        const bool isFlag = option->get_expected_min() == 0;
        if (!isFlag && option->get_expected_max() == 1 && option->count() > 1) {
            return option->get_name();
        }
    }
    return "";
}

ArchiveVerb VerbOf(const std::vector<std::string>& words) {
    const std::string first = words.empty() ? "" : words.front();
    return first == "plan"     ? ArchiveVerb::Plan
           : first == "work"   ? ArchiveVerb::Work
           : first == "gather" ? ArchiveVerb::Gather
           : first == "farm"   ? ArchiveVerb::Farm
                               : ArchiveVerb::None;
}

// Without the second of two empty lines and an empty last one, which would not fit on a screen.
std::string HelpOf(const CLI::App& app) {
    std::string text = app.help();
    if (text.ends_with("\n\n")) {
        text.pop_back();
    }
    for (std::size_t place = 0; (place = text.find("\n\n\n", place)) != std::string::npos;) {
        text.erase(place, 1);
    }
    return text;
}

}  // namespace

Parsed ParseOptions(const std::vector<std::string>& all, const std::string& version, const std::string& usualConfig) {
    Options options;
    options.showZones = !all.empty() && all.front() == "zones";
    options.explain = !all.empty() && all.front() == "explain";
    options.verb = VerbOf(all);
    const bool isCommand = options.showZones || options.explain || options.verb != ArchiveVerb::None;
    std::vector<std::string> words(all.begin() + (isCommand ? 1 : 0), all.end());
    Words notPlain;
    CLI::App app;
    Declare(app, options, notPlain, version);
    const auto refuse = [](const std::string& what) {
        return Parsed{std::nullopt, Video::exitUsage, "mdscan: " + Visible(what) + "\n"};
    };
    try {
        Parse(app, words);
        const std::string config = options.config.empty() ? usualConfig : options.config;
        if (!config.empty()) {
            const std::vector<std::string> settings = WordsOfFile(config, app);
            words.insert(words.begin(), settings.begin(), settings.end());
            Parse(app, words);
        }
    } catch (const CLI::CallForHelp&) {
        return {std::nullopt, Video::exitComplete, HelpOf(app)};
    } catch (const CLI::CallForVersion&) {
        return {std::nullopt, Video::exitComplete, version + "\n"};
    } catch (const CallForTemplate&) {
        return {std::nullopt, Video::exitComplete, ConfigTemplate(app)};
    } catch (const CLI::ParseError& error) {
        const std::string doubled = Doubled(app);
        return refuse((doubled.empty() ? OneLine(error.what()) : doubled + " is given twice") + " (see mdscan --help)");
    } catch (const Video::Failure& failure) {
        return refuse(failure.what());
    }
    if (options.verb == ArchiveVerb::Plan) {
        options.words = PlannedWords(app);
    }
    const std::string trouble = TakeIn(notPlain, options);
    if (!trouble.empty()) {
        return refuse(trouble + " (see mdscan --help)");
    }
    if (options.scan.fast && !options.outputs.overlay.empty()) {
        return refuse("--overlay shows every picture, --fast decodes few (see mdscan --help)");
    }
    if (options.scan.minSize.value_or(0) > options.scan.maxSize) {
        return refuse("--max-size is smaller than --min-size (see mdscan --help)");
    }
    if (!options.scan.condition && !options.scan.memory.empty()) {
        return refuse("--condition none is the plain detector, which has no --memory (see mdscan --help)");
    }
    return {options, Video::exitComplete, ""};
}

}  // namespace Scan
