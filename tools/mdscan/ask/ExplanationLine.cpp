// How does an explanation look as JSON?
#include "ask/Explanation.h"

#include <nlohmann/json.hpp>

#include "ask/BlockProbe.h"
#include "results/ScanLine.h"
#include "video/base/Box.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

Json LevelsOf(const Levels& levels) { return {{"y", levels.y}, {"cb", levels.cb}, {"cr", levels.cr}}; }

Json BoxOf(const Video::Box& box) { return {{"x", box.x}, {"y", box.y}, {"w", box.width}, {"h", box.height}}; }

Json Candidates(const BlockFacts& facts) {
    Json list = Json::array();
    for (const Candidate& candidate : facts.candidates) {
        Json entry = Json::object();
        if (!candidate.zone.empty()) {
            entry["zone"] = candidate.zone;
        }
        entry["verdict"] = NameOf(candidate.verdict);
        entry["blocks"] = candidate.blocks;
        entry["moved"] = candidate.moved;
        entry["columns"] = candidate.box.Width();
        entry["rows"] = candidate.box.Height();
        entry["least_columns"] = candidate.leastColumns;
        entry["least_rows"] = candidate.leastRows;
        list.push_back(entry);
    }
    return list;
}

// All that is known once the history is filled.
void AddJudgement(Json& line, const BlockFacts& facts) {
    line["reference"] = LevelsOf(facts.reference);
    line["noise"] = facts.noise;
    line["chroma_limit"] = facts.chromaLimit;
    line["foreground"] = facts.foreground;
    Json background = {{"known", facts.known}};
    if (facts.known) {
        background["age"] = Video::PrintedSeconds(facts.backgroundAge);
    }
    line["background"] = background;
    line["sample"] = {{"y", facts.sample}, {"age", Video::PrintedSeconds(facts.sampleAge)}};
    line["history"] = facts.history;
    line["taught"] = facts.taught;
    line["stable"] = facts.stable;
    line["means"] = facts.means;
    line["dispersions"] = facts.dispersions;
    line["change"] = {
        {"now", facts.changed}, {"limit", facts.changeLimit}, {"age", Video::PrintedSeconds(facts.sinceChange)}};
    if (facts.shadowScore) {
        line["shadow"] = {{"score", *facts.shadowScore},
                          {"limit", facts.shadowLimit},
                          {"dropped", *facts.shadowScore < facts.shadowLimit}};
    }
    line["candidates"] = Candidates(facts);
}

}  // namespace

std::string ExplanationLine(const Explanation& e) {
    const BlockFacts& facts = e.facts;
    const Video::Box pixels =
        Video::PixelBox({facts.place.column, facts.place.row, facts.place.column, facts.place.row}, facts.grid);
    Json line = {{"type", "explanation"},
                 {"schema", schemaVersion},
                 {"file", e.file},
                 {"at", Video::PrintedSeconds(e.asked)},
                 {"time", Video::PrintedSeconds(e.time)},
                 {"frame", e.picture.number},
                 {"frame_exact", e.picture.exact},
                 {"column", facts.place.column},
                 {"row", facts.place.row},
                 {"pixels", BoxOf(pixels)},
                 {"verdict", NameOf(facts.verdict)},
                 {"current", LevelsOf(facts.current)},
                 {"excluded", facts.excluded},
                 {"zones", facts.zones}};
    if (facts.found) {
        line["detector"] = NameOf(*facts.found);
        line["disturbances"] = facts.disturbances;
        line["suppressed"] = facts.suppressed;
    }
    if (facts.judged) {
        AddJudgement(line, facts);
    }
    if (facts.large) {
        line["large"] = {{"columns", facts.large->extent.columns},
                         {"rows", facts.large->extent.rows},
                         {"most_columns", facts.large->largest.columns},
                         {"most_rows", facts.large->largest.rows}};
    }
    if (facts.object) {
        line["object"] = BoxOf(facts.object->box);
        line["object"]["blocks"] = facts.object->blocks;
    }
    line["blocks"] = e.movingBlocks;
    line["counts"] = e.event.has_value();
    if (e.event) {
        Json event = {{"dropped", !e.event->counts},
                      {"forgotten", e.event->forgotten},
                      {"start", Video::PrintedSeconds(e.event->start)},
                      {"end", Video::PrintedSeconds(e.event->end)}};
        if (e.event->counts) {
            event["event"] = e.event->number;
        }
        line["event"] = event;
    }
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Scan
