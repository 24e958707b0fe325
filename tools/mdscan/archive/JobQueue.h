// Which job is next, and who has to be told what became of it?  All that working asks of whoever hands out jobs.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "archive/Plan.h"

namespace Scan {

class JobQueue {
public:
    struct Counts {
        std::size_t all = 0, done = 0;  // done: by whomever
    };

    virtual ~JobQueue() = default;

    // All but GiveBack throw Failure where no more can be handed out or kept, which says nothing about the job.

    // Somebody's from now on: he keeps its result, gives it back or refuses it. Absent: there is none for now.
    virtual std::optional<PlannedJob> Take() = 0;

    // Somebody else may try. Does not throw.
    virtual void GiveBack(const PlannedJob& job) = 0;

    // It cannot be done here; it is given back, and not handed out here again. died: whoever scanned it was killed.
    virtual void Refuse(const PlannedJob& job, const std::string& reason, bool died) = 0;

    // line: the job's result. It is given back, also where this fails.
    virtual void Keep(const PlannedJob& job, const std::string& line) = 0;

    // Will there never be another job, whatever others do?  Asked where there was none, and nothing runs here.
    virtual bool IsOver() = 0;

    // Called several times a second, whatever else goes on.
    virtual void Tend() {}

    // Readable when Take may find what it did not find before; -1: that is found out by asking.
    virtual int News() const { return -1; }

    virtual Counts Count() = 0;
};

}  // namespace Scan
