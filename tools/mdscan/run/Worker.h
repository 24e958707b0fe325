// How is one input scanned beside others?  In a process of its own, so that whatever a broken file does to a decoder, the
// run goes on.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "results/JobResult.h"
#include "results/Records.h"
#include "run/RunState.h"
#include "settings/JobSettings.h"
#include "video/base/Tally.h"

namespace Scan {

class Worker {
public:
    // Starts the scan. The calling process must have one thread only. state: null, or left alone by the child.
    // others: pipes of those that run, which the child has no use for. Throws Failure when there can be no further process.
    Worker(const JobSettings& settings, const std::string& input, RunState* state, const std::vector<int>& others);

    // Starts a process that does this work, which is to say messages into the pipe, and ends.
    explicit Worker(const std::function<void(int pipe)>& work);

    // Ends a scan that is still under way: in good order, so that it leaves no half of a file, unless it takes too long from
    // the moment at which it is told.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    int Pipe() const { return _pipe; }  // readable when there is news

    // Takes in what has come. False once the scan is over, after which there is a result. A scan that says what cannot be
    // understood is ended.
    bool Read();

    // Lets the scan end in good order.
    void Interrupt();

    // Likewise, and nobody listens to it any more.
    void Dismiss();

    bool TakeWait();                          // nobody writes to the pipe that is the input: once
    std::vector<Record> TakeRecords();        // those since the last call
    std::vector<std::string> TakePictures();  // likewise: their lines, unread, for they may have to wait
    std::vector<std::string> TakeWarnings();  // likewise
    bool IsLive() const { return _isLive; }   // as far as is known
    double Done() const { return _done; }     // 0 to 1
    const Video::Tally& SoFar() const { return _tally; }
    const JobResult& Result() const { return *_result; }

    // Was the process ended from outside? Then its result says nothing about the input.
    bool WasKilled() const { return _wasKilled; }

private:
    void Understand(const std::string& message);
    bool EndsInTime() const;
    void Bury(bool understood = true);

    pid_t _process = -1;
    int _pipe = -1;
    std::optional<std::chrono::steady_clock::time_point> _toldToLeave;
    std::string _unread;  // an incomplete message
    std::vector<Record> _records;
    std::vector<std::string> _pictures;  // lines
    std::vector<std::string> _warnings;
    bool _waits = false;
    bool _isLive = false;
    double _done = 0;
    Video::Tally _tally;
    int _events = 0;  // told
    std::optional<JobResult> _result;
    bool _wasKilled = false;
};

}  // namespace Scan
