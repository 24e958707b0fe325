// How do results and progress look?  Called by main through Report.h.
#include "results/Report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "video/base/Box.h"
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

namespace {

using Json = nlohmann::ordered_json;  // fields in the order in which they are written

constexpr double redrawInterval = 0.25;  // seconds
constexpr double jsonInterval = 1;       // seconds
constexpr double leastGain = 0.005;      // of the whole; less does not tell how long the rest will take

Json BoxesOf(const std::vector<Video::MovingObject>& objects, std::size_t most) {
    Json boxes = Json::array();
    for (std::size_t i = 0; i < std::min(objects.size(), most); ++i) {
        const Video::Box& box = objects[i].box;
        boxes.push_back({{"x", box.x}, {"y", box.y}, {"w", box.width}, {"h", box.height}, {"blocks", objects[i].blocks}});
    }
    return boxes;
}

Json Line(const char* type, const std::string& file) {
    Json line = {{"type", type}};
    if (!file.empty()) {
        line["file"] = file;
    }
    return line;
}

// Names of files may hold bytes that are no text.
std::string Dumped(const Json& line) { return line.dump(-1, ' ', false, Json::error_handler_t::replace); }

double SpeedOf(const Video::Tally& tally) { return tally.elapsed > 0 ? Video::ToSeconds(tally.length) / tally.elapsed : 0; }

template <typename... Values>
std::string Text(const char* format, Values... values) {
    std::array<char, 256> line = {};
    std::snprintf(line.data(), line.size(), format, values...);
    return line.data();
}

}  // namespace

std::string EventLine(const std::string& file, int number, const Video::Event& event, const EventExtras& extras) {
    Json line = Line("event", file);
    line["event"] = number;
    line["start"] = Video::PrintedSeconds(event.start);
    line["end"] = Video::PrintedSeconds(event.end);
    line["peak"] = Video::PrintedSeconds(event.peak);
    if (extras.clock) {
        line["start_time"] = Video::WallTimeText(extras.clock->at + event.start);
        line["end_time"] = Video::WallTimeText(extras.clock->at + event.end);
        line["peak_time"] = Video::WallTimeText(extras.clock->at + event.peak);
    }
    line["start_frame"] = extras.start.number;
    line["end_frame"] = extras.end.number;
    line["peak_frame"] = extras.peak.number;
    line["frame_exact"] = extras.start.exact && extras.end.exact && extras.peak.exact;
    line["frames"] = event.frames;
    line["blocks"] = event.peakBlocks;
    if (!extras.zones.empty()) {
        line["zones"] = Json::array();
        for (std::size_t i = 0; i < extras.zones.size(); ++i) {
            if ((event.zones >> i & 1) != 0) {
                line["zones"].push_back(extras.zones[i]);
            }
        }
    }
    if (!extras.thumbnail.empty()) {
        line["thumbnail"] = extras.thumbnail;
    }
    if (extras.clip) {
        line["clip"] = extras.clip->path;
        line["clip_start"] = Video::PrintedSeconds(extras.clip->start);
    }
    line["boxes"] = BoxesOf(event.objects, mostBoxesPerEvent);
    if (extras.track) {
        line["track"] = Json::array();
        for (const Video::TrackPoint& point : event.track) {
            const Video::Box& box = point.box;
            line["track"].push_back({{"time", Video::PrintedSeconds(point.time)},
                                     {"x", box.x},
                                     {"y", box.y},
                                     {"w", box.width},
                                     {"h", box.height}});
        }
    }
    return Dumped(line);
}

std::string FrameLine(const std::string& file, const Video::PictureNumber& picture, const Video::Findings& frame) {
    Json line = Line("frame", file);
    line["frame"] = picture.number;
    line["frame_exact"] = picture.exact;
    line["time"] = Video::PrintedSeconds(frame.time);
    line["blocks"] = Video::MovingBlocks(frame);
    line["objects"] = BoxesOf(frame.objects, frame.objects.size());
    return Dumped(line);
}

std::string GapLine(const std::string& file, const Video::Gap& gap, const std::optional<Video::StartTime>& clock) {
    Json line = Line("gap", file);
    line["start"] = Video::PrintedSeconds(gap.start);
    line["end"] = Video::PrintedSeconds(gap.end);
    if (clock) {
        line["start_time"] = Video::WallTimeText(clock->at + gap.start);
        line["end_time"] = Video::WallTimeText(clock->at + gap.end);
    }
    line["reason"] = gap.reason;
    return Dumped(line);
}

const char* NameOf(Health health) {
    switch (health) {
        case Health::Whole: return "complete";
        case Health::Damaged: return "damaged";
        case Health::Unreadable: return "unreadable";
        case Health::Interrupted: return "interrupted";
        case Health::Unwritten: return "unwritten";
    }
    return "";
}

