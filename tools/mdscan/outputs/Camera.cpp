// How is a folder of a day told from one of a camera?
#include "outputs/Camera.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace Scan {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view blanks = "-_.";

// Is it written like this?  0 stands for a digit, - for what may stand between numbers.
bool HasForm(std::string_view name, std::string_view form) {
    return name.size() == form.size() && std::equal(name.begin(), name.end(), form.begin(), [](char c, char as) {
               return as == '0' ? c >= '0' && c <= '9' : as == '-' ? blanks.find(c) != std::string_view::npos : c == as;
           });
}

unsigned Number(std::string_view digits) {
    unsigned value = 0;
    for (const char c : digits) {
        value = 10 * value + static_cast<unsigned>(c - '0');
    }
    return value;
}

bool IsYear(std::string_view name) { return HasForm(name, "2000") || (HasForm(name, "0000") && name.starts_with("20")); }
bool IsUpTo(std::string_view name, unsigned least, unsigned most) {
    return HasForm(name, "00") && Number(name) >= least && Number(name) <= most;
}
bool IsMonth(std::string_view name) { return IsUpTo(name, 1, 12); }
bool IsHour(std::string_view name) { return IsUpTo(name, 0, 23); }

bool IsDay(std::string_view year, std::string_view month, std::string_view day) {
    using namespace std::chrono;
    return IsYear(year) && IsMonth(month) && HasForm(day, "00") &&
           year_month_day(std::chrono::year(static_cast<int>(Number(year))), std::chrono::month(Number(month)),
                          std::chrono::day(Number(day)))
               .ok();
}

// "2026-03", "202603"
bool IsYearAndMonth(std::string_view name) {
    return (HasForm(name, "0000-00") || HasForm(name, "000000")) && IsYear(name.substr(0, 4)) &&
           IsMonth(name.substr(name.size() - 2));
}

// "2026-03-01", "20260301", "01.03.2026" or "03-01-2026", or with an hour behind.
bool IsWholeDay(std::string_view name) {
    for (const std::size_t hour : {std::size_t{2}, std::size_t{3}}) {
        if (name.size() > hour && IsHour(name.substr(name.size() - 2)) && IsWholeDay(name.substr(0, name.size() - hour)) &&
            (hour == 2 || blanks.find(name[name.size() - 3]) != std::string_view::npos)) {
            return true;
        }
    }
    if (HasForm(name, "0000-00-00")) {
        return IsDay(name.substr(0, 4), name.substr(5, 2), name.substr(8));
    }
    if (HasForm(name, "00000000")) {
        return IsDay(name.substr(0, 4), name.substr(4, 2), name.substr(6));
    }
    const auto reversed = [&](std::size_t month, std::size_t day) {
        return IsDay(name.substr(6), name.substr(month, 2), name.substr(day, 2));
    };
    return HasForm(name, "00-00-0000") && (reversed(3, 0) || reversed(0, 3));
}

// How many folders from there on are a day; 0: none.
std::size_t DayAt(const std::vector<std::string>& folders, std::size_t at) {
    const auto folder = [&](std::size_t i) { return i < folders.size() ? folders[i] : std::string(); };
    const std::string month = folder(at).size() > 4 ? folder(at).substr(folder(at).size() - 2) : "";
    const std::size_t count = IsWholeDay(folder(at))                                                                ? 1
                              : IsYearAndMonth(folder(at)) && IsDay(folder(at).substr(0, 4), month, folder(at + 1)) ? 2
                              : IsDay(folder(at), folder(at + 1), folder(at + 2))                                   ? 3
                                                                                                                    : 0;
    return count > 0 && IsHour(folder(at + count)) ? count + 1 : count;
}

// Is the rest of them a month, or a year?
bool IsRest(const std::vector<std::string>& folders, std::size_t at) {
    const std::size_t rest = folders.size() - at;
    return (rest == 1 && (IsYear(folders[at]) || IsYearAndMonth(folders[at]))) ||
           (rest == 2 && IsYear(folders[at]) && (IsMonth(folders[at + 1]) || IsYearAndMonth(folders[at + 1])));
}

std::vector<std::string> PartsOf(const fs::path& path) {
    std::vector<std::string> parts;
    for (const fs::path& part : path) {
        parts.push_back(part.string());
    }
    return parts;
}

// The last so many of the parts, without those that are left out.
fs::path Joined(const std::vector<std::string>& parts, const std::vector<bool>& leftOut, std::size_t count) {
    fs::path path;
    for (std::size_t i = parts.size() - count; i < parts.size(); ++i) {
        path = leftOut[i] ? path : path / parts[i];
    }
    return path;
}

// Not of a stream, a device or the standard input.
bool HasFolder(const std::string& input) {
    std::error_code ignored;
    const fs::file_status status = fs::status(input, ignored);
    return input != "-" && (fs::is_regular_file(status) || (!fs::exists(status) && input.find("://") == std::string::npos));
}

}  // namespace

std::vector<bool> DayFolders(const std::vector<std::string>& folders) {
    std::vector<bool> are(folders.size(), false);
    for (std::size_t i = 0; i < folders.size();) {
        const std::size_t count = IsRest(folders, i) ? folders.size() - i : DayAt(folders, i);
        std::fill_n(are.begin() + static_cast<std::ptrdiff_t>(i), count, true);
        i += std::max<std::size_t>(1, count);
    }
    return are;
}

std::string CameraOf(const std::string& input) {
    if (!HasFolder(input)) {
        return input;
    }
    std::error_code ignored;
    const fs::path folder = fs::path(input).parent_path().lexically_normal();
    const std::vector<std::string> parts = PartsOf(fs::absolute(folder, ignored).lexically_normal());
    const std::vector<bool> areDays = DayFolders(parts);
    if (std::find(areDays.begin(), areDays.end(), true) == areDays.end()) {
        return folder.empty() ? "." : folder.string();
    }
    // As the input names it, if all of the days stand there.
    const std::vector<std::string> named = PartsOf(folder);
    const bool isTail =
        named.size() <= parts.size() && std::equal(named.rbegin(), named.rend(), parts.rbegin()) && !named.empty();
    const auto firstDay = static_cast<std::size_t>(std::find(areDays.begin(), areDays.end(), true) - areDays.begin());
    const bool hasAll = isTail && firstDay >= parts.size() - named.size();
    const std::string camera = Joined(parts, areDays, hasAll ? named.size() : parts.size()).string();
    return camera.empty() ? "." : camera;
}

std::string WholeCameraOf(const std::string& input) {
    if (!HasFolder(input)) {
        return input;
    }
    std::error_code error;
    const fs::path folder = fs::weakly_canonical(fs::absolute(fs::path(input), error).parent_path(), error);
    return error ? CameraOf(input) : CameraOf((folder / fs::path(input).filename()).string());
}

std::string ShortNameOf(const std::string& camera) {
    std::error_code ignored;
    fs::path path =
        camera.find("://") == std::string::npos ? fs::absolute(camera, ignored).lexically_normal() : fs::path(camera);
    if (!path.has_filename()) {
        path = path.parent_path();  // of "folder/"
    }
    std::string stem = camera == "-" ? "stdin" : path.filename().string().substr(0, 80);
    std::replace_if(
        stem.begin(), stem.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '/'; }, '_');
    return stem.empty() ? "root" : stem;
}

}  // namespace Scan
