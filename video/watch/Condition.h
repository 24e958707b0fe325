// What is it with the pictures when something changes that is no motion, or nothing can be told?  Kinds, and what they are
// called.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "video/time/TickTime.h"

namespace Video {

enum class ConditionKind {
    Light,     // it got brighter or darker as a whole
    Infrared,  // the camera switched between colours and infrared
    Shaking,   // the camera moves to and fro
    Moved,     // the camera looks elsewhere than before
    Covered,   // there is something before the lens
    Frozen,    // the same picture again and again
    Rain,      // small things everywhere, none of which goes anywhere
    TooShort,  // over before anything could be judged
    TooDark    // too dark to see anything in
};

// From a time to another, both of the input.
struct Condition {
    ConditionKind kind;
    Ticks start, end;
};

// One for each kind, in their order.
inline constexpr std::array<std::string_view, 9> conditionNames = {"light",  "infrared",  "shaking",   "moved",   "covered",
                                                                   "frozen", "rain-like", "too short", "too dark"};
static_assert(conditionNames.size() == static_cast<std::size_t>(ConditionKind::TooDark) + 1);

constexpr std::string_view NameOf(ConditionKind kind) { return conditionNames[static_cast<std::size_t>(kind)]; }

// Absent: none is called that.
constexpr std::optional<ConditionKind> ConditionNamed(std::string_view name) {
    for (std::size_t i = 0; i < conditionNames.size(); ++i) {
        if (conditionNames[i] == name) {
            return static_cast<ConditionKind>(i);
        }
    }
    return std::nullopt;
}

// May something have moved there and not be seen?
constexpr bool HidesMotion(ConditionKind kind) {
    return kind == ConditionKind::Covered || kind == ConditionKind::Frozen || kind == ConditionKind::TooShort ||
           kind == ConditionKind::TooDark;
}

}  // namespace Video
