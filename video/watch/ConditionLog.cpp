// How do disturbances become spells?
#include "video/watch/ConditionLog.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Video {

namespace {

constexpr std::array kinds = {ConditionKind::Light,   ConditionKind::Infrared, ConditionKind::Shaking, ConditionKind::Moved,
                              ConditionKind::Covered, ConditionKind::Frozen,   ConditionKind::Rain};
static_assert(kinds.size() == Host::disturbanceCount);

// A car's lamps go by faster than that.
constexpr Ticks shortestDarkness = 5 * oneSecond;

// A camera that shakes has moved to and fro for as long before it is certain that it is no thing that does.
constexpr Ticks unnoticedShaking = 2 * oneSecond;

// What was found there was the disturbance. In changing light and in rain it need not have been, and the detector is helped.
bool VoidsMotion(Host::Disturbance kind) {
    return kind == Host::Disturbance::Infrared || kind == Host::Disturbance::Shaking || kind == Host::Disturbance::Moved ||
           kind == Host::Disturbance::Covered;
}

}  // namespace

void ConditionLog::AddDarkness(bool isDark, Ticks time) {
    if (isDark) {
        _darkSince = _darkSince ? _darkSince : time;
    } else {
        EndDarkness(_newest);
    }
    _newest = time;
}

void ConditionLog::EndDarkness(Ticks end) {
    if (_darkSince && end - *_darkSince >= shortestDarkness) {
        _over.push_back({ConditionKind::TooDark, *_darkSince, end});
    }
    _darkSince.reset();
}

std::optional<Ticks> ConditionLog::Add(const Host::Disturbances& disturbances, Ticks time) {
    std::optional<Ticks> from;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const auto kind = static_cast<Host::Disturbance>(i);
        const Host::DisturbanceSpell& spell = disturbances.Last(kind);
        const bool isTheSame = spell.isRunning && !disturbances.Began(kind);
        if (_begins[i] && !isTheSame) {  // of one that others have watched since, nobody will tell the end
            const Ticks end = disturbances.Ended(kind) ? spell.end : _newest;
            _over.push_back({kinds[i], *std::exchange(_begins[i], std::nullopt), end});
        }
        if (disturbances.Began(kind)) {
            _begins[i] = spell.begin;
            if (VoidsMotion(kind)) {
                const Ticks begin = spell.begin - (kind == Host::Disturbance::Shaking ? unnoticedShaking : 0);
                from = std::min(from.value_or(begin), begin);
            }
        }
    }
    _newest = time;
    return from;
}

std::vector<Condition> ConditionLog::Take() { return std::exchange(_over, {}); }

std::vector<Condition> ConditionLog::Running() const {
    std::vector<Condition> running;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (_begins[i]) {
            running.push_back({kinds[i], *_begins[i], _newest});
        }
    }
    if (_darkSince && _newest - *_darkSince >= shortestDarkness) {
        running.push_back({ConditionKind::TooDark, *_darkSince, _newest});
    }
    return running;
}

void ConditionLog::Close() {
    EndDarkness(_newest);
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (_begins[i]) {
            _over.push_back({kinds[i], *std::exchange(_begins[i], std::nullopt), _newest});
        }
    }
}

}  // namespace Video
