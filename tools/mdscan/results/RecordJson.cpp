// Which fields has a record, and what are they called?
#include "results/RecordJson.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "results/Records.h"
#include "video/base/Box.h"
#include "video/base/Clip.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/Condition.h"
#include "video/watch/Events.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

Json Beginning(const char* type, const std::string& file) {
    Json json = {{"type", type}};
    if (!file.empty()) {
        json["file"] = file;
    }
    return json;
}

Json JsonOf(const std::vector<BoxRecord>& boxes) {
    Json json = Json::array();
    for (const auto& [box, blocks] : boxes) {
        json.push_back({{"x", box.x}, {"y", box.y}, {"w", box.width}, {"h", box.height}, {"blocks", blocks}});
    }
    return json;
}

Json JsonOf(const std::vector<Video::TrackPoint>& track) {
    Json json = Json::array();
    for (const auto& [time, box] : track) {
        json.push_back(
            {{"time", Video::PrintedSeconds(time)}, {"x", box.x}, {"y", box.y}, {"w", box.width}, {"h", box.height}});
    }
    return json;
}

std::string FileOf(const Json& json) { return json.value("file", std::string()); }

// Whatever time was written comes back: the outermost ones, too, whose third decimal is rounded to more than ticks hold.
Video::Ticks TicksOf(const Json& json, const char* name) {
    using Limits = std::numeric_limits<Video::Ticks>;
    const double seconds = json.at(name).get<double>();
    if (std::abs(seconds) < Video::ToSeconds(Limits::max())) {
        return Video::FromSeconds(seconds);
    }
    if (std::abs(seconds) == Video::PrintedSeconds(Limits::max())) {
        return seconds < 0 ? Limits::min() : Limits::max();
    }
    throw std::out_of_range(name);
}

Video::WallTicks WallTicksOf(const Json& json, const char* name) {
    return Video::WallTimeOf(json.at(name).get<std::string>()).value();
}

Video::Box BoxOf(const Json& json) {
    return {json.at("x").get<int>(), json.at("y").get<int>(), json.at("w").get<int>(), json.at("h").get<int>()};
}

std::vector<BoxRecord> BoxesOf(const Json& json) {
    std::vector<BoxRecord> boxes;
    for (const Json& box : json) {
        boxes.push_back({BoxOf(box), box.at("blocks").get<int>()});
    }
    return boxes;
}

EventRecord EventOf(const Json& json) {
    EventRecord event{.file = FileOf(json),
                      .number = json.at("event").get<int>(),
                      .start = TicksOf(json, "start"),
                      .end = TicksOf(json, "end"),
                      .peak = TicksOf(json, "peak"),
                      .startFrame = json.at("start_frame").get<std::int64_t>(),
                      .endFrame = json.at("end_frame").get<std::int64_t>(),
                      .peakFrame = json.at("peak_frame").get<std::int64_t>(),
                      .frameExact = json.at("frame_exact").get<bool>(),
                      .frames = json.at("frames").get<int>(),
                      .blocks = json.at("blocks").get<int>(),
                      .flash = json.value("flash", false),
                      .thumbnail = json.value("thumbnail", std::string()),
                      .boxes = BoxesOf(json.at("boxes"))};
    if (json.contains("start_time")) {
        event.wall = {WallTicksOf(json, "start_time"), WallTicksOf(json, "end_time"), WallTicksOf(json, "peak_time")};
    }
    if (json.contains("zones")) {
        event.zones = json["zones"].get<std::vector<std::string>>();
    }
    if (json.contains("clip")) {
        event.clip = Video::Clip{json["clip"].get<std::string>(), TicksOf(json, "clip_start")};
    }
    if (json.contains("track")) {
        event.track.emplace();
        for (const Json& point : json["track"]) {
            event.track->push_back({TicksOf(point, "time"), BoxOf(point)});
        }
    }
    if (json.contains("seam")) {
        const Json& seam = json["seam"];
        event.seam = {{seam.at(0).get<Video::Ticks>(), seam.at(1).get<Video::Ticks>()},
                      seam.at(2).get<bool>(),
                      seam.at(3).get<bool>(),
                      seam.at(4).get<bool>()};
    }
    return event;
}

FrameRecord FrameOf(const Json& json) {
    return {FileOf(json),
            {json.at("frame").get<std::int64_t>(), json.at("frame_exact").get<bool>()},
            TicksOf(json, "time"),
            BoxesOf(json.at("objects"))};
}

