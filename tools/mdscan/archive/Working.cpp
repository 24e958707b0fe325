// What is taken next, and what becomes of it?
#include "archive/Working.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
#include <variant>

#include <poll.h>

#include "archive/PlanQueue.h"
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

constexpr int listenInterval = 250;  // milliseconds; how late an interruption may be noticed
constexpr const char* hasChanged = "has changed since it was planned";

class Share {
public:
    Share(JobQueue& queue, JobLauncher& launcher, const RunSettings& run)
        : _queue(queue), _launcher(launcher), _run(run), _progress(StyleOf(run)) {}

    // Scans that are still under way are told at once, and only then waited for.
    ~Share() {
        for (Running& running : _running) {
            running.worker->Dismiss();
            _queue.GiveBack(running.job);
        }
        for (const Running& running : _ended) {
            _queue.GiveBack(running.job);
        }
    }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    int Do();

private:
    struct Running {
        PlannedJob job;
        std::unique_ptr<Worker> worker;
        std::vector<Record> records = {};
        std::vector<std::string> pictures = {};  // lines
    };

    std::optional<PlannedJob> Next();
    void Start();
    void Listen();
    void FinishEnded();
    void Finish(Running running);
    void Refuse(const PlannedJob& job, const std::string& reason, bool died = false);
    void ShowProgress();
    int Conclude();

    JobQueue& _queue;
    JobLauncher& _launcher;
    const RunSettings& _run;
    Progress _progress;
    std::vector<Running> _running;
    std::vector<Running> _ended;  // whose results are not kept yet
    std::size_t _done = 0;        // here
    Video::Tally _tally;          // of those
    const SteadyClock::time_point _begin = SteadyClock::now();
};

int Share::Do() {
    while (!Video::Interrupted()) {
        try {
            _queue.Tend();
            Start();
        } catch (...) {  // whoever hands out no more may still take what was found
            FinishEnded();
            throw;
        }
        FinishEnded();
        if (_running.empty() && _queue.IsOver()) {
            break;
        }
        Listen();
        ShowProgress();
    }
    FinishEnded();
    return Conclude();
}

// Absent: there is none for now.
std::optional<PlannedJob> Share::Next() {
    while (!Video::Interrupted()) {
        std::optional<PlannedJob> job = _queue.Take();
        const std::optional<std::string> reason = job ? _launcher.Refusal(*job) : std::nullopt;
        if (!reason) {
            return job;
        }
        Refuse(*job, *reason);
    }
    return std::nullopt;
}

void Share::Start() {
    while (_running.size() < static_cast<std::size_t>(_run.jobs)) {
        const std::optional<PlannedJob> job = Next();
        if (!job) {
            return;
        }
        std::vector<int> pipes;
        for (const Running& running : _running) {
            pipes.push_back(running.worker->Pipe());
        }
        try {
            _running.push_back({*job, _launcher.Launch(*job, pipes)});
        } catch (const Video::Failure&) {
            _queue.GiveBack(*job);
            if (_running.empty() && _ended.empty()) {
                throw;
            }
            return;  // those that run, or have ended, leave room
        }
    }
}

void Share::Listen() {
    std::vector<pollfd> pipes;
    for (const Running& running : _running) {
        pipes.push_back({running.worker->Pipe(), POLLIN, 0});
    }
    pipes.push_back({_running.size() < static_cast<std::size_t>(_run.jobs) ? _queue.News() : -1, POLLIN, 0});
    if (poll(pipes.data(), pipes.size(), listenInterval) <= 0) {
        return;
    }
    for (std::size_t i = _running.size(); i-- > 0;) {
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
            _ended.push_back(std::move(running));
            _running.erase(_running.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

// After others were started in their place: those need not wait until results are on the disk.
void Share::FinishEnded() {
    while (!_ended.empty()) {
        Running running = std::move(_ended.back());
        _ended.pop_back();
        Finish(std::move(running));
    }
}

// Results do not say what the video is called: the plan does.
void Share::Finish(Running running) {
    const PlannedJob& job = running.job;
    const JobResult& result = running.worker->Result();
    const bool isInterrupted = result.health == Health::Interrupted || (running.worker->WasKilled() && Video::Interrupted());
    if (isInterrupted) {
        _queue.GiveBack(job);
    } else if (running.worker->WasKilled() || result.health == Health::Untold || result.unwritten) {
        Refuse(job, result.trouble, running.worker->WasKilled());
    } else if (const std::optional<std::string> reason = _launcher.Refusal(job)) {
        Refuse(job, *reason);
    } else {
        for (Record& record : running.records) {
            std::visit([](auto& one) { one.file.clear(); }, record);
        }
        _queue.Keep(job, StateLine(job.key, job.identity, {result, running.records, running.pictures}));
        ++_done;
        _tally.events += result.tally.events;
        _tally.pictures += result.tally.pictures;
        _tally.length += result.tally.length;
    }
}

void Share::Refuse(const PlannedJob& job, const std::string& reason, bool died) {
    _queue.Refuse(job, reason, died);
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
    const auto [all, done] = _queue.Count();
    _progress.Show((static_cast<double>(done) + under) / static_cast<double>(std::max<std::size_t>(1, all)), tally);
}

int Share::Conclude() {
    _progress.Clear();
    const auto [all, done] = _queue.Count();
    const std::size_t left = all - std::min(all, done), others = done - std::min(done, _done);
    if (!_run.quiet || left > 0) {
        const std::string jobs = Counted(static_cast<std::int64_t>(all), "job");
        PrintLastLine("", jobs + ": " + std::to_string(_done) + " done here, " + std::to_string(others) + " by others" +
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
    const bool isSame = job.content.empty() ? now == job.identity : now.size == job.identity.size;
    return isSame ? std::nullopt : std::optional<std::string>(hasChanged);
}

std::unique_ptr<Worker> ScanLauncher::Launch(const PlannedJob& job, const std::vector<int>& others) {
    const JobSettings settings{
        .scan = _scan, .files = FilesOfPlan(), .decoderThreads = 1, .named = NamedStart{job.start}, .part = job.part};
    return std::make_unique<Worker>(settings, PlaceOf(job, _roots), nullptr, others);
}

int WorkOn(JobQueue& queue, JobLauncher& launcher, const RunSettings& run) { return Share(queue, launcher, run).Do(); }

int WorkOn(const Plan& plan, ResultStore& store, JobLauncher& launcher, const RunSettings& run) {
    PlanQueue queue(plan, store);
    return WorkOn(queue, launcher, run);
}

}  // namespace Scan
