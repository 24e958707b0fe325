// What is taken next, and what becomes of it?
#include "archive/Working.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <thread>
#include <utility>
#include <variant>

#include <poll.h>

#include "archive/Planning.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/TallyText.h"
#include "run/StateLine.h"
#include "settings/JobSettings.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"

namespace Scan {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int listenInterval = 250;                 // milliseconds; how late an interruption may be noticed
constexpr auto askAgain = std::chrono::seconds(1);  // for what others hold
constexpr const char* hasChanged = "has changed since it was planned";

class Share {
public:
    Share(const Plan& plan, ResultStore& store, JobLauncher& launcher, const RunSettings& run)
        : _plan(plan), _store(store), _launcher(launcher), _run(run), _progress(StyleOf(run)) {}

    // Scans that are still under way are told at once, and only then waited for.
    ~Share() {
        for (Running& running : _running) {
            running.worker->Dismiss();
            _store.GiveBack(running.job->key);
        }
    }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    int Do();

private:
    struct Running {
        const PlannedJob* job;
        std::unique_ptr<Worker> worker;
        std::vector<Record> records = {};
        std::vector<std::string> pictures = {};  // lines
    };

    void LookThrough();
    const PlannedJob* Next();
    void Start();
    void Listen();
    void Finish(Running running);
    void Refuse(const PlannedJob& job, const std::string& reason);
    void ShowProgress();
    int Conclude();

    const Plan& _plan;
    ResultStore& _store;
    JobLauncher& _launcher;
    const RunSettings& _run;
    Progress _progress;
    std::deque<const PlannedJob*> _open;   // to be asked for
    std::vector<const PlannedJob*> _held;  // by others, when they were asked for
    SteadyClock::time_point _asked = {};   // for the last of those
    std::vector<Running> _running;
    std::size_t _all = 0;      // jobs
    std::size_t _done = 0;     // here
    std::size_t _others = 0;   // done by others
    std::size_t _refused = 0;  // cannot be done here
    Video::Tally _tally;       // of those done here
    const SteadyClock::time_point _begin = SteadyClock::now();
};

int Share::Do() {
    LookThrough();
    while (!Video::Interrupted()) {
        Start();
        if (!_running.empty()) {
            Listen();
        } else if (_open.empty() && _held.empty()) {
            break;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(listenInterval));
        }
        ShowProgress();
    }
    return Conclude();
}

void Share::LookThrough() {
    const std::set<std::string> done = _store.List();
    for (const PlannedJob& job : _plan.jobs) {
        if (!job.trouble.empty()) {
            continue;
        }
        ++_all;
        if (done.contains(job.key)) {
            ++_others;
        } else {
            _open.push_back(&job);
        }
    }
}

// Taken; null: there is none for now.
const PlannedJob* Share::Next() {
    if (_open.empty() && SteadyClock::now() >= _asked + askAgain) {
        _open.assign(_held.begin(), _held.end());
        _held.clear();
    }
    while (!_open.empty() && !Video::Interrupted()) {
        const PlannedJob* job = _open.front();
        _open.pop_front();
        switch (_store.Take(job->key)) {
            case Taking::Done: ++_others; continue;
            case Taking::Held:
                _held.push_back(job);
                _asked = SteadyClock::now();
                continue;
            case Taking::Taken: break;
        }
        if (const std::optional<std::string> reason = _launcher.Refusal(*job)) {
            Refuse(*job, *reason);
            continue;
        }
        return job;
    }
    return nullptr;
}

void Share::Start() {
    while (_running.size() < static_cast<std::size_t>(_run.jobs)) {
        const PlannedJob* job = Next();
        if (!job) {
            return;
        }
        std::vector<int> pipes;
        for (const Running& running : _running) {
            pipes.push_back(running.worker->Pipe());
        }
        try {
            _running.push_back({job, _launcher.Launch(*job, pipes)});
        } catch (const Video::Failure&) {
            _store.GiveBack(job->key);
            if (_running.empty()) {
                throw;
            }
            _open.push_front(job);  // those that run leave room
            return;
        }
    }
}

