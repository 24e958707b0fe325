// What time of day was it?  Reads and prints wall-clock times, and judges whether a file's word on its own start is to be
// believed.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "video/time/TickTime.h"

namespace Video {

// Ticks since 1970-01-01T00:00:00Z, leap seconds not counted.
using WallTicks = Ticks;

// How is the wall clock at the start of an input known?
enum class ClockSource {
    Given,      // by the user
    Name,       // by the file's name
    Container,  // by the file
    Arrival     // by this machine's clock when the first picture came from a live source
};

// "given", "name", "container", "arrival".
const char* NameOf(ClockSource source);

struct StartTime {
    WallTicks at;  // when the input's time was 0
    ClockSource source;
    std::optional<Ticks> offset = {};  // by which its own clock was ahead of UTC; absent: nobody says so
};

// What a clock on a wall and a calendar below it show.
struct CivilTime {
    std::chrono::year_month_day day;
    int hour, minute, second;
    Ticks fraction;  // of the second
};

// offset: by which that clock is ahead of UTC; absent: it shows this machine's local time. Absent: there is no such time, or
// no such day.
std::optional<WallTicks> WallTimeAt(const CivilTime& time, const std::optional<Ticks>& offset);

// By how much this machine's local time is ahead of UTC at that time.
Ticks LocalOffset(WallTicks time);

// RFC 3339, "2026-03-01T12:00:00.5+01:00"; a blank may stand for the T. Without an offset, the time is this machine's local
// one. Absent: is no such time, or no such day exists.
std::optional<WallTicks> ParseWallTime(const std::string& text);

// "2026-03-01T11:00:00.500Z", milliseconds rounded. Precondition: a year from 0 to 9999.
std::string WallTimeText(WallTicks time);

// When a text of WallTimeText says, whatever the year. Absent: it is no such text.
std::optional<WallTicks> WallTimeOf(const std::string& text);

// Now, by the system's clock.
WallTicks WallNow();

// Nothing that says its own start was recorded before; the clocks of new devices begin on this day at the latest.
extern const WallTicks earliestStart;

// Can a file that says it was created at this time have begun then?  Recorders whose clock was never set say 1904, 1970,
// 1980 or 2000; some write the time of the end; neither is a start.
//   length     ticks; of the recording
//   completed  when the file was last written, or now where that is not known
bool CanBeStart(WallTicks created, Ticks length, WallTicks completed);

}  // namespace Video
