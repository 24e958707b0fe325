// From when to when was it dark, did the camera shake, was it covered?  Collects what disturbs the pictures into spells.
//
// Pure: values in, values out.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "conditioning/Disturbances.h"
#include "video/time/TickTime.h"
#include "video/watch/Condition.h"

namespace Video {

class ConditionLog {
public:
    // What disturbed the newest picture. Others than for the picture before may have looked at it, as pictures of another
    // size want: what went on is over then. Returns from when on what moved does not count, where that has become known now.
    std::optional<Ticks> Add(const Host::Disturbances& disturbances, Ticks time);

    // Was the newest picture too dark to see anything in?  Told where it lasts. Call it before Add.
    void AddDarkness(bool isDark, Ticks time);

    // The recording was over before anything could be judged.
    void AddTooShort(Ticks start, Ticks end) { _over.push_back({ConditionKind::TooShort, start, end}); }

    // What is over by now, in order of its end; each once.
    std::vector<Condition> Take();

    // What goes on, in order of kinds; its end is the newest picture. Darkness, once it has lasted.
    std::vector<Condition> Running() const;

    // Nothing more comes: what still went on ends with the newest picture.
    void Close();

private:
    void EndDarkness(Ticks end);

    std::array<std::optional<Ticks>, Host::disturbanceCount> _begins;  // of what goes on
    std::optional<Ticks> _darkSince;
    std::vector<Condition> _over;
    Ticks _newest = 0;
};

}  // namespace Video
