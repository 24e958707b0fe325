// What are people told about a scan, in a line?  What it amounts to, how it ended, what was damaged.
#pragma once

#include <cstdint>
#include <string>

#include "results/JobResult.h"
#include "video/base/Damage.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"

namespace Scan {

// "1 picture", "2 pictures".
std::string Counted(std::int64_t count, const char* one);

// What is said of an input in the end: what went wrong, what was read.
std::string ResultText(const JobResult& result);

// "795 pictures (79.4 s) ...": the last line's common part.
std::string TallyText(const Video::Tally& tally);

// "31 events in 345.0 s of video; took ...": of many inputs. recalled: ticks of the length that were not scanned just now.
std::string SumText(const Video::Tally& tally, Video::Ticks recalled);

// "42 %  345.0 s ...": how far a scan is. done: 0 to 1. left: seconds; negative: not known.
std::string ProgressText(double done, double left, const Video::Tally& tally);

// One line on standard error: "mdscan: subject: text", without the subject where it is empty. A path may hold anything: the
// line is one line, and shows what it holds.
void PrintLastLine(const std::string& subject, const std::string& text);

// What is said of a pipe, once.
inline constexpr const char* waitingForWriter = "waiting for a writer";

// "damaged near 12.4 s: ...", one line.
std::string DamageText(const Video::Damage& damage);

}  // namespace Scan
