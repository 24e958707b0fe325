// How is a disturbance told, and which are on?  See Disturbance.h.
#include "Disturbance.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace MdScene {
namespace {

// In the order of the kinds' declaration.
constexpr std::string_view names =
    "light,ramp,infrared,exposure,banding,headlights,shake,moved,rain,snow,insects,web,covered,frozen";

constexpr int kindCount = static_cast<int>(DisturbanceKind::Frozen) + 1;
static_assert(std::count(names.begin(), names.end(), ',') + 1 == kindCount);

constexpr double longestLead = 20;    // seconds before a disturbance whose begin is not told
constexpr double latestSecond = 1e7;  // of any begin and end

// A number of seconds, all of the text.
std::optional<double> ReadSeconds(std::string_view text) {
    double seconds = 0;
    const char* const end = text.data() + text.size();
    const auto [read, fault] = std::from_chars(text.data(), end, seconds);
    const bool isRead = fault == std::errc() && read == end;
    if (!isRead || !(seconds >= 0 && seconds <= latestSecond)) return std::nullopt;
    return seconds;
}

std::optional<DisturbanceKind> KindOf(std::string_view name) {
    for (int kind = 0; kind < kindCount; ++kind)
        if (NameOf(static_cast<DisturbanceKind>(kind)) == name) return static_cast<DisturbanceKind>(kind);
    return std::nullopt;
}

}  // namespace

std::vector<DisturbanceKind> KindsAt(const DisturbancePlan& plan, double seconds) {
    std::vector<DisturbanceKind> kinds;
    for (int kind = 0; kind < kindCount; ++kind)
        if (IsOn(plan, static_cast<DisturbanceKind>(kind), seconds)) kinds.push_back(static_cast<DisturbanceKind>(kind));
    return kinds;
}

bool IsOn(const DisturbancePlan& plan, DisturbanceKind kind, double seconds) {
    return std::any_of(plan.begin(), plan.end(),
                       [&](const Disturbance& one) { return one.kind == kind && one.IsOn(seconds); });
}

std::string_view NameOf(DisturbanceKind kind) {
    std::size_t from = 0;
    for (int before = 0; before < static_cast<int>(kind); ++before) from = names.find(',', from) + 1;
    return names.substr(from, names.find(',', from) - from);
}

std::string_view NamesOfDisturbances() { return names; }

std::optional<Disturbance> ReadDisturbance(std::string_view text, double sceneSeconds) {
    const std::size_t at = text.find('@');
    const std::optional<DisturbanceKind> kind = KindOf(text.substr(0, at));
    if (!kind) return std::nullopt;
    if (at == std::string_view::npos) return Disturbance{*kind, std::min(longestLead, sceneSeconds / 5), sceneSeconds};

    const std::string_view times = text.substr(at + 1);
    const std::size_t dash = times.find('-');
    const std::optional<double> begin = ReadSeconds(times.substr(0, dash));
    const std::optional<double> end =
        dash == std::string_view::npos ? std::optional(sceneSeconds) : ReadSeconds(times.substr(dash + 1));
    if (!begin || !end || !(*begin <= *end || dash == std::string_view::npos)) return std::nullopt;
    return Disturbance{*kind, *begin, std::max(*begin, *end)};
}

}  // namespace MdScene