GapRecord GapOf(const Json& json) {
    GapRecord gap{.file = FileOf(json),
                  .start = TicksOf(json, "start"),
                  .end = TicksOf(json, "end"),
                  .reason = json.at("reason").get<std::string>()};
    if (json.contains("start_time")) {
        gap.wall = {WallTicksOf(json, "start_time"), WallTicksOf(json, "end_time")};
    }
    return gap;
}

ConditionRecord ConditionOf(const Json& json) {
    ConditionRecord condition{.file = FileOf(json),
                              .kind = Video::ConditionNamed(json.at("condition").get<std::string>()).value(),
                              .start = TicksOf(json, "start"),
                              .end = TicksOf(json, "end")};
    if (json.contains("start_time")) {
        condition.wall = {WallTicksOf(json, "start_time"), WallTicksOf(json, "end_time")};
    }
    return condition;
}

}  // namespace

Json JsonOf(const EventRecord& event) {
    Json json = Beginning("event", event.file);
    json["event"] = event.number;
    json["start"] = Video::PrintedSeconds(event.start);
    json["end"] = Video::PrintedSeconds(event.end);
    json["peak"] = Video::PrintedSeconds(event.peak);
    if (event.wall) {
        json["start_time"] = Video::WallTimeText(event.wall->start);
        json["end_time"] = Video::WallTimeText(event.wall->end);
        json["peak_time"] = Video::WallTimeText(event.wall->peak);
    }
    json["start_frame"] = event.startFrame;
    json["end_frame"] = event.endFrame;
    json["peak_frame"] = event.peakFrame;
    json["frame_exact"] = event.frameExact;
    json["frames"] = event.frames;
    json["blocks"] = event.blocks;
    if (event.flash) {
        json["flash"] = true;
    }
    if (event.zones) {
        json["zones"] = *event.zones;
    }
    if (!event.thumbnail.empty()) {
        json["thumbnail"] = event.thumbnail;
    }
    if (event.clip) {
        json["clip"] = event.clip->path;
        json["clip_start"] = Video::PrintedSeconds(event.clip->start);
    }
    json["boxes"] = JsonOf(event.boxes);
    if (event.track) {
        json["track"] = JsonOf(*event.track);
    }
    if (event.seam) {
        const auto& [motion, goesOn, clearPeak, onlyFlash] = *event.seam;
        json["seam"] = {motion.start, motion.end, goesOn, clearPeak, onlyFlash};
    }
    return json;
}

Json JsonOf(const FrameRecord& frame) {
    int blocks = 0;
    for (const BoxRecord& object : frame.objects) {
        blocks += object.blocks;
    }
    Json json = Beginning("frame", frame.file);
    json["frame"] = frame.picture.number;
    json["frame_exact"] = frame.picture.exact;
    json["time"] = Video::PrintedSeconds(frame.time);
    json["blocks"] = blocks;
    json["objects"] = JsonOf(frame.objects);
    return json;
}

Json JsonOf(const GapRecord& gap) {
    Json json = Beginning("gap", gap.file);
    json["start"] = Video::PrintedSeconds(gap.start);
    json["end"] = Video::PrintedSeconds(gap.end);
    if (gap.wall) {
        json["start_time"] = Video::WallTimeText(gap.wall->start);
        json["end_time"] = Video::WallTimeText(gap.wall->end);
    }
    json["reason"] = gap.reason;
    return json;
}

Json JsonOf(const ConditionRecord& condition) {
    Json json = Beginning("condition", condition.file);
    json["condition"] = Video::NameOf(condition.kind);
    json["start"] = Video::PrintedSeconds(condition.start);
    json["end"] = Video::PrintedSeconds(condition.end);
    if (condition.wall) {
        json["start_time"] = Video::WallTimeText(condition.wall->start);
        json["end_time"] = Video::WallTimeText(condition.wall->end);
    }
    return json;
}

Record RecordOf(const Json& json) {
    const auto type = json.at("type").get<std::string>();
    if (type == "event") {
        return EventOf(json);
    }
    if (type == "frame") {
        return FrameOf(json);
    }
    if (type == "condition") {
        return ConditionOf(json);
    }
    return type == "gap" ? GapOf(json) : throw std::invalid_argument(type);
}

}  // namespace Scan
