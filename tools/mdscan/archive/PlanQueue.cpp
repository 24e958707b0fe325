// How often is whom asked for a job that others hold?
#include "archive/PlanQueue.h"

#include <set>

#include "video/base/Interruption.h"

namespace Scan {

namespace {

constexpr auto askAgain = std::chrono::seconds(1);  // for what others hold

}  // namespace

PlanQueue::PlanQueue(const Plan& plan, ResultStore& store) : _plan(plan), _store(store) {
    const std::set<std::string> done = _store.List();
    for (const PlannedJob& job : _plan.jobs) {
        if (!job.trouble.empty()) {
            continue;
        }
        ++_counts.all;
        if (done.contains(job.key)) {
            ++_counts.done;
        } else {
            _open.push_back(&job);
        }
    }
}

std::optional<PlannedJob> PlanQueue::Take() {
    if (_open.empty() && SteadyClock::now() >= _asked + askAgain) {
        _open.assign(_held.begin(), _held.end());
        _held.clear();
    }
    while (!_open.empty() && !Video::Interrupted()) {
        const PlannedJob* job = _open.front();
        _open.pop_front();
        switch (_store.Take(job->key)) {
            case Taking::Done: ++_counts.done; break;
            case Taking::Held:
                _held.push_back(job);
                _asked = SteadyClock::now();
                break;
            case Taking::Taken: _taken[job->key] = job; return *job;
        }
    }
    return std::nullopt;
}

void PlanQueue::GiveBack(const PlannedJob& job) {
    _store.GiveBack(job.key);
    if (const auto taken = _taken.find(job.key); taken != _taken.end()) {
        _open.push_front(taken->second);
        _taken.erase(taken);
    }
}

void PlanQueue::Refuse(const PlannedJob& job, const std::string&, bool) {
    _store.GiveBack(job.key);
    _taken.erase(job.key);
}

void PlanQueue::Keep(const PlannedJob& job, const std::string& line) {
    _taken.erase(job.key);
    _store.Keep(job.key, line);
    ++_counts.done;
}

}  // namespace Scan
