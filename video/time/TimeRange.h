// Which part of a recording is wanted?  As people say it, in seconds or by the clock, and as spans of one recording's time.
//
// Pure but for this machine's time zone: values in, values out.
#pragma once

#include <optional>
#include <string>

#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

struct RangeEdge {
    enum class Kind {
        Elapsed,    // since the recording began
        TimeOfDay,  // of every day
        Moment      // of one day
    };
    Kind kind;
    Ticks at;                          // ticks since then, since midnight, or as WallTicks
    std::optional<Ticks> offset = {};  // of a time of day: by which its clock is ahead of UTC; absent: the recording's own
    std::string text = {};             // as somebody wrote it
};

// "T22:30", "T22:30:15.5", with Z or an offset like +01:00 where it is not the recording's own; or an RFC 3339 time.
// Absent: it is something else.
std::optional<RangeEdge> ParseClockEdge(const std::string& text);

struct TimeRange {
    std::optional<RangeEdge> from;  // absent: from the begin of the recording, or of the day
    std::optional<RangeEdge> to;    // absent: to the end of these; exclusive

    bool IsAll() const { return !from && !to; }
    bool WantsClock() const { return !IsAll() && (from ? from : to)->kind != RangeEdge::Kind::Elapsed; }
    bool Recurs() const { return !IsAll() && (from ? from : to)->kind == RangeEdge::Kind::TimeOfDay; }

    // '--from T22:00 --to T06:00', as far as they are given.
    std::string Text() const;
};

// Empty, or why no recording has such a part.
std::string Trouble(const TimeRange& range);

// A part of a recording, on the axis of its results.
struct RecordingPart {
    Ticks start;
    Ticks end;  // exclusive
};

// The first part that ends behind this time of the recording. Absent: there is none.
// clock: of the recording. Preconditions: the range has no trouble; the clock is there if it wants one.
std::optional<RecordingPart> PartBehind(const TimeRange& range, const std::optional<StartTime>& clock, Ticks time);

}  // namespace Video
