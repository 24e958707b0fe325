// Which fields has a line, in which order?
#include "results/JsonLines.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "results/JobResult.h"
#include "video/base/Box.h"
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

}  // namespace Scan
