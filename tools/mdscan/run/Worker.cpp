// What do parent and child say to each other?
//
// The child writes messages into a pipe, one a line: L and a record, A and a picture, W and a warning, N that nobody writes
// yet to the pipe that is the input, V that it is a live source, P and numbers on its progress, E and its packed result. A
// child that dies sends no E.
#include "run/Worker.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <thread>
#include <utility>
#include <variant>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/PictureLines.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "run/Job.h"
#include "run/RunState.h"
#include "settings/JobSettings.h"
#include "video/base/Failure.h"
#include "video/base/LiveName.h"
#include "video/base/Tally.h"

namespace Scan {

namespace {

constexpr auto orderlyEnd = std::chrono::seconds(5);

class Speaker : public JobListener {
public:
    explicit Speaker(int pipe) : _pipe(pipe) {}

    // Throws Failure.
    void Say(char kind, const std::string& text) {
        const std::string message = kind + text + "\n";
        for (std::size_t done = 0; done < message.size();) {
            const ssize_t written = write(_pipe, message.data() + done, message.size() - done);
            if (written < 0 && errno != EINTR) {  // nobody listens any more: files that are not whole go
                throw Video::Failure(Video::Concern::Output, std::string("cannot tell results: ") + std::strerror(errno));
            }
            done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        }
    }

    void OnRecord(const Record& record) override { Say('L', LineOf(record)); }
    void OnScanPicture(const ScanPicture& picture) override { Say('A', LineOf(picture)); }
    void OnWait() override { Say('N', ""); }
    void OnLive() override { Say('V', ""); }
    void OnWarning(const std::string& text) override { Say('W', text); }

    void OnPicture(double done, const Video::Tally& tally) override {
        if (tally.elapsed < _lastSaid + sayingInterval) {
            return;
        }
        _lastSaid = tally.elapsed;
        std::array<char, 128> text = {};
        std::snprintf(text.data(), text.size(), "%.6f %lld %lld %d", done, static_cast<long long>(tally.pictures),
                      static_cast<long long>(tally.length), tally.events);
        Say('P', text.data());
    }

private:
    static constexpr double sayingInterval = 0.2;  // seconds

    int _pipe;
    double _lastSaid = 0;  // seconds into the scan
};

void Work(const JobSettings& settings, const std::string& input, int pipe) {
    Speaker speaker(pipe);
    const JobResult result = RunJob(settings, input, Video::ShownName(input), speaker);
    speaker.Say('E', Packed(result));
}

}  // namespace

Worker::Worker(const JobSettings& settings, const std::string& input, RunState* state, const std::vector<int>& others)
    : Worker([&](int pipe) {
          for (const int other : others) {
              close(other);
          }
          if (state) {
              state->Leave();
          }
          Work(settings, input, pipe);
      }) {}

Worker::Worker(const std::function<void(int pipe)>& work) {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw Video::Failure(Video::Concern::System, std::string("cannot start a scan: ") + std::strerror(errno));
    }
    std::fflush(nullptr);  // or the child would print it again
    _process = fork();
    if (_process < 0) {
        const int error = errno;
        close(ends[0]);
        close(ends[1]);
        throw Video::Failure(Video::Concern::System, std::string("cannot start a scan: ") + std::strerror(error));
    }
    if (_process == 0) {
        close(ends[0]);
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // without its parent nobody needs it
        setpgid(0, 0);                     // the keyboard interrupts the parent, which tells its children
        try {
            work(ends[1]);
        } catch (const std::exception&) {  // cannot be told
            std::exit(Video::exitFailed);
        }
        std::exit(0);
    }
    close(ends[1]);
    _pipe = ends[0];
}

Worker::~Worker() {
    if (_process > 0) {
        Dismiss();
        if (!EndsInTime()) {
            kill(_process, SIGKILL);
        }
        Bury();
    }
}

// Once: a second signal would end it at once.
void Worker::Interrupt() {
    if (_process > 0 && !_toldToLeave) {
        _toldToLeave = std::chrono::steady_clock::now();
        kill(_process, SIGTERM);
    }
}

void Worker::Dismiss() {
    if (_pipe >= 0) {
        close(std::exchange(_pipe, -1));  // it may be waiting for somebody to read
    }
    Interrupt();
}

// Of several that were told at once, none takes longer than the others.
bool Worker::EndsInTime() const {
    constexpr auto step = std::chrono::milliseconds(10);
    for (;;) {
        siginfo_t end = {};
        if (waitid(P_PID, static_cast<id_t>(_process), &end, WEXITED | WNOHANG | WNOWAIT) != 0 || end.si_pid != 0) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= *_toldToLeave + orderlyEnd) {
            return false;
        }
        std::this_thread::sleep_for(step);
    }
}

bool Worker::Read() {
    std::array<char, 1 << 16> part;
    const ssize_t got = read(_pipe, part.data(), part.size());
    if (got < 0 && errno == EINTR) {
        return true;
    }
    if (got <= 0) {
        Bury();
        return false;
    }
    _unread.append(part.data(), static_cast<std::size_t>(got));
    std::size_t begin = 0;
    try {
        for (std::size_t end = 0; (end = _unread.find('\n', begin)) != std::string::npos; begin = end + 1) {
            Understand(_unread.substr(begin, end - begin));
        }
    } catch (const std::exception&) {  // no record, no result: the other scans go on
        kill(_process, SIGKILL);
        Bury(false);
        return false;
    }
    _unread.erase(0, begin);
    return true;
}

void Worker::Understand(const std::string& message) {
    const std::string text = message.substr(std::min<std::size_t>(1, message.size()));
    switch (message.empty() ? '\0' : message.front()) {
        case 'N': _waits = true; break;
        case 'V': _isLive = true; break;
        case 'L':
            _records.push_back(RecordOfLine(text));
            _events += std::holds_alternative<EventRecord>(_records.back()) ? 1 : 0;
            break;
        case 'A': _pictures.push_back(text); break;
        case 'W': _warnings.push_back(text); break;
        case 'E': _result = Unpacked(text); break;
        default: {
            long long pictures = 0, length = 0;
            if (std::sscanf(text.c_str(), "%lf %lld %lld %d", &_done, &pictures, &length, &_tally.events) == 4) {
                _tally.pictures = pictures;
                _tally.length = length;
            }
        }
    }
}

// The child has closed its end, or was killed because it was not understood: how did it go?
void Worker::Bury(bool understood) {
    int status = 0;
    while (waitpid(_process, &status, 0) < 0 && errno == EINTR) {
    }
    _process = -1;
    if (_pipe >= 0) {
        close(std::exchange(_pipe, -1));
    }
    if (_result) {
        _tally = _result->tally;
        return;
    }
    const int signal = understood && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    _wasKilled = signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == 0;
    const std::string end =
        signal != 0 ? std::string("by signal ") + std::to_string(signal) + ", " + strsignal(signal) : "without a result";
    _tally.events = _events;  // its own count may be older, or never have come
    const bool wentSomewhere = understood && (_events > 0 || _tally.pictures > 0);
    _result = JobResult{.health = wentSomewhere ? Health::Damaged : Health::Unreadable,
                        .code = Video::exitFailed,
                        .trouble = "its scan was ended " + end,
                        .tally = _tally};
}

bool Worker::TakeWait() { return std::exchange(_waits, false); }

std::vector<Record> Worker::TakeRecords() { return std::exchange(_records, {}); }

std::vector<std::string> Worker::TakeWarnings() { return std::exchange(_warnings, {}); }

std::vector<std::string> Worker::TakePictures() { return std::exchange(_pictures, {}); }

}  // namespace Scan
