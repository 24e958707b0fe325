// mdscan: what moves in this video, and when?  Opens the file, shows its pictures to the detector, reports events.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "Cadence.h"
#include "Decoder.h"
#include "Events.h"
#include "Failure.h"
#include "Libav.h"
#include "Options.h"
#include "Overlay.h"
#include "PlainPicture.h"
#include "PngFile.h"
#include "Report.h"
#include "ResultFile.h"
#include "Watcher.h"
#include "coreMD.hpp"

namespace Scan {

namespace {

// Analysed frames further apart than this many periods have a hole between them: no event reaches across.
constexpr int periodsWithoutFrame = 10;

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);     // written by a signal handler

void Interrupt(int) {
    interrupted = true;
}

std::string VersionText() {
    const auto [major, minor, patch] = coremd::LibraryVersion();
    return "mdscan, coreMD " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch) + "\n" +
           LibavVersions();
}

// A path may hold anything; the last line is one line.
void PrintLastLine(const std::string& subject, const std::string& text) {
    std::string line = "mdscan: " + subject + ": " + text;
    std::replace_if(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    std::fprintf(stderr, "%s\n", line.c_str());
}

// One scan, from the first picture to the last line.
class Job {
public:
    // Throws Failure when there is nothing to scan or no place for a result.
    explicit Job(const Options& options);

    // Returns the exit code; everything has been said by then.
    int Run();

private:
    void Scan();
    void Analyse(const AVFrame& frame, Ticks time);
    void PrintEvent(const std::optional<Event>& event);
    void Print(const std::string& line);
    void CompleteFiles();
    Tally Sum() const;

    const Options _options;
    const std::chrono::steady_clock::time_point _begin = std::chrono::steady_clock::now();
    Decoder _decoder;
    Cadence _cadence;
    const WatchRules _rules;
    EventLog _events;
    PlainPicture _picture;
    std::optional<Watcher> _watcher;
    Host::PixelFormat _layout = {};            // of the pictures that the watcher was made for
    std::vector<MovingObject> _objects;        // of the newest analysed frame
    std::int64_t _analysed = 0;                // frames
    int _printed = 0;                          // events
    std::optional<ResultFile> _background;
    std::optional<Overlay> _overlay;
    Progress _progress;
};

Job::Job(const Options& options)
    : _options(options),
      _decoder(options.input),
      _cadence(options.rate, _decoder.NominalInterval()),
      _rules{.framesPerSecond = 1 / ToSeconds(_decoder.NominalInterval()), .shadows = options.shadows,
             .minSize = options.minSize, .zones = options.zones},
      _events({.mergeGap = FromSeconds(options.mergeGap), .minDuration = FromSeconds(options.minDuration),
               .longestGap = std::max(FromSeconds(options.mergeGap), periodsWithoutFrame * _cadence.Period())}),
      _progress(isatty(STDERR_FILENO) != 0) {
    if (!options.background.empty()) {
        _background.emplace(options.background, options.input);
    }
    if (!options.overlay.empty()) {
        _overlay.emplace(options.overlay, options.input, _decoder.NominalInterval(), _decoder.SampleAspect());
    }
}

int Job::Run() {
    std::string trouble;
    int code = exitComplete;
    const auto attempt = [&](const auto& step) {
        try {
            step();
        } catch (const Failure& failure) {
            trouble = trouble.empty() ? failure.what() : trouble;
            code = code == exitComplete ? failure.Code() : code;
        }
    };
    attempt([&] { Scan(); });
    attempt([&] { PrintEvent(_events.Close()); });         // what was found before a failure counts
    if (code == exitComplete) {
        attempt([&] { CompleteFiles(); });                 // those of a damaged video are complete as far as it goes
    }
    if (code == exitComplete && (interrupted || _decoder.Found().count > 0)) {
        trouble = interrupted ? "interrupted" : DamageText(_decoder.Found());
        code = exitFailed;
    }
    _progress.Clear();
    PrintLastLine(_options.input, (trouble.empty() ? "" : trouble + "; ") + TallyText(Sum()));
    return code;
}

void Job::Scan() {
    while (!interrupted && _decoder.Next()) {
        const AVFrame& frame = _decoder.Frame();
        if (_cadence.Takes(_decoder.Time())) {
            Analyse(frame, _decoder.Time());
        }
        if (_overlay) {
            _overlay->Write(frame, _decoder.Time(), _objects);
        }
        _progress.Show(_decoder.Progress(), Sum());
    }
}

void Job::Analyse(const AVFrame& frame, Ticks time) {
    _picture.Take(frame);
    const Host::PictureFormat& format = _picture.Format();
    if (!_watcher || _watcher->Grid().pictureWidth != format.width || _watcher->Grid().pictureHeight != format.height ||
        _layout != format.format) {
        PrintEvent(_events.Close());                       // the new pictures cannot be compared with the old ones
        _layout = format.format;
        _watcher.emplace(format, GridOf(format.width, format.height, _options.blockSize), _rules);
    }
    Findings findings = _watcher->Watch(_picture.View(), time);
    ++_analysed;
    if (_options.frames) {
        Print(FrameLine(_decoder.Pictures() - 1, findings));
    }
    PrintEvent(_events.Add(findings));
    _objects = std::move(findings.objects);
}

void Job::PrintEvent(const std::optional<Event>& event) {
    if (event) {
        Print(EventLine(++_printed, *event));
    }
}

void Job::Print(const std::string& line) {
    _progress.Clear();                                     // both may go to the same terminal
    if (std::fprintf(stdout, "%s\n", line.c_str()) < 0 || std::fflush(stdout) != 0) {
        throw Failure(exitFailed, std::string("cannot print results: ") + std::strerror(errno));
    }
}

void Job::CompleteFiles() {
    if (_overlay) {
        _overlay->Finish();
    }
    if (_background && _watcher) {
        const PictureGrid& grid = _watcher->Grid();
        WritePng(Enlarged(_watcher->Background(), grid.blockSize, grid.pictureWidth, grid.pictureHeight), *_background);
        _background->Keep();
    }
}

Tally Job::Sum() const {
    Tally tally;
    tally.pictures = _decoder.Pictures();
    tally.analysed = _analysed;
    tally.length = tally.pictures > 0 ? _decoder.Time() + _decoder.NominalInterval() : 0;
    tally.elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - _begin).count();
    tally.events = _events.Count();
    tally.dropped = _events.Dropped();
    tally.grid = _watcher ? _watcher->Grid() : PictureGrid{};
    return tally;
}

// The first interruption ends the scan in good order, the second one at once.
void LeaveOrderly() {
    struct sigaction once = {};
    once.sa_handler = Interrupt;
    once.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &once, nullptr);
    sigaction(SIGTERM, &once, nullptr);
    std::signal(SIGPIPE, SIG_IGN);                         // a reader that leaves becomes an error of Print
}

int Main(const std::vector<std::string>& arguments) {
    const Parsed parsed = ParseOptions(arguments, VersionText());
    if (!parsed.options) {
        std::fputs(parsed.text.c_str(), parsed.exitCode == exitComplete ? stdout : stderr);
        return parsed.exitCode;
    }
    CollectComplaints();
    LeaveOrderly();
    try {
        return Job(*parsed.options).Run();
    } catch (const Failure& failure) {
        PrintLastLine(parsed.options->input, failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        PrintLastLine(parsed.options->input, error.what());
        return exitFailed;
    }
}

}  // namespace

}  // namespace Scan

int main(int argc, char** argv) {
    return Scan::Main(std::vector<std::string>(argv + 1, argv + argc));
}
