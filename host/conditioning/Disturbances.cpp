// When does a disturbance begin and end?  See Disturbances.h; Disturbances-Signs.cpp says how each is seen in a picture.
#include "conditioning/Disturbances.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "conditioning/kernels/EdgeComparison.h"
#include "conditioning/kernels/LumaMeasures.h"

namespace Host {
namespace {

constexpr Ticks longestGap = 5 * ticksPerSecond;  // after it the pictures from before are too old to compare with
constexpr Ticks learnInterval = ticksPerSecond / 2;
constexpr Ticks longestSuppression = 10 * ticksPerSecond;  // after a disturbance began
}  // namespace

std::string_view NameOf(Disturbance kind) {
    constexpr std::array<std::string_view, disturbanceCount> names = {"light",   "infrared", "shaking",  "moved",
                                                                      "covered", "frozen",   "rain-like"};
    return names[static_cast<std::size_t>(kind)];
}

Disturbances::Disturbances(int columns, int rows)
    : _columns(columns), _rows(rows), _blockCount(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)) {
    assert(columns >= 1 && columns <= 9999);
    assert(rows >= 1 && rows <= 9999);
    _last.resize(3 * _blockCount);
    _reference.resize(_blockCount);
    for (auto& anchor : _anchor) anchor.resize(_blockCount);
    _wasLabelled.resize(_blockCount);
    _objectSize.resize(_blockCount + 1);
}

// A kind is told once it was seen long enough, without a break, and is over once it was not seen long enough.
void Disturbances::Judge(Disturbance kind, bool isSeen, Ticks time, bool mayBegin) {
    constexpr Ticks second = ticksPerSecond;
    constexpr std::array<Patience, disturbanceCount> patiences = {{
        {0, 2 * second},           // light: the first picture tells; then the detector settles
        {second / 2, 5 * second},  // infrared: longer than a damaged picture
        {second, 2 * second},      // shaking
        {2 * second, 5 * second},  // moved: longer than whoever passes before the lens
        {second, 2 * second},      // covered
        {10 * second, 0},          // frozen: longer than an encoder skips a still picture
        {2 * second, 5 * second},  // rain
    }};
    const Patience patience = patiences[static_cast<std::size_t>(kind)];
    Watch& watch = Of(kind);
    watch.began = watch.ended = false;
    if (isSeen) {
        if (!watch.isSeen) watch.since = kind == Disturbance::Frozen ? _time : time;
        watch.lastSeen = time;
        if (!watch.spell.isRunning && mayBegin && time - watch.since >= patience.before) {
            watch.spell = {.begin = watch.since, .end = 0, .isRunning = true};
            watch.began = true;
        }
    } else if (watch.spell.isRunning && time - watch.lastSeen >= patience.after) {
        watch.spell.isRunning = false;
        watch.spell.end = time;
        watch.ended = true;
    }
    watch.isSeen = isSeen;
}

void Disturbances::Look(const PictureSigns& signs) {
    const std::uint8_t* const luma = signs.ycbcr;
    if (_isFirst || signs.time < _time || signs.time - _time > longestGap) Restart(signs);

    const Appearance state = AppearanceOf(signs.ycbcr);
    const bool isCovered = state.isCollapsed, hadInfrared = IsRunning(Disturbance::Infrared);
    Judge(Disturbance::Covered, isCovered, signs.time);
    Judge(Disturbance::Infrared, state.isOtherColour, signs.time);
    const bool isSettling = hadInfrared || IsRunning(Disturbance::Infrared) || IsRunning(Disturbance::Covered);
    const bool isElsewhere = state.isElsewhere && !isSettling;
    Judge(Disturbance::Moved, isElsewhere, signs.time, isElsewhere && IsSteady(luma));  // not before it has come to rest
    Judge(Disturbance::Light, !isCovered && IsLight(luma), signs.time);
    Judge(Disturbance::Shaking, IsShaking(signs), signs.time);
    Judge(Disturbance::Frozen, !_isFirst && std::memcmp(_last.data(), signs.ycbcr, _last.size()) == 0, signs.time);
    Judge(Disturbance::Rain, IsRain(signs.labels), signs.time);
    DecideWhetherToSuppress(signs);

    if (Began(Disturbance::Moved) || Began(Disturbance::Infrared)) Adopt(signs.ycbcr);
    const bool mayLearn = !isCovered && !state.isOtherColour && signs.time - _learnTime >= learnInterval;
    if (mayLearn) {
        LearnLuma(luma);
        _referenceSpread = Kernels::LumaSpread(_reference.data(), _blockCount);
        _colour += (state.colour - _colour) / 4;
        _learnTime = signs.time;
    }
    KeepAnchors(luma, signs.time);
    std::memcpy(_last.data(), signs.ycbcr, _last.size());
    _time = signs.time;
    _isFirst = false;
}

// What is known of before does not hold any more.
void Disturbances::Restart(const PictureSigns& signs) {
    if (_isFirst || signs.time < _time) {
        _watch = {};
        _jumpiness = _raininess = 0;
        Adopt(signs.ycbcr);
    }
    for (Watch& watch : _watch) watch.isSeen = false;
    _anchors = 0;
    _learnTime = signs.time;
    _time = signs.time;
}

void Disturbances::DecideWhetherToSuppress(const PictureSigns& signs) {
    const auto isFresh = [&](Disturbance kind) {
        const DisturbanceSpell& spell = Of(kind).spell;
        return spell.isRunning && signs.time - spell.begin < longestSuppression;
    };
    const bool shakes = IsRunning(Disturbance::Shaking) && !signs.isStabilised;
    _suppresses = shakes || isFresh(Disturbance::Infrared) || isFresh(Disturbance::Moved) || isFresh(Disturbance::Covered);
}

}  // namespace Host
