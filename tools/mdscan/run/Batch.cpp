// How is a run with many inputs conducted?
#include "run/Batch.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <map>
#include <utility>

#include <poll.h>

#include "outputs/RunOutputs.h"
#include "results/ConditionNote.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/TallyText.h"
#include "run/CameraMemory.h"
#include "run/Inputs.h"
#include "run/RunState.h"
#include "run/SpillFile.h"
#include "run/Worker.h"
#include "settings/JobSettings.h"
#include "settings/RunSettings.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"

namespace Scan {

namespace {

constexpr int pollInterval = 250;  // milliseconds; how late an interruption may be noticed

std::string Count(std::size_t count, const char* what) { return std::to_string(count) + " " + what; }

}  // namespace

Batch::Batch(const JobSettings& settings, const RunSettings& run, const InputList& list, RunOutputs& results,
             RunState* state, Progress& progress)
    : _settings(settings),
      _quiet(run.quiet),
      _otherFiles(list.otherFiles),
      _results(results),
      _state(state),
      _remembers(state != nullptr),
      _progress(progress),
      _jobs(static_cast<std::size_t>(run.jobs)) {
    for (const Input& input : list.inputs) {
        Item item;
        item.input = input;
        item.weight = static_cast<double>(std::max<std::int64_t>(1, IdentityOf(input.path).size));
        _items.push_back(std::move(item));
    }
}

Batch::~Batch() {
    for (Item& item : _items) {
        if (item.worker) {
            item.worker->Dismiss();  // all at once, before any is waited for
        }
    }
}

int Batch::Run() {
    Recall();
    Queue();
    TellInOrder();
    while (_head < _items.size()) {
        if (Video::Interrupted() && !std::exchange(_leaving, true)) {
            InterruptAll();
        }
        Start();
        if (_running + _live == 0) {
            break;  // interrupted
        }
        Listen();
        TellInOrder();
        ShowProgress();
    }
    for (Item& item : _items) {
        if (item.result && !item.isClosed) {
            HandOn(item, true);  // it waited for one that never began
        }
    }
    _results.Keep();
    return Conclude();
}

// What is known without a scan.
void Batch::Recall() {
    for (Item& item : _items) {
        if (!item.input.trouble.empty()) {
            item.result = JobResult{
                .health = Health::Unreadable, .code = Video::exitFailed, .trouble = item.input.trouble, .tally = {}};
        } else if (std::optional<JobResult> finished = _state ? _state->Find(item.input.path) : std::nullopt) {
            item.result = std::move(finished);
            item.recalled = true;
            ++_recalled;
            _recalledLength += item.result->tally.length;
        }
    }
}

// What is to be scanned.  Where a camera's background goes on from input to input, each of its inputs waits for the one
// before.
void Batch::Queue() {
    const std::string& folder = _settings.scan.memory;
    std::map<std::string, std::size_t> last;  // by what is kept
    for (std::size_t i = 0; i < _items.size(); ++i) {
        if (_items[i].result) {
            continue;
        }
        const auto [before, isFirst] =
            last.try_emplace(folder.empty() ? std::to_string(i) : CameraMemory(folder, _items[i].input.path), i);
        if (isFirst) {
            _ready.insert(i);
        } else {
            _items[std::exchange(before->second, i)].heir = i;
        }
    }
}

void Batch::InterruptAll() const {
    for (const Item& item : _items) {
        if (item.worker) {
            item.worker->Interrupt();
        }
    }
}

std::vector<int> Batch::Pipes() const {
    std::vector<int> pipes;
    for (const Item& item : _items) {
        if (item.worker) {
            pipes.push_back(item.worker->Pipe());
        }
    }
    return pipes;
}

void Batch::Start() {
    while (!_leaving && _running < _jobs && !_ready.empty()) {
        const std::size_t first = *_ready.begin();
        _ready.erase(_ready.begin());
        Item& item = _items[first];
        item.identity = IdentityOf(item.input.path);
        try {
            item.worker = std::make_unique<Worker>(_settings, item.input.path, _state, Pipes());
        } catch (const Video::Failure& failure) {
            if (_running > 0) {  // those that run go on, and leave room; live sources never do
                _ready.insert(first);
                return;
            }
            Finish(item, {.health = Health::Unreadable, .code = failure.Code(), .trouble = failure.what(), .tally = {}});
            continue;
        }
        _next = std::max(_next, first + 1);
        ++_running;
    }
}

void Batch::Listen() {
    std::vector<pollfd> pipes;
    std::vector<Item*> speakers;
    for (std::size_t i = _head; i < _next; ++i) {
        if (_items[i].worker) {
            pipes.push_back({_items[i].worker->Pipe(), POLLIN, 0});
            speakers.push_back(&_items[i]);
        }
    }
    if (poll(pipes.data(), pipes.size(), pollInterval) <= 0) {
        return;
    }
    for (std::size_t i = 0; i < pipes.size(); ++i) {
        if (pipes[i].revents == 0) {
            continue;
        }
        Item& item = *speakers[i];
        const bool goesOn = item.worker->Read();
        if (item.worker->TakeWait() && !_quiet) {
            _progress.Clear();
            PrintLastLine(Video::ShownName(item.input.path), waitingForWriter);
        }
        if (item.worker->IsLive() && !std::exchange(item.isLive, true)) {
            --_running;
            ++_live;
        }
        for (Record& record : item.worker->TakeRecords()) {
            item.records.push_back(std::move(record));
        }
        for (const std::string& warning : item.worker->TakeWarnings()) {
            Warn(warning);
        }
        for (const std::string& line : item.worker->TakePictures()) {
            Spill([&] { item.pictures.push_back(_spillFile.Add(line)); });
        }
        if (!goesOn) {
            const std::unique_ptr<Worker> worker = std::move(item.worker);
            --(item.isLive ? _live : _running);
            if (_remembers && !worker->WasKilled()) {
                Remember(item, worker->Result());
            }
            Finish(item, worker->Result());
        }
    }
}

// Five hundred inputs of one camera have one thing to say.
void Batch::Warn(const std::string& warning) {
    if (!_quiet && _warned.insert(warning).second) {
        _progress.Clear();
        PrintLastLine("", warning);
    }
}

void Batch::Finish(Item& item, JobResult result) {
    item.result = std::move(result);
    if (item.heir) {
        _ready.insert(*item.heir);
    }
}

// Inputs of which something is missing are scanned anew by the next run.
void Batch::Remember(const Item& item, const JobResult& result) {
    const bool isMissingSomething =
        result.health == Health::Interrupted || result.health == Health::Untold || result.unwritten;
    if (isMissingSomething || item.identity == Identity{}) {  // of what is no file, nobody knows whether it changed
        return;
    }
    FinishedInput finished{result, item.records};
    Spill([&] {
        for (const SpillFile::Place& place : item.pictures) {
            finished.pictures.push_back(_spillFile.Get(place));
        }
    });
    const bool needsPictures = _settings.files.heatmap || !_settings.files.report.empty();
    if (_spills || !needsPictures) {
        _remembers = _gaveUp.Try("the state", [&] { _state->Add(item.input.path, item.identity, finished); });
    }
}

void Batch::ShowProgress() {
    double all = 0, done = 0;
    for (const Item& item : _items) {
        all += item.weight;
        done += item.weight * (item.result ? 1 : item.worker ? item.worker->Done() : 0);
    }
    Video::Tally fresh = Sum();
    fresh.length -= _recalledLength;
    _progress.Show(done / all, fresh);
}

Video::Tally Batch::Sum() const {
    Video::Tally sum;
    for (const Item& item : _items) {
        if (item.result || item.worker) {
            const Video::Tally& tally = item.result ? item.result->tally : item.worker->SoFar();
            sum.pictures += tally.pictures;
            sum.analysed += tally.analysed;
            sum.length += tally.length;
            sum.events += tally.events;
            sum.dropped += tally.dropped;
        }
    }
    sum.elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - _begin).count();
    return sum;
}

