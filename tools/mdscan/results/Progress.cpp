// How is progress worded, and how often is it told?
#include "results/Progress.h"

#include <cmath>
#include <cstdio>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "results/TallyText.h"
#include "settings/RunSettings.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"

namespace Scan {

namespace {

constexpr double redrawInterval = 0.25;  // seconds
constexpr double jsonInterval = 1;       // seconds
constexpr double leastGain = 0.005;      // of the whole; less does not tell how long the rest will take

}  // namespace

ProgressStyle StyleOf(const RunSettings& settings) {
    if (settings.progress == "json") {  // machines that ask for it listen, however quiet it is for people
        return ProgressStyle::Json;
    }
    if (settings.quiet || settings.progress == "none") {
        return ProgressStyle::None;
    }
    return isatty(STDERR_FILENO) != 0 ? ProgressStyle::Line : ProgressStyle::None;
}

std::string ProgressLine(double done, double left, const Video::Tally& tally) {
    const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
    nlohmann::ordered_json line = {{"type", "progress"}};
    line["done"] = rounded(done);
    line["seconds"] = Video::PrintedSeconds(tally.length);
    line["elapsed"] = rounded(tally.elapsed);
    line["speed"] = rounded(Video::SpeedOf(tally));
    line["left"] = left >= 0 ? nlohmann::ordered_json(rounded(left)) : nlohmann::ordered_json();
    line["events"] = tally.events;
    return line.dump();
}

void Progress::Show(double done, const Video::Tally& tally) {
    const double interval = _style == ProgressStyle::Json ? jsonInterval : redrawInterval;
    if (_style == ProgressStyle::None || (_lastDrawn >= 0 && tally.elapsed < _lastDrawn + interval)) {
        return;
    }
    if (_firstDone < 0) {
        _firstDone = done;
        _firstElapsed = tally.elapsed;
    }
    _lastDrawn = tally.elapsed;
    const double gained = done - _firstDone;
    const double left = gained > leastGain ? (tally.elapsed - _firstElapsed) * (1 - done) / gained : -1;
    if (_style == ProgressStyle::Json) {
        std::fprintf(stderr, "%s\n", ProgressLine(done, left, tally).c_str());
    } else {
        _drawn = true;
        std::fprintf(stderr, "\r\033[K%s", ProgressText(done, left, tally).c_str());
    }
    std::fflush(stderr);
}

void Progress::Clear() {
    if (_drawn) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        _drawn = false;
    }
}

}  // namespace Scan
