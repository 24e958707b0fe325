// How does JSON become a line, whatever bytes its names hold?
#include "results/JsonLines.h"

#include <variant>

#include <nlohmann/json.hpp>

#include "results/JobResult.h"
#include "results/RecordJson.h"
#include "results/Records.h"
#include "results/VisibleText.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;  // fields in the order in which they are written

std::string Dumped(const Json& json) { return VisibleJson(json.dump(-1, ' ', false, Json::error_handler_t::replace)); }

}  // namespace

std::string LineOf(const Record& record) {
    return std::visit([](const auto& kind) { return Dumped(JsonOf(kind)); }, record);
}

Record RecordOfLine(const std::string& line) { return RecordOf(Json::parse(line)); }

std::string FileLine(const std::string& file, const std::string& camera, const JobResult& result) {
    Json line = {{"type", "file"}};
    if (!file.empty()) {
        line["file"] = file;
        line["camera"] = camera;
    }
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
    if (result.tally.rotation != 0) {
        line["rotation"] = result.tally.rotation;
    }
    if (result.tally.mirrored) {
        line["mirrored"] = true;
    }
    line["analysed"] = result.tally.analysed;
    if (result.tally.gops.gops > 0) {
        line["groups"] = result.tally.gops.gops;
        line["groups_decoded"] = result.tally.gops.decoded;
        line["groups_too_long"] = result.tally.gops.tooLong;
        line["groups_by_size"] = result.tally.gops.bySize;
        line["groups_unscouted"] = result.tally.gops.unscouted;
        line["longest_group"] = Video::PrintedSeconds(result.tally.gops.longest);
    }
    line["events"] = result.tally.events;
    return Dumped(line);
}

std::string ToldSeconds(Video::Ticks time) { return Json(Video::PrintedSeconds(time)).dump(); }

std::string ToldName(const std::string& name) { return Json::parse(Dumped(name)).get<std::string>(); }

}  // namespace Scan
