// How are moments, places and rectangles read?
#include "command/OptionValues.h"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "video/zones/ZoneMask.h"

namespace Scan {

namespace {

std::vector<std::string_view> Parts(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t place = 0; (place = text.find(separator)) != std::string_view::npos; text.remove_prefix(place + 1)) {
        parts.push_back(text.substr(0, place));
    }
    parts.push_back(text);
    return parts;
}

// All of the text, without a sign.
template <class Number>
std::optional<Number> Read(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isPlain = !text.empty() && text.front() >= '0' && text.front() <= '9';
    return isPlain && error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<double> ReadTime(const std::string& text) {
    constexpr int longestHour = 1'000'000;
    const std::vector<std::string_view> parts = Parts(text, ':');
    const std::optional<double> seconds = Read<double>(parts.back());
    if (!seconds || parts.size() > 3 || !(*seconds < (parts.size() > 1 ? 60.0 : 3600.0 * longestHour))) {
        return std::nullopt;
    }
    double whole = 0;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {  // hours and minutes, or minutes only
        const std::optional<int> part = Read<int>(parts[i]);
        if (!part || *part >= (i > 0 ? 60 : longestHour)) {
            return std::nullopt;
        }
        whole = whole * 60 + *part;
    }
    return whole * 60 + *seconds;
}

std::optional<double> ReadPartLength(const std::string& text) {
    constexpr std::string_view units = "smh";
    constexpr double shortest = 20, longest = 86400;  // seconds; less is learned from than told of
    const std::size_t unit = text.empty() ? std::string_view::npos : units.find(text.back());
    const bool hasUnit = unit != std::string_view::npos;
    const std::optional<double> number = Read<double>(std::string_view(text).substr(0, text.size() - (hasUnit ? 1 : 0)));
    const double seconds = number.value_or(0) * (!hasUnit || unit == 0 ? 1 : unit == 1 ? 60 : 3600);
    return seconds >= shortest && seconds <= longest ? std::optional(seconds) : std::nullopt;
}

std::optional<Video::RangeEdge> ReadEdge(const std::string& text) {
    if (const std::optional<double> seconds = ReadTime(text)) {
        return Video::RangeEdge{.kind = Video::RangeEdge::Kind::Elapsed, .at = Video::FromSeconds(*seconds), .text = text};
    }
    return Video::ParseClockEdge(text);
}

std::optional<int> ReadWhole(const std::string& text) {
    const bool isOctal = text.size() > 1 && text.front() == '0';  // to some readers
    return isOctal ? std::nullopt : Read<int>(text);
}

std::optional<std::array<int, 2>> ReadPlace(const std::string& text) {
    const std::vector<std::string_view> parts = Parts(text, ',');
    const std::optional<int> x = Read<int>(parts.front()), y = Read<int>(parts.back());
    return parts.size() == 2 && x && y ? std::optional(std::array<int, 2>{*x, *y}) : std::nullopt;
}

std::optional<Video::RelativeZone> ReadZone(const std::string& text) {
    double values[4] = {};
    const char* rest = text.c_str();
    for (int i = 0; i < 4; ++i) {
        char* end = nullptr;
        values[i] = std::strtod(rest, &end);
        const char expected = i < 3 ? ',' : '\0';
        if (end == rest || *end != expected) {
            return std::nullopt;
        }
        rest = end + 1;
    }
    const auto [x, y, width, height] = values;
    constexpr double rounding = 1e-9;  // 0.7 + 0.3 may end up beyond 1
    const bool inside =
        x >= 0 && y >= 0 && width > 0 && height > 0 && x + width <= 1 + rounding && y + height <= 1 + rounding;
    return inside ? std::optional(Video::RelativeZone{x, y, width, height}) : std::nullopt;
}

}  // namespace Scan
