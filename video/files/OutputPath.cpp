// How does an input's name become that of a result?
#include "video/files/OutputPath.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "video/base/LiveName.h"
#include "video/files/Utf8.h"

namespace Video {

namespace {

constexpr std::size_t longestStem = 80;  // bytes

// Lines and pages name results in UTF-8: so are they called, whatever the input is.
std::string AsText(std::string_view name) {
    std::string text;
    while (!name.empty()) {
        const auto [code, size] = FirstCharacter(name);
        if (text.size() + std::max<std::size_t>(1, size) > longestStem) {
            break;
        }
        if (size == 0 || code < ' ') {
            text += '_';
        } else {
            text += name.substr(0, size);
        }
        name.remove_prefix(std::max<std::size_t>(1, size));
    }
    return text;
}

}  // namespace

std::string MarkOf(const std::string& path) {
    std::uint32_t digest = 2'166'136'261u;  // FNV-1a
    for (const char c : path) {
        digest = (digest ^ static_cast<unsigned char>(c)) * 16'777'619u;
    }
    std::array<char, 16> mark = {};
    std::snprintf(mark.data(), mark.size(), "-%08x", digest);
    return mark.data();
}

std::string OutputPath(const std::string& folder, const std::string& input, bool distinct, const std::string& ending) {
    const std::string stem = input == "-" ? "stdin" : AsText(std::filesystem::path(ShownName(input)).stem().native());
    const std::string mark = distinct ? MarkOf(input) : "";
    return (std::filesystem::path(folder) / (stem + mark + ending)).string();
}

std::string OutputPath(const std::string& folder, const std::string& input, bool distinct, int event,
                       const std::string& ending) {
    std::string number = "-";
    number += std::to_string(event);
    return OutputPath(folder, input, distinct, number + ending);
}

}  // namespace Video
