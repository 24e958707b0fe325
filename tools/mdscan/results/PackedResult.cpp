// Which fields does a travelling result have?
#include "results/PackedResult.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "results/JobResult.h"
#include "video/base/Failure.h"
#include "video/base/PictureGrid.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {

using Json = nlohmann::ordered_json;

std::string Packed(const JobResult& result) {
    const Video::Tally& tally = result.tally;
    const Video::PictureGrid& grid = tally.grid;
    Json packed = {{"health", static_cast<int>(result.health)},
                   {"code", static_cast<int>(result.code)},
                   {"trouble", result.trouble},
                   {"unwritten", result.unwritten},
                   {"pictures", tally.pictures},
                   {"analysed", tally.analysed},
                   {"length", tally.length},
                   {"elapsed", tally.elapsed},
                   {"events", tally.events},
                   {"dropped", tally.dropped},
                   {"flashes", tally.flashes},
                   {"gaps", tally.gaps},
                   {"droppedPackets", tally.droppedPackets},
                   {"groups",
                    {tally.gops.gops, tally.gops.decoded, tally.gops.tooLong, tally.gops.longest, tally.gops.bySize,
                     tally.gops.unscouted}},
                   {"turn", {tally.rotation, tally.mirrored}},
                   {"grid", {grid.pictureWidth, grid.pictureHeight, grid.blockSize, grid.columns, grid.rows}}};
    if (result.clock) {
        packed["clock"] = {result.clock->at, static_cast<int>(result.clock->source)};
        if (result.clock->offset) {
            packed["clock"].push_back(*result.clock->offset);
        }
    }
    if (result.edges) {
        packed["edges"] = {result.edges->first, result.edges->last, result.edges->longestGap};
    }
    return packed.dump(-1, ' ', false, Json::error_handler_t::replace);
}

JobResult Unpacked(const std::string& text) {
    const Json packed = Json::parse(text);
    const auto number = [&](const char* name) { return packed.at(name).get<int>(); };
    const auto side = [&](std::size_t index) { return packed.at("grid").at(index).get<int>(); };
    const auto group = [&](std::size_t index) { return packed.at("groups").at(index).get<int>(); };
    const int health = number("health");
    if (health < 0 || health > static_cast<int>(Health::Untold)) {
        throw std::out_of_range("health");
    }
    std::optional<Video::StartTime> clock;
    if (packed.contains("clock")) {
        const int source = packed["clock"].at(1).get<int>();
        if (source < 0 || source > static_cast<int>(Video::ClockSource::Arrival)) {
            throw std::out_of_range("clock");
        }
        clock = {packed["clock"].at(0).get<Video::WallTicks>(), static_cast<Video::ClockSource>(source)};
        if (packed["clock"].size() > 2) {
            clock->offset = packed["clock"].at(2).get<Video::Ticks>();
        }
    }
    std::optional<PartEdges> edges;
    if (packed.contains("edges")) {
        const auto edge = [&](std::size_t index) { return packed["edges"].at(index).get<Video::Ticks>(); };
        edges = {edge(0), edge(1), edge(2)};
    }
    return {.health = static_cast<Health>(health),
            .code = static_cast<Video::ExitCode>(number("code")),
            .trouble = packed.at("trouble").get<std::string>(),
            .unwritten = packed.at("unwritten").get<bool>(),
            .tally = {.pictures = packed.at("pictures").get<std::int64_t>(),
                      .analysed = packed.at("analysed").get<std::int64_t>(),
                      .length = packed.at("length").get<Video::Ticks>(),
                      .elapsed = packed.at("elapsed").get<double>(),
                      .events = number("events"),
                      .dropped = number("dropped"),
                      .flashes = number("flashes"),
                      .gaps = number("gaps"),
                      .droppedPackets = packed.at("droppedPackets").get<std::int64_t>(),
                      .gops = {.gops = group(0),
                               .decoded = group(1),
                               .tooLong = group(2),
                               .bySize = group(4),
                               .unscouted = group(5),
                               .longest = packed.at("groups").at(3).get<Video::Ticks>()},
                      .grid = {side(0), side(1), side(2), side(3), side(4)},
                      .rotation = packed.at("turn").at(0).get<int>(),
                      .mirrored = packed.at("turn").at(1).get<bool>()},
            .clock = clock,
            .edges = edges};
}

}  // namespace Scan
