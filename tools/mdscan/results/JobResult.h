// How did the scan of one input end?
#pragma once

#include <optional>
#include <string>

#include "video/base/Failure.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"
#include "video/time/TimeRange.h"
#include "video/time/WallClock.h"

namespace Scan {

enum class Health {
    Whole,        // scanned from start to end
    Damaged,      // scanned as far as it goes
    Unreadable,   // not scanned at all
    Interrupted,  // scanned until the user had enough
    Unwritten,    // scanned from start to end, but a file beside its lines could not be written
    Untold        // its lines could not be told, or a file has an impossible place: nothing is as it was asked for
};

// Of a part of an input: what joining it with the next one has to know.
struct PartEdges {
    Video::Ticks first, last;  // analysed frames that are told
    Video::Ticks longestGap;   // between two frames of one event
};

struct JobResult {
    Health health = Health::Whole;
    Video::ExitCode code = Video::exitComplete;  // when a failure named one
    std::string trouble = "";                    // one line; empty where Whole
    bool unwritten = false;                      // whatever its health: a file beside its lines was given up
    Video::Tally tally = {};
    std::optional<Video::StartTime> clock = {};  // absent: not known
    std::optional<PartEdges> edges = {};         // absent: of a whole input, or nothing was analysed
};

// "complete", "damaged", "unreadable", "interrupted", "unwritten"; what a file's line calls it.
const char* NameOf(Health health);

// A file beside the lines was given up. reasons: one line; empty: none was.
void AddUnwritten(const std::string& reasons, JobResult& result);

// Was there nothing in it of the part that is wanted?
inline bool IsOutside(const JobResult& result, const Video::TimeRange& range) {
    return !range.IsAll() && result.health == Health::Whole && result.tally.analysed == 0;
}

// What the exception that is being handled makes of an input.  health: where it is the input's fault.
JobResult ResultOfException(Health health);

// Exit code for a scan of this one input.
Video::ExitCode CodeOf(const JobResult& result);

// For whoever cannot go on after a result that is not Whole: says and means what ended it. before: stands before its words.
Video::Failure FailureOf(const JobResult& result, const std::string& before = "");

}  // namespace Scan
