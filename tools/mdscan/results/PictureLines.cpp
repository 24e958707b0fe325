// How do pictures become text, and back?
#include "results/PictureLines.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <variant>
#include <vector>

extern "C" {
#include <libavutil/base64.h>
}

#include <nlohmann/json.hpp>

#include "results/ScanPictures.h"
#include "video/base/BgrPicture.h"
#include "video/base/PictureGrid.h"
#include "video/files/PngFile.h"
#include "video/time/TickTime.h"
#include "video/watch/Events.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

// Value and length of each run, one after another: most blocks of most cameras never move.
Json Runs(const std::vector<std::uint32_t>& counts) {
    Json runs = Json::array();
    for (std::size_t i = 0; i < counts.size();) {
        std::size_t end = i;
        while (end < counts.size() && counts[end] == counts[i]) {
            ++end;
        }
        runs.push_back(counts[i]);
        runs.push_back(end - i);
        i = end;
    }
    return runs;
}

std::vector<std::uint32_t> Unrolled(const Json& runs, std::size_t size) {
    std::vector<std::uint32_t> counts;
    for (std::size_t i = 0; i + 1 < runs.size(); i += 2) {
        const auto length = runs.at(i + 1).get<std::size_t>();
        if (length > size - counts.size()) {
            throw std::out_of_range("runs");
        }
        counts.insert(counts.end(), length, runs.at(i).get<std::uint32_t>());
    }
    if (counts.size() != size) {
        throw std::out_of_range("runs");
    }
    return counts;
}

// Time in ticks and box of each point, one after another.
Json Flat(const std::vector<Video::TrackPoint>& track) {
    Json flat = Json::array();
    for (const auto& [time, box] : track) {
        flat.insert(flat.end(), {time, box.x, box.y, box.width, box.height});
    }
    return flat;
}

std::vector<Video::TrackPoint> TrackOf(const Json& flat) {
    std::vector<Video::TrackPoint> track;
    for (std::size_t i = 0; i < flat.size(); i += 5) {
        const auto side = [&](std::size_t of) { return flat.at(i + of).get<int>(); };
        track.push_back({flat.at(i).get<Video::Ticks>(), {side(1), side(2), side(3), side(4)}});
    }
    return track;
}

Json JsonOf(const EventPicture& picture) {
    return {{"event", picture.event}, {"jpeg", Base64(picture.jpeg)}, {"track", Flat(picture.track)}};
}

Json JsonOf(const GroundPicture& picture) {
    const Video::PictureGrid& grid = picture.heat.grid;
    const Video::BgrPicture& background = picture.background;
    return {{"grid", {grid.pictureWidth, grid.pictureHeight, grid.blockSize, grid.columns, grid.rows}},
            {"heat", Runs(picture.heat.counts)},
            {"frames", picture.heat.frames},
            {"background", background.pixels.empty() ? "" : Base64(Video::PngBytes(background))}};
}

}  // namespace

std::string Unbase64(const std::string& text) {
    std::string bytes(text.size(), '\0');
    const int size =
        av_base64_decode(reinterpret_cast<std::uint8_t*>(bytes.data()), text.c_str(), static_cast<int>(bytes.size()));
    if (size < 0) {
        throw std::invalid_argument("base64");
    }
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

std::string Base64(const std::string& bytes) {
    std::string text(AV_BASE64_SIZE(bytes.size()), '\0');
    av_base64_encode(text.data(), static_cast<int>(text.size()), reinterpret_cast<const std::uint8_t*>(bytes.data()),
                     static_cast<int>(bytes.size()));
    text.resize(text.find('\0'));
    return text;
}

std::string LineOf(const ScanPicture& picture) {
    return std::visit([](const auto& kind) { return JsonOf(kind).dump(); }, picture);
}

ScanPicture PictureOf(const std::string& line) {
    const Json parsed = Json::parse(line);
    if (parsed.contains("event")) {
        return EventPicture{parsed.at("event").get<int>(), Unbase64(parsed.at("jpeg").get<std::string>()),
                            TrackOf(parsed.at("track"))};
    }
    const auto side = [&](std::size_t index) {
        const int value = parsed.at("grid").at(index).get<int>();
        return value > 0 ? value : throw std::out_of_range("grid");
    };
    GroundPicture ground;
    ground.heat.grid = {side(0), side(1), side(2), side(3), side(4)};
    ground.heat.counts = Unrolled(parsed.at("heat"), static_cast<std::size_t>(side(3)) * static_cast<std::size_t>(side(4)));
    ground.heat.frames = parsed.at("frames").get<std::uint64_t>();
    if (const auto background = parsed.at("background").get<std::string>(); !background.empty()) {
        ground.background = Video::ReadPngBytes(Unbase64(background));
    }
    return ground;
}

}  // namespace Scan
