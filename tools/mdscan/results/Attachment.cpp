// How do attachments become text, and back?  Called by Job, RunResults and HtmlPage through Attachment.h.
#include "results/Attachment.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

extern "C" {
#include <libavutil/base64.h>
}

#include <nlohmann/json.hpp>

#include "video/base/PictureGrid.h"
#include "video/files/PngFile.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

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

}  // namespace

std::string Base64(const std::string& bytes) {
    std::string text(AV_BASE64_SIZE(bytes.size()), '\0');
    av_base64_encode(text.data(), static_cast<int>(text.size()), reinterpret_cast<const std::uint8_t*>(bytes.data()),
                     static_cast<int>(bytes.size()));
    text.resize(text.find('\0'));
    return text;
}

std::string AttachedText(const Attachment& attachment) {
    Json text;
    if (attachment.event) {
        text = {{"event", attachment.event->event}, {"jpeg", attachment.event->jpeg}};
    } else if (attachment.ground) {
        const Video::PictureGrid& grid = attachment.ground->heat.grid;
        text = {
            {"grid", {grid.pictureWidth, grid.pictureHeight, grid.blockSize, grid.columns, grid.rows}},
            {"heat", Runs(attachment.ground->heat.counts)},
            {"background",
             attachment.ground->background.pixels.empty() ? "" : Base64(Video::PngBytes(attachment.ground->background))}};
    }
    return text.dump();
}

Attachment AttachmentOf(const std::string& text) {
    const Json parsed = Json::parse(text);
    if (parsed.contains("event")) {
        return {.event = EventPicture{parsed.at("event").get<int>(), parsed.at("jpeg").get<std::string>()}};
    }
    const auto side = [&](std::size_t index) {
        const int value = parsed.at("grid").at(index).get<int>();
        return value > 0 ? value : throw std::out_of_range("grid");
    };
    GroundPicture ground;
    ground.heat.grid = {side(0), side(1), side(2), side(3), side(4)};
    ground.heat.counts = Unrolled(parsed.at("heat"), static_cast<std::size_t>(side(3)) * static_cast<std::size_t>(side(4)));
    if (const auto background = parsed.at("background").get<std::string>(); !background.empty()) {
        ground.background = Video::ReadPngBytes(Unbase64(background));
    }
    return {.ground = std::move(ground)};
}

}  // namespace Scan