void Share::Listen() {
    std::vector<pollfd> pipes;
    for (const Running& running : _running) {
        pipes.push_back({running.worker->Pipe(), POLLIN, 0});
    }
    if (poll(pipes.data(), pipes.size(), listenInterval) <= 0) {
        return;
    }
    std::vector<Running> ended;
    for (std::size_t i = pipes.size(); i-- > 0;) {
        if (pipes[i].revents == 0) {
            continue;
        }
        Running& running = _running[i];
        const bool goesOn = running.worker->Read();
        for (Record& record : running.worker->TakeRecords()) {
            running.records.push_back(std::move(record));
        }
        for (std::string& picture : running.worker->TakePictures()) {
            running.pictures.push_back(std::move(picture));
        }
        running.worker->TakeWarnings();  // gathering tells whatever concerns all of them
        if (!goesOn) {
            ended.push_back(std::move(running));
            _running.erase(_running.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    while (!ended.empty()) {
        Running running = std::move(ended.back());
        ended.pop_back();
        try {
            Finish(std::move(running));
        } catch (...) {
            for (const Running& other : ended) {
                _store.GiveBack(other.job->key);
            }
            throw;
        }
    }
}

// Results do not say what the video is called: the plan does.
void Share::Finish(Running running) {
    const PlannedJob& job = *running.job;
    const JobResult& result = running.worker->Result();
    const bool isInterrupted = result.health == Health::Interrupted || (running.worker->WasKilled() && Video::Interrupted());
    if (isInterrupted) {
        _store.GiveBack(job.key);
    } else if (running.worker->WasKilled() || result.health == Health::Untold || result.unwritten) {
        Refuse(job, result.trouble);
    } else if (const std::optional<std::string> reason = _launcher.Refusal(job)) {
        Refuse(job, *reason);
    } else {
        for (Record& record : running.records) {
            std::visit([](auto& one) { one.file.clear(); }, record);
        }
        _store.Keep(job.key, StateLine(job.key, job.identity, {result, running.records, running.pictures}));
        ++_done;
        _tally.events += result.tally.events;
        _tally.pictures += result.tally.pictures;
        _tally.length += result.tally.length;
    }
}

void Share::Refuse(const PlannedJob& job, const std::string& reason) {
    _store.GiveBack(job.key);
    ++_refused;
    _progress.Clear();
    PrintLastLine(Video::ShownName(job.file), "not done: " + reason);
}

void Share::ShowProgress() {
    double under = 0;
    for (const Running& running : _running) {
        under += running.worker->Done();
    }
    Video::Tally tally = _tally;
    tally.elapsed = std::chrono::duration<double>(SteadyClock::now() - _begin).count();
    _progress.Show((static_cast<double>(_done + _others) + under) / static_cast<double>(std::max<std::size_t>(1, _all)),
                   tally);
}

int Share::Conclude() {
    _progress.Clear();
    const std::size_t left = _all - _done - _others;
    if (!_run.quiet || left > 0) {
        const std::string jobs = Counted(static_cast<std::int64_t>(_all), "job");
        PrintLastLine("", jobs + ": " + std::to_string(_done) + " done here, " + std::to_string(_others) + " by others" +
                              (left > 0 ? ", " + std::to_string(left) + " not done" : "") +
                              (Video::Interrupted() ? "; interrupted" : ""));
    }
    return left > 0 ? Video::exitFailed : Video::exitComplete;
}

}  // namespace

std::optional<std::string> ScanLauncher::Refusal(const PlannedJob& job) {
    const std::string place = PlaceOf(job, _roots);
    const Identity now = IdentityOf(place);
    if (now == Identity{}) {
        return "there is no file " + place;
    }
    return now == job.identity ? std::nullopt : std::optional<std::string>(hasChanged);
}

std::unique_ptr<Worker> ScanLauncher::Launch(const PlannedJob& job, const std::vector<int>& others) {
    const JobSettings settings{.scan = _scan, .files = FilesOfPlan(), .decoderThreads = 1, .named = NamedStart{job.start}};
    return std::make_unique<Worker>(settings, PlaceOf(job, _roots), nullptr, others);
}

int WorkOn(const Plan& plan, ResultStore& store, JobLauncher& launcher, const RunSettings& run) {
    return Share(plan, store, launcher, run).Do();
}

}  // namespace Scan
