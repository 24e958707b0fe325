// How are folders and patterns looked through?
#include "run/Inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include <glob.h>

#include "video/base/LiveName.h"
#include "video/time/NameTime.h"

namespace Scan {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 45> videoEndings = {
    "264", "265", "3g2", "3gp",  "asf", "av1", "avi",   "dav",  "divx", "dv",  "f4v", "flv", "h264", "h265", "hevc",
    "ivf", "m1v", "m2t", "m2ts", "m2v", "m4v", "mjpeg", "mjpg", "mkv",  "mov", "mp4", "mpe", "mpeg", "mpg",  "mpv",
    "mts", "mxf", "nut", "obu",  "ogm", "ogv", "qt",    "rm",   "rmvb", "tod", "ts",  "vob", "webm", "wmv",  "y4m"};
static_assert(std::is_sorted(videoEndings.begin(), videoEndings.end()));

bool IsHidden(const fs::path& path) { return path.filename().native().starts_with('.'); }

bool LooksLikePattern(const std::string& name) { return name.find_first_of("*?[") != std::string::npos; }

class Collector {
public:
    void AddName(const std::string& name) {
        std::error_code ignored;
        const bool isPath = name != "-" && !Video::IsUrl(name);
        if (isPath && fs::is_directory(name, ignored)) {
            _list.several = true;
            AddFolder(name);
        } else if (isPath && !fs::exists(name, ignored) && LooksLikePattern(name)) {
            _list.several = true;
            AddPattern(name);
        } else {
            Add({name});  // one that does not exist is named when it is opened
        }
    }

    InputList Result() {
        _list.several = _list.several || _list.inputs.size() > 1;
        return std::move(_list);
    }

private:
    void Add(Input input) {
        std::error_code error;
        const fs::path place =
            input.path == "-" || Video::IsUrl(input.path) ? fs::path(input.path) : fs::weakly_canonical(input.path, error);
        if (_known.insert(error ? input.path : place.native()).second) {
            _list.inputs.push_back(std::move(input));
        }
    }

    void AddFolder(const std::string& folder) {
        std::error_code error;
        std::vector<fs::path> inside;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
            inside.push_back(entry->path());
        }
        if (error) {
            Add({folder, "cannot open: " + error.message()});
            return;
        }
        std::sort(inside.begin(), inside.end());
        const std::size_t before = _found;
        for (const fs::path& path : inside) {
            std::error_code ignored;
            if (IsHidden(path)) {
                continue;
            }
            if (fs::is_directory(path, ignored)) {
                if (!fs::is_symlink(path, ignored)) {
                    ++_depth;
                    AddFolder(path.native());
                    --_depth;
                }
            } else if (fs::is_regular_file(path, ignored) && HasVideoName(path.native())) {
                ++_found;
                Add({path.native()});
            } else {
                ++_list.otherFiles;
            }
        }
        if (_depth == 0 && _found == before) {
            Add({folder, "contains no video file"});
        }
    }

    void AddPattern(const std::string& pattern) {
        glob_t found = {};
        if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t i = 0; i < found.gl_pathc; ++i) {
                AddName(found.gl_pathv[i]);
            }
        } else {
            Add({pattern, "no file matches"});
        }
        globfree(&found);
    }

    InputList _list;
    std::set<std::string> _known;
    int _depth = 0;          // of folders
    std::size_t _found = 0;  // videos in folders, doubles included
};

}  // namespace

bool HasVideoName(const std::string& path) {
    std::string ending = fs::path(path).extension().native();
    if (ending.empty()) {
        return false;
    }
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::binary_search(videoEndings.begin(), videoEndings.end(), std::string_view(ending).substr(1));
}

bool CanBeReadTwice(const std::string& input) {
    std::error_code error;
    return fs::is_regular_file(input, error);
}

std::optional<Video::StartTime> StartByName(const std::string& input, const std::string& pattern) {
    if (input == "-") {
        return std::nullopt;
    }
    if (Video::IsUrl(input)) {
        return Video::TimeInName(input.substr(0, input.find_first_of("?#")), pattern);
    }
    std::error_code error;
    return Video::TimeInName(fs::absolute(input, error).lexically_normal().string(), pattern);
}

InputList FindInputs(const std::vector<std::string>& names) {
    Collector collector;
    for (const std::string& name : names) {
        collector.AddName(name);
    }
    return collector.Result();
}

}  // namespace Scan
