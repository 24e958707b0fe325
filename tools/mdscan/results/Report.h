// How are results printed?  JSON lines for machines, a line of progress and a last line for people; called by main, Job and
// Batch.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Clip.h"
#include "video/base/Damage.h"
#include "video/base/Failure.h"
#include "video/base/Findings.h"
#include "video/base/Gap.h"
#include "video/base/Tally.h"
#include "video/time/PictureNumbers.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Events.h"

namespace Scan {

inline constexpr std::size_t mostBoxesPerEvent = 8;

// What an event's line holds beside the event: which pictures it spans, what time of day it was, what the user wants.
struct EventExtras {
    Video::PictureNumber start = {}, end = {}, peak = {};
    std::optional<Video::StartTime> clock = {};  // absent: the wall clock is not known
    std::vector<std::string> zones = {};         // names of the watched zones; none: the line names none
    std::string thumbnail = "";                  // path; empty: none
    std::optional<Video::Clip> clip = {};
    bool track = false;
};

// One line each, without its end. file: the video's name; empty: the line does not name one.
std::string EventLine(const std::string& file, int number, const Video::Event& event, const EventExtras& extras = {});
std::string FrameLine(const std::string& file, const Video::PictureNumber& picture, const Video::Findings& frame);

// A hole in what a live source has shown.
std::string GapLine(const std::string& file, const Video::Gap& gap, const std::optional<Video::StartTime>& clock);

enum class Health {
    Whole,        // scanned from start to end
    Damaged,      // scanned as far as it goes
    Unreadable,   // not scanned at all
    Interrupted,  // scanned until the user had enough
    Unwritten     // a result could not be written
};

// How the scan of one input ended.
struct JobResult {
    Health health = Health::Whole;
    Video::ExitCode code = Video::exitComplete;  // when a failure named one
    std::string trouble = "";                    // one line; empty where Whole
    Video::Tally tally = {};
    std::optional<Video::StartTime> clock = {};  // absent: not known
};

// "complete", "damaged", "unreadable", "interrupted"; what a file's line calls it.
const char* NameOf(Health health);

// The line that follows those of one input, where there are several.
std::string FileLine(const std::string& file, const JobResult& result);

// Exit code for a scan of this one input.
Video::ExitCode CodeOf(const JobResult& result);

// What is said of an input in the end: what went wrong, what was read.
std::string ResultText(const JobResult& result);

// "795 pictures (79.4 s) ...": the last line's common part.
std::string TallyText(const Video::Tally& tally);

// "31 events in 345.0 s of video; took ...": of many inputs. recalled: ticks of the length that were not scanned just now.
std::string SumText(const Video::Tally& tally, Video::Ticks recalled);

// One line on standard error: "mdscan: subject: text", without the subject where it is empty. A path may hold anything; the
// line is one line.
void PrintLastLine(const std::string& subject, const std::string& text);

// "damaged near 12.4 s: ...", one line.
std::string DamageText(const Video::Damage& damage);

// How far a scan is, on standard error.
enum class ProgressStyle {
    None,
    Line,  // one line, kept up to date: for a terminal
    Json   // a line now and then: for machines
};

class Progress {
public:
    explicit Progress(ProgressStyle style) : _style(style) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // done: 0 to 1. Draws at most a few times a second.
    void Show(double done, const Video::Tally& tally);
    void Clear();

private:
    ProgressStyle _style;
    bool _drawn = false;
    double _lastDrawn = -1;    // seconds into the scan
    double _firstDone = -1;    // what was done when it began: a resumed run does not begin at 0
    double _firstElapsed = 0;  // seconds into the scan
};

// One line, without its end. left: seconds; negative: not known.
std::string ProgressText(double done, double left, const Video::Tally& tally);
std::string ProgressLine(double done, double left, const Video::Tally& tally);

}  // namespace Scan
