// How do results and progress look?  Called by main through Report.h.
#include "Report.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;       // fields in the order in which they are written

constexpr double redrawInterval = 0.25;    // seconds

Json BoxesOf(const std::vector<MovingObject>& objects, std::size_t most) {
    Json boxes = Json::array();
    for (std::size_t i = 0; i < std::min(objects.size(), most); ++i) {
        const Box& box = objects[i].box;
        boxes.push_back({{"x", box.x}, {"y", box.y}, {"w", box.width}, {"h", box.height}, {"blocks", objects[i].blocks}});
    }
    return boxes;
}

double SpeedOf(const Tally& tally) {
    return tally.elapsed > 0 ? ToSeconds(tally.length) / tally.elapsed : 0;
}

template <typename... Values>
std::string Text(const char* format, Values... values) {
    std::array<char, 256> line = {};
    std::snprintf(line.data(), line.size(), format, values...);
    return line.data();
}

}  // namespace

std::string EventLine(int number, const Event& event) {
    return Json{{"type", "event"},
                {"event", number},
                {"start", PrintedSeconds(event.start)},
                {"end", PrintedSeconds(event.end)},
                {"peak", PrintedSeconds(event.peak)},
                {"frames", event.frames},
                {"blocks", event.peakBlocks},
                {"boxes", BoxesOf(event.objects, mostBoxesPerEvent)}}
        .dump();
}

std::string FrameLine(std::int64_t pictureNumber, const Findings& frame) {
    return Json{{"type", "frame"},
                {"frame", pictureNumber},
                {"time", PrintedSeconds(frame.time)},
                {"blocks", MovingBlocks(frame)},
                {"objects", BoxesOf(frame.objects, frame.objects.size())}}
        .dump();
}

std::string TallyText(const Tally& tally) {
    std::string text = Text("%lld pictures (%.1f s), %lld analysed", static_cast<long long>(tally.pictures),
                            ToSeconds(tally.length), static_cast<long long>(tally.analysed));
    if (tally.analysed > 0) {
        text += Text(" on %dx%d blocks of %d pixels", tally.grid.columns, tally.grid.rows, tally.grid.blockSize);
    }
    text += Text("; %d event%s", tally.events, tally.events == 1 ? "" : "s");
    if (tally.dropped > 0) {
        text += Text(" (%d too short)", tally.dropped);
    }
    return text + Text("; took %.1f s, %.1f x real time", tally.elapsed, SpeedOf(tally));
}

std::string DamageText(const Damage& damage) {
    const std::string more = damage.count > 1 ? Text(" (first of %d errors)", damage.count) : "";
    return Text("damaged near %.1f s: ", ToSeconds(damage.time)) + damage.what + more;
}

void Progress::Show(double done, const Tally& tally) {
    if (!_visible || (_lastDrawn >= 0 && tally.elapsed < _lastDrawn + redrawInterval)) {
        return;
    }
    _lastDrawn = tally.elapsed;
    _drawn = true;
    std::fprintf(stderr, "\r\033[K%3.0f %%  %.1f s  %.1f x  %d event%s", done * 100, ToSeconds(tally.length), SpeedOf(tally),
                 tally.events, tally.events == 1 ? "" : "s");
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
