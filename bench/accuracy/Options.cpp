// How is the command line read?
#include "Options.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "tools/mdscan/settings/ScanSettings.h"
#include "video/base/Failure.h"
#include "video/watch/Conditioning.h"

namespace Accuracy {

namespace {

[[noreturn]] void Refuse(const std::string& what) { throw Video::Failure(Video::Concern::Usage, what); }

// Words one after another, each with the value that may follow it.
class Words {
public:
    explicit Words(const std::vector<std::string>& words) : _words(words) {}

    bool Next() { return ++_at < _words.size(); }
    const std::string& Word() const { return _words[_at]; }

    const std::string& Value(const std::string& kind) {
        const std::string option = Word();
        if (!Next()) {
            Refuse(option + " wants " + kind);
        }
        return Word();
    }

    double Number(double low, double high) {
        const std::string option = Word();
        Value("a number");
        char* end = nullptr;  // after the number
        const double value = std::strtod(Word().c_str(), &end);
        if (Word().empty() || *end != '\0' || !(value >= low && value <= high)) {
            Refuse(option + ": " + Word() + " is no number from " + std::to_string(low) + " to " + std::to_string(high));
        }
        return value;
    }

    // By its place among the words.
    template <typename Choice, typename List>
    Choice OneOf(const List& choices) {
        const std::string option = Word();
        const auto* const found = std::find(choices.begin(), choices.end(), Value("a word"));
        if (found == choices.end()) {
            Refuse(option + ": " + Word() + " is none of its words");
        }
        return static_cast<Choice>(found - choices.begin());
    }

private:
    const std::vector<std::string>& _words;
    std::size_t _at = static_cast<std::size_t>(-1);
};

}  // namespace

const char* const usage =
    "usage: coreMD_accuracy [options] FOLDER... [--still VIDEO...]\n"
    "\n"
    "How right is mdscan, with its defaults, on labelled sequences?  FOLDER: numbered pictures in input/, label pictures\n"
    "of the same numbers in groundtruth/, perhaps first and last number to score in temporalROI.txt; 25 pictures a second.\n"
    "\n"
    "  --json         print one object: figures by sequence, and their mean\n"
    "  --still        what follows are videos in which nothing moves: how long is there an alarm?\n"
    "  --lines        one object for each subject and share, with counts and cost\n"
    "  --peers        OpenCV's background subtractors, too, where they are built in; with --lines or the table\n"
    "  --masks FILE   a PNG picture: labels and masks of the picture in which the scanner is most wrong, of each sequence\n"
    "  --found NAME=DIR  what NAME found in the only FOLDER: numbered masks in DIR, one for each picture\n"
    "  --share N      a block of 8x8 pixels is found where so much of it is covered [0.5]\n"
    "  --rate N       as mdscan's options of these names\n"
    "  --block N\n"
    "  --shadows\n"
    "  --condition HOW\n"
    "  --stabilise HOW\n"
    "  --sensitivity HOW\n"
    "  --min-size N\n"
    "\n"
    "Exit status: 0; 1 where a folder cannot be scored; 2 where the command line cannot be understood.\n";

Options ReadOptions(const std::vector<std::string>& list) {
    Options options;
    Words words(list);
    bool isStill = false;  // what follows: videos
    while (words.Next()) {
        const std::string word = words.Word();
        if (word == "--json") options.json = true;
        else if (word == "--help" || word == "-h") options.help = true;
        else if (word == "--share") options.share = words.Number(0.01, 1);
        else if (word == "--rate") options.scanner.rate = words.Number(0, 1000);
        else if (word == "--block") options.scanner.blockSize = static_cast<int>(std::lround(words.Number(0, 1000)));
        else if (word == "--shadows") options.scanner.shadows = true;
        else if (word == "--condition") options.scanner.conditioning.on = words.OneOf<bool>(Scan::conditionWords);
        else if (word == "--stabilise")
            options.scanner.conditioning.stabilise = words.OneOf<Video::Stabilise>(Scan::stabiliseWords);
        else if (word == "--sensitivity")
            options.scanner.conditioning.sensitivity = words.OneOf<Video::Sensitivity>(Scan::sensitivityWords);
        else if (word == "--min-size") options.scanner.minSize = words.Number(0, 1);
        else if (word == "--lines") options.lines = true;
        else if (word == "--peers") options.peers = true;
        else if (word == "--masks") options.masks = words.Value("a file");
        else if (word == "--found") {
            const std::string value = words.Value("NAME=DIR");
            const std::size_t sign = value.find('=');
            if (sign == std::string::npos || sign == 0) {
                Refuse("--found: " + value + " is no NAME=DIR");
            }
            options.found.emplace_back(value.substr(0, sign), value.substr(sign + 1));
        } else if (word == "--still") isStill = true;
        else if (word.starts_with("-")) Refuse("unknown option " + word);
        else (isStill ? options.still : options.folders).push_back(word);
    }
    if (options.folders.empty() && options.still.empty() && !options.help) {
        Refuse("neither a folder nor a video is given; see --help");
    }
    if (!options.found.empty() && (options.folders.size() != 1 || !options.still.empty())) {
        Refuse("--found: masks are those of one FOLDER");
    }
    return options;
}

}  // namespace Accuracy
