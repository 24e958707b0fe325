// How is what a scan tells written as lines of JSON?
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "results/JobResult.h"
#include "video/base/Clip.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/time/PictureNumbers.h"
#include "video/time/WallClock.h"
#include "video/watch/Events.h"

namespace Scan {

inline constexpr std::size_t mostBoxesPerEvent = 8;

// What an event's line holds beside the event: which pictures it spans, what time of day it was, what the user wants.
struct EventExtras {
    Video::PictureNumber start = {}, end = {}, peak = {};
    std::optional<Video::StartTime> clock = {};  // absent: the wall clock is not known
    std::vector<std::string> zones = {};         // names of the watched zones; none: the line names none
    std::string thumbnail = "";                  // path; empty: none
    std::optional<Video::Clip> clip = {};
    bool track = false;
};

// One line each, without its end. file: the video's name; empty: the line does not name one.
std::string EventLine(const std::string& file, int number, const Video::Event& event, const EventExtras& extras = {});
std::string FrameLine(const std::string& file, const Video::PictureNumber& picture, const Video::Findings& frame);

// A hole in what a live source has shown.
std::string GapLine(const std::string& file, const Video::Gap& gap, const std::optional<Video::StartTime>& clock);

// The line that follows those of one input, where there are several.
std::string FileLine(const std::string& file, const JobResult& result);

}  // namespace Scan
