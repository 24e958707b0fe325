// How are conditions summed up in words?
#include "results/ConditionNote.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <variant>

#include "results/Records.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Scan {

namespace {

std::string Tenths(Video::Ticks time) {
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.1f s", Video::ToSeconds(time));
    return text.data();
}

}  // namespace

void ConditionNote::Take(const Record& record) {
    const auto* condition = std::get_if<ConditionRecord>(&record);
    if (!condition) {
        return;
    }
    Sum& sum = _sums[static_cast<std::size_t>(condition->kind)];
    sum.first = sum.times == 0 ? condition->start : sum.first;
    sum.length += condition->end - condition->start;
    ++sum.times;
}

// Most kinds last; a camera is moved at a moment, whatever it takes until the new view is known.
std::string ConditionNote::Text() const {
    std::string text;
    for (std::size_t i = 0; i < _sums.size(); ++i) {
        const auto& [times, length, first] = _sums[i];
        const auto kind = static_cast<Video::ConditionKind>(i);
        if (times == 0) {
            continue;
        }
        text += (text.empty() ? "" : ", ") + std::string(Video::NameOf(kind));
        if (kind == Video::ConditionKind::Moved) {
            text += times == 1 ? " at " + Tenths(first) : " " + std::to_string(times) + " times";
        } else if (kind != Video::ConditionKind::TooShort) {
            text += " for " + Tenths(length);
        }
    }
    return text;
}

bool ConditionNote::HidesMotion() const {
    for (std::size_t i = 0; i < _sums.size(); ++i) {
        if (_sums[i].times > 0 && Video::HidesMotion(static_cast<Video::ConditionKind>(i))) {
            return true;
        }
    }
    return false;
}

}  // namespace Scan
