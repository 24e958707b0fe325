// How does an input's name become that of a result?
#include "video/files/OutputPath.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "video/base/LiveName.h"

namespace Video {

namespace {

constexpr std::size_t longestStem = 80;  // bytes

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
    std::string stem =
        input == "-" ? "stdin" : std::filesystem::path(ShownName(input)).stem().string().substr(0, longestStem);
    std::replace_if(
        stem.begin(), stem.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '_');
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
