// How is a labelled folder listed?
#include "LabelledFolder.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "video/base/Failure.h"

namespace Accuracy {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Refuse(const std::string& what) { throw Video::Failure(Video::Concern::Input, what); }

bool IsPicture(const fs::path& file) {
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending == ".jpg" || ending == ".jpeg" || ending == ".png" || ending == ".bmp";
}

// "in000017" is 17; absent: it ends in no number.
std::optional<std::int64_t> NumberOf(const fs::path& file) {
    const std::string stem = file.stem().string();
    const std::size_t before = stem.find_last_not_of("0123456789");
    const std::size_t begin = before == std::string::npos ? 0 : before + 1;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(stem.data() + begin, stem.data() + stem.size(), number);
    return error == std::errc() && begin < stem.size() ? std::optional(number) : std::nullopt;
}

// First and last number to score; absent: no such file.
std::optional<std::pair<std::int64_t, std::int64_t>> RegionOf(const fs::path& folder) {
    const fs::path file = folder / "temporalROI.txt";
    if (!fs::exists(file)) {
        return std::nullopt;
    }
    std::pair<std::int64_t, std::int64_t> region;
    std::ifstream text(file);
    if (!(text >> region.first >> region.second) || region.first > region.second) {
        Refuse(file.string() + ": does not hold a first and a last number");
    }
    return region;
}

std::string NameOf(const fs::path& folder) {
    const fs::path plain = fs::absolute(folder).lexically_normal();
    return (plain.has_filename() ? plain : plain.parent_path()).filename().string();
}

}  // namespace

// By number. Two of one number are a mistake that would show as a wrong figure.
std::map<std::int64_t, std::string> NumberedPictures(const std::string& folder) {
    std::map<std::int64_t, std::string> pictures;
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        Refuse(folder + ": " + error.message());
    }
    for (const fs::directory_entry& entry : entries) {
        const std::optional<std::int64_t> number = IsPicture(entry.path()) ? NumberOf(entry.path()) : std::nullopt;
        if (number && !pictures.emplace(*number, entry.path().string()).second) {
            Refuse(folder + ": two pictures have the number " + std::to_string(*number));
        }
    }
    if (pictures.empty()) {
        Refuse(folder + ": no numbered pictures (jpg, png or bmp)");
    }
    return pictures;
}

LabelledFolder OpenLabelledFolder(const std::string& folder) {
    const fs::path path(folder);
    if (!fs::is_directory(path / "input")) {
        Refuse(folder + ": no labelled folder, it has no folder input");
    }
    if (!fs::is_directory(path / "groundtruth")) {
        Refuse(folder + ": no labelled folder, it has no folder groundtruth");
    }
    LabelledFolder labelled{NameOf(path), {}};
    const auto inputs = NumberedPictures(path / "input"), labels = NumberedPictures(path / "groundtruth");
    const auto region = RegionOf(path);
    bool isAnyScored = false;
    for (const auto& [number, file] : inputs) {
        const std::size_t place = labelled.pictures.size();
        const bool counts =
            region ? number >= region->first && number <= region->second : place >= FirstScored(inputs.size());
        const auto label = labels.find(number);
        const bool isScored = counts && label != labels.end();
        labelled.pictures.push_back({number, file, isScored ? label->second : std::string()});
        isAnyScored |= isScored;
    }
    if (!isAnyScored) {
        Refuse(folder + ": no picture to score has labels of its number");
    }
    return labelled;
}

}  // namespace Accuracy
