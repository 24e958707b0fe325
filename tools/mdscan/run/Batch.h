// How are many inputs scanned in one run?  A few at a time, results in the order of the inputs, whatever is broken named in
// the end.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "outputs/GivenUp.h"
#include "outputs/RunOutputs.h"
#include "results/ConditionNote.h"
#include "results/JobResult.h"
#include "results/Progress.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "run/Inputs.h"
#include "run/RunState.h"
#include "run/SpillFile.h"
#include "run/Worker.h"
#include "settings/JobSettings.h"
#include "settings/RunSettings.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"

namespace Scan {

class Batch {
public:
    // run: with a number of jobs from 1. state: null, or what was finished before. All must outlive the batch.
    Batch(const JobSettings& settings, const RunSettings& run, const InputList& list, RunOutputs& results, RunState* state,
          Progress& progress);

    // Scans that are still under way end in good order.
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    // Returns the exit code; everything has been said by then, and all results are kept that can be. Throws Failure when
    // lines cannot be told.
    int Run();

private:
    // One input on its way from the list to the results.
    struct Item {
        Input input;
        double weight = 1;               // share of the work, in bytes
        Identity identity = {};          // when its scan began
        std::unique_ptr<Worker> worker;  // while it is scanned
        std::optional<JobResult> result;
        bool recalled = false;  // from the state, where its results are
        std::vector<Record> records;
        std::size_t told = 0;                    // of them
        std::vector<SpillFile::Place> pictures;  // lines of them
        std::size_t shown = 0;                   // of them
        std::vector<SpillFile::Place> waiting;   // lines of records that were told and not shown yet
        ConditionNote note;                      // on what was told
        bool isLive = false;                     // its records wait for nobody, and it takes nobody's place
        bool isTold = false;                     // all of it, its end too
        bool isClosed = false;                   // all is told and shown
        std::optional<std::size_t> heir;         // item that waits for the end of this one's scan
    };

    void Recall();
    void Queue();
    std::vector<int> Pipes() const;  // of the scans that run
    void Start();
    void Listen();
    void Warn(const std::string& warning);
    void Finish(Item& item, JobResult result);
    void Remember(const Item& item, const JobResult& result);
    void TellInOrder();
    void HandOn(Item& item, bool mayShow);
    void HandOnRecalled(Item& item, bool mayShow);
    void Tell(Item& item, const Record& record);
    void ShowWaiting(Item& item);
    void Close(Item& item);
    void Spill(const std::function<void()>& work);
    void InterruptAll() const;
    void ShowProgress();
    Video::Tally Sum() const;
    int Conclude();

    const JobSettings& _settings;
    const bool _quiet;
    const int _otherFiles;
    RunOutputs& _results;
    SpillFile _spillFile;
    bool _spills = true;  // what it held is not lost
    RunState* _state;
    bool _remembers;  // the state takes further inputs
    GivenUp _gaveUp;
    Progress& _progress;
    const std::chrono::steady_clock::time_point _begin = std::chrono::steady_clock::now();
    std::vector<Item> _items;
    std::set<std::size_t> _ready;      // items to start, in order
    std::size_t _next = 0;             // item behind all that were started
    std::size_t _head = 0;             // first item that is not closed
    std::size_t _jobs;                 // at a time
    std::size_t _running = 0;          // of those
    std::size_t _live = 0;             // scans of live sources, beside them
    int _recalled = 0;                 // items that an earlier run had finished
    Video::Ticks _recalledLength = 0;  // of their videos
    std::set<std::string> _warned;     // texts
    bool _leaving = false;             // interrupted, children have been told
};

}  // namespace Scan
