// What time of day was it?  Reads and prints wall-clock times, and judges whether a file's word on its own start is to be
// believed.
#pragma once

#include <optional>
#include <string>

#include "video/time/TickTime.h"

namespace Video {

// Ticks since 1970-01-01T00:00:00Z, leap seconds not counted.
using WallTicks = Ticks;

// How is the wall clock at the start of an input known?
enum class ClockSource {
    Given,      // by the user
    Container,  // by the file
    Arrival     // by this machine's clock when the first picture came from a live source
};

// "given", "container", "arrival".
const char* NameOf(ClockSource source);

struct StartTime {
    WallTicks at;  // when the input's time was 0
    ClockSource source;
};

// RFC 3339, "2026-03-01T12:00:00.5+01:00"; a blank may stand for the T. Without an offset, the time is this machine's local
// one. Absent: is no such time, or no such day exists.
std::optional<WallTicks> ParseWallTime(const std::string& text);

// "2026-03-01T11:00:00.500Z", milliseconds rounded. Precondition: a year from 0 to 9999.
std::string WallTimeText(WallTicks time);

// When a text of WallTimeText says, whatever the year. Absent: it is no such text.
std::optional<WallTicks> WallTimeOf(const std::string& text);

// Now, by the system's clock.
WallTicks WallNow();

// Can a file that says it was created at this time have begun then?  Recorders whose clock was never set say 1904, 1970,
// 1980 or 2000; some write the time of the end; neither is a start.
//   length     ticks; of the recording
//   completed  when the file was last written, or now where that is not known
bool CanBeStart(WallTicks created, Ticks length, WallTicks completed);

}  // namespace Video
