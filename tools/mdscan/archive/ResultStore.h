// Who keeps the results of a plan, and who works on which of its jobs?  All that planning, working and gathering ask of a
// folder, or of whatever else may take its place.
//
// Results are the truth: a job is done when its result is there, whoever did it, and however often. A taken job is a
// courtesy to others, which ends with the process that took it.
#pragma once

#include <optional>
#include <set>
#include <string>

namespace Scan {

enum class Taking {
    Taken,  // by this process, which gives it back or keeps its result
    Done,   // its result is there
    Held    // somebody else works on it
};

// All but List and Absence throw Failure when the store fails, which says nothing about the job.

// What gathering asks for.
class KeptResults {
public:
    virtual ~KeptResults() = default;

    // Absent: there is none.
    virtual std::optional<std::string> Read(const std::string& key) = 0;

    // A result that cannot be understood: the job is to be done again.
    virtual void Discard(const std::string& key) = 0;

    // Why there is no result, where more is known.
    virtual std::string Absence(const std::string& /*key*/) { return "not scanned yet"; }
};

class ResultStore : public KeptResults {
public:
    virtual Taking Take(const std::string& key) = 0;

    // Of a job that was taken: somebody else may try. Does not throw.
    virtual void GiveBack(const std::string& key) = 0;

    // Of a job that was taken: from then on it is done, even if the machine loses its power at once. It is given back, also
    // where this fails. line: its result, one line without its end.
    virtual void Keep(const std::string& key, const std::string& line) = 0;

    // All that are done, as far as can be seen: others may be adding to them.
    virtual std::set<std::string> List() = 0;
};

}  // namespace Scan
