// How is what a scan tells written as lines of JSON, and read again?
#pragma once

#include <string>

#include "results/JobResult.h"
#include "results/Records.h"
#include "video/time/TickTime.h"

namespace Scan {

// One line without its end.
std::string LineOf(const Record& record);

// Throws std::exception when the line is not what LineOf made.
Record RecordOfLine(const std::string& line);

// The line that follows those of one input, where there are several; one line without its end.
std::string FileLine(const std::string& file, const std::string& camera, const JobResult& result);

// As a line has it, and whatever else tells the same: seconds with their point, "9.0"; names, which may hold any bytes, in
// UTF-8.
std::string ToldSeconds(Video::Ticks time);
std::string ToldName(const std::string& name);

}  // namespace Scan
