// Which job of a plan is next, where a store only tells of each whether it is free?  They are asked for one after another.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "archive/JobQueue.h"
#include "archive/Plan.h"
#include "archive/ResultStore.h"

namespace Scan {

class PlanQueue : public JobQueue {
public:
    // Both are to outlive it.
    PlanQueue(const Plan& plan, ResultStore& store);

    std::optional<PlannedJob> Take() override;
    void GiveBack(const PlannedJob& job) override;
    void Refuse(const PlannedJob& job, const std::string& reason, bool died) override;
    void Keep(const PlannedJob& job, const std::string& line) override;
    bool IsOver() override { return _open.empty() && _held.empty(); }
    Counts Count() override { return _counts; }

private:
    using SteadyClock = std::chrono::steady_clock;

    const Plan& _plan;
    ResultStore& _store;
    std::deque<const PlannedJob*> _open;   // to be asked for
    std::vector<const PlannedJob*> _held;  // by others, when they were asked for
    SteadyClock::time_point _asked = {};   // for the last of those
    std::map<std::string, const PlannedJob*> _taken;
    Counts _counts;
};

}  // namespace Scan