std::string FileLine(const std::string& file, const JobResult& result) {
    Json line = Line("file", file);
    line["status"] = NameOf(result.health);
    if (!result.trouble.empty()) {
        line["reason"] = result.trouble;
    }
    if (result.clock) {
        line["start_time"] = Video::WallTimeText(result.clock->at);
        line["clock"] = NameOf(result.clock->source);
    }
    line["pictures"] = result.tally.pictures;
    line["seconds"] = Video::PrintedSeconds(result.tally.length);
    line["analysed"] = result.tally.analysed;
    if (result.tally.groups.groups > 0) {
        line["groups"] = result.tally.groups.groups;
        line["groups_decoded"] = result.tally.groups.decoded;
        line["groups_too_long"] = result.tally.groups.tooLong;
        line["longest_group"] = Video::PrintedSeconds(result.tally.groups.longest);
    }
    line["events"] = result.tally.events;
    return Dumped(line);
}

Video::ExitCode CodeOf(const JobResult& result) {
    if (result.health != Health::Whole) {
        return result.code == Video::exitComplete ? Video::exitFailed : result.code;
    }
    return result.tally.events > 0 ? Video::exitComplete : Video::exitNothing;
}

std::string ResultText(const JobResult& result) {
    if (result.tally.elapsed == 0) {
        return result.trouble;  // it was not even opened
    }
    return (result.trouble.empty() ? "" : result.trouble + "; ") + TallyText(result.tally);
}

std::string TallyText(const Video::Tally& tally) {
    std::string text = Text("%lld pictures (%.1f s), %lld analysed", static_cast<long long>(tally.pictures),
                            Video::ToSeconds(tally.length), static_cast<long long>(tally.analysed));
    if (tally.analysed > 0) {
        text += Text(" on %dx%d blocks of %d pixels", tally.grid.columns, tally.grid.rows, tally.grid.blockSize);
    }
    if (tally.groups.groups > 0) {
        text += Text("; decoded %d of %d groups", tally.groups.decoded, tally.groups.groups);
        if (tally.groups.tooLong > 0) {
            text += Text(", %d because keyframes lie up to %.1f s apart", tally.groups.tooLong,
                         Video::ToSeconds(tally.groups.longest));
        }
    }
    text += Text("; %d event%s", tally.events, tally.events == 1 ? "" : "s");
    if (tally.dropped > 0) {
        text += Text(" (%d too short)", tally.dropped);
    }
    if (tally.gaps > 0) {
        text += Text("; %d gap%s", tally.gaps, tally.gaps == 1 ? "" : "s");
    }
    if (tally.droppedPackets > 0) {
        text += Text("; %lld packets dropped, the scan was too slow", static_cast<long long>(tally.droppedPackets));
    }
    return text + Text("; took %.1f s, %.1f x real time", tally.elapsed, SpeedOf(tally));
}

std::string SumText(const Video::Tally& tally, Video::Ticks recalled) {
    const double speed = tally.elapsed > 0 ? Video::ToSeconds(tally.length - recalled) / tally.elapsed : 0;
    return Text("%d event%s in %.1f s of video; took %.1f s, %.1f x real time", tally.events, tally.events == 1 ? "" : "s",
                Video::ToSeconds(tally.length), tally.elapsed, speed);
}

void PrintLastLine(const std::string& subject, const std::string& text) {
    std::string line = "mdscan: " + (subject.empty() ? text : subject + ": " + text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::string DamageText(const Video::Damage& damage) {
    const std::string more = damage.count > 1 ? Text(" (first of %d errors)", damage.count) : "";
    return Text("damaged near %.1f s: ", Video::ToSeconds(damage.time)) + damage.what + more;
}

std::string ProgressText(double done, double left, const Video::Tally& tally) {
    std::string text = Text("%3.0f %%  %.1f s  %.1f x  %d event%s", done * 100, Video::ToSeconds(tally.length),
                            SpeedOf(tally), tally.events, tally.events == 1 ? "" : "s");
    if (left >= 0) {
        const auto seconds = static_cast<long long>(left + 0.5);
        text += Text("  %lld:%02lld:%02lld left", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return text;
}

std::string ProgressLine(double done, double left, const Video::Tally& tally) {
    const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
    Json line = Line("progress", "");
    line["done"] = rounded(done);
    line["seconds"] = Video::PrintedSeconds(tally.length);
    line["elapsed"] = rounded(tally.elapsed);
    line["speed"] = rounded(SpeedOf(tally));
    line["left"] = left >= 0 ? Json(rounded(left)) : Json();
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
