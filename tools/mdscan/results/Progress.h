// How far is a scan?  On standard error, for people or for machines.
#pragma once

#include <string>

#include "settings/RunSettings.h"
#include "video/base/Tally.h"

namespace Scan {

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

// As the user wants it, told where he looks on.
ProgressStyle StyleOf(const RunSettings& settings);

// One line of JSON, without its end. left: seconds; negative: not known.
std::string ProgressLine(double done, double left, const Video::Tally& tally);

}  // namespace Scan
