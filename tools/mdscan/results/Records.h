// What does a scan tell of an input?  Values, on their way from the process that found them to whatever shows or keeps them;
// text is made of them where they leave a process, and nowhere else.
//
// A line holds times in milliseconds and texts in UTF-8: a record that was read from one is written as the same one again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "video/base/Box.h"
#include "video/base/Clip.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"
#include "video/watch/Events.h"

namespace Scan {

struct BoxRecord {
    Video::Box box;  // pixels
    int blocks;      // moving blocks
};

// What joining has to know of an event that may go on in another part of its input. No output shows it.
struct EventSeam {
    Video::Span motion;  // from the first frame that moved to the last one
    bool goesOn;         // as far as this part tells: it reached the part's end
    bool clearPeak, onlyFlash;
};

// Something moved.
struct EventRecord {
    struct WallTimes {
        Video::WallTicks start, end, peak;
    };

    std::string file = {};  // the input's name; empty: records do not name it
    int number = 0;         // within the input, from 1
    Video::Ticks start = 0, end = 0, peak = 0;
    std::optional<WallTimes> wall = {};  // the same by the wall clock; absent: that is not known
    std::int64_t startFrame = 0, endFrame = 0, peakFrame = 0;
    bool frameExact = true;                                    // all three
    int frames = 0;                                            // analysed frames that moved
    int blocks = 0;                                            // moving blocks of all objects at the peak
    bool flash = false;                                        // in a frame of it, nearly everything changed at once
    std::optional<std::vector<std::string>> zones = {};        // touched; absent: none is watched
    std::string thumbnail = {};                                // path; empty: none
    std::optional<Video::Clip> clip = {};                      // absent: none
    std::vector<BoxRecord> boxes = {};                         // at the peak, largest first
    std::optional<std::vector<Video::TrackPoint>> track = {};  // absent: not asked for
    std::optional<EventSeam> seam = {};                        // absent: it is whole
};

// One analysed frame, where all of them are asked for.
struct FrameRecord {
    std::string file = {};
    Video::PictureNumber picture = {};
    Video::Ticks time = 0;
    std::vector<BoxRecord> objects = {};  // largest first
};

// A live source showed nothing.
struct GapRecord {
    struct WallTimes {
        Video::WallTicks start, end;
    };

    std::string file = {};
    Video::Ticks start = 0, end = 0;
    std::optional<WallTimes> wall = {};
    std::string reason = {};
};

// The picture changed and nothing moved, or nothing could be told: no event.
struct ConditionRecord {
    struct WallTimes {
        Video::WallTicks start, end;
    };

    std::string file = {};
    Video::ConditionKind kind = Video::ConditionKind::Light;
    Video::Ticks start = 0, end = 0;
    std::optional<WallTimes> wall = {};
};

using Record = std::variant<EventRecord, FrameRecord, GapRecord, ConditionRecord>;

inline constexpr std::size_t mostBoxesPerEvent = 8;

// What an event's record holds beside the event: which pictures it spans, what time of day it was, what the user wants.
struct EventExtras {
    Video::PictureNumber start = {}, end = {}, peak = {};
    std::optional<Video::StartTime> clock = {};  // absent: the wall clock is not known
    std::vector<std::string> zones = {};         // names of the watched zones; none: the record names none
    std::string thumbnail = "";                  // path; empty: none
    std::optional<Video::Clip> clip = {};
    bool track = false;
};

// Of what was found. file: as in the record.
EventRecord RecordOf(const std::string& file, int number, const Video::Event& event, const EventExtras& extras = {});
FrameRecord RecordOf(const std::string& file, const Video::PictureNumber& picture, const Video::Findings& frame);
GapRecord RecordOf(const std::string& file, const Video::Gap& gap, const std::optional<Video::StartTime>& clock);
ConditionRecord RecordOf(const std::string& file, const Video::Condition& condition,
                         const std::optional<Video::StartTime>& clock);

}  // namespace Scan