// Names what went wrong, sums up, chooses the exit code.
int Batch::Conclude() {
    _progress.Clear();
    std::size_t finished = 0, moving = 0, failed = 0, outside = 0;
    for (const Item& item : _items) {
        if (!item.result) {
            continue;
        }
        ++finished;
        moving += item.result->tally.events > 0 ? 1 : 0;
        outside += IsOutside(*item.result, _settings.scan.range) ? 1 : 0;
        if (item.result->health != Health::Whole) {
            ++failed;
            PrintLastLine(Video::ShownName(item.input.path), ResultText(*item.result));
        }
        if (item.note.HidesMotion() && !_quiet) {  // of all others, only lines and page tell: there may be many
            PrintLastLine(Video::ShownName(item.input.path), item.note.Text());
        }
    }
    bool unwritten = false;
    for (const GivenUp* gaveUp : {&std::as_const(_gaveUp), &_results.GaveUp()}) {
        for (const std::string& reason : gaveUp->Reasons()) {
            unwritten = true;
            PrintLastLine("", reason);
        }
    }
    const bool cut = finished < _items.size();
    const Video::Tally sum = Sum();
    std::string text = Count(_items.size(), _items.size() == 1 ? "input" : "inputs");
    text += cut ? ", interrupted after " + std::to_string(finished) : "";
    text += ": " + Count(moving, "with motion") + ", " + Count(failed, "failed");
    text += _recalled > 0 ? ", " + Count(static_cast<std::size_t>(_recalled), "known from before") : "";
    text += outside > 0 ? ", " + std::to_string(outside) + (outside == 1 ? " has" : " have") + " nothing from " +
                              _settings.scan.range.Text()
                        : "";
    text += _otherFiles > 0 ? "; " + Counted(_otherFiles, "other file") + " passed over" : "";
    if (!_quiet) {
        PrintLastLine("", text + "; " + SumText(sum, _recalledLength));
    }
    if (failed > 0 || cut || unwritten) {
        return Video::exitFailed;
    }
    return moving > 0 ? Video::exitComplete : Video::exitNothing;
}

}  // namespace Scan
