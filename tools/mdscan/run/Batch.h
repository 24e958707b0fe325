// How are many inputs scanned in one run?  A few at a time, results in the order of the inputs, whatever is broken named in
// the end.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

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

    // Returns the exit code; everything has been said by then. Throws Failure when a result cannot be written.
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
        ConditionNote note;                      // on what was told
        bool isLive = false;                     // its records wait for nobody, and it takes nobody's place
        bool isClosed = false;                   // all is told
        std::optional<std::size_t> heir;         // item that waits for the end of this one's scan
    };

    void Recall();
    void Queue();
    void Start();
    void Listen();
    void Finish(Item& item, JobResult result);
    void TellInOrder();
    void HandOn(Item& item);
    void Tell(Item& item, const Record& record);
    ScanPicture PictureAt(const SpillFile::Place& place);
    FinishedInput FinishedOf(const Item& item, const JobResult& result);
    void ShowProgress();
    Video::Tally Sum() const;
    int Conclude();

    const JobSettings& _settings;
    const bool _quiet;
    const int _otherFiles;
    RunOutputs& _results;
    SpillFile _spillFile;
    RunState* _state;
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
    bool _leaving = false;             // interrupted, children have been told
};

}  // namespace Scan
