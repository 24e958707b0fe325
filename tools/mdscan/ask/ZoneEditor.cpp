// What does the page to draw zones on know of the video?
#include "ask/ZoneEditor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <nlohmann/json.hpp>

#include "outputs/PageParts.h"
#include "outputs/PageText.h"
#include "results/JsonLines.h"
#include "results/PictureLines.h"
#include "video/files/AtomicText.h"
#include "video/pictures/Samples.h"
#include "video/time/TickTime.h"
#include "video/watch/Conditioning.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

constexpr int mostPictures = 12;     // every second hour of a day
constexpr int widestPicture = 1280;  // pixels: more is not seen beside the cards; docs/mdscan.md says what one takes

std::string Dumped(const Json& json) { return SafeInScript(json.dump(-1, ' ', false, Json::error_handler_t::replace)); }

std::string TextOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Of zones that are a picture: the blocks that it covers, as digits, by the name of its file.
Json MaskBlocks(const std::string& text, const std::vector<Video::Zone>& zones, const Video::PictureGrid& grid) {
    Json blocks = Json::object();
    const Json file = text.empty() ? Json() : Json::parse(text);
    for (std::size_t i = 0; !text.empty() && i < file["zones"].size(); ++i) {
        if (file["zones"][i].contains("mask")) {
            std::string digits;
            const std::vector<std::uint8_t> mask = Video::ZoneMask(zones[i], grid);
            std::transform(mask.begin(), mask.end(), std::back_inserter(digits),
                           [](std::uint8_t covered) { return covered != 0 ? '1' : '0'; });
            blocks[file["zones"][i]["mask"].get<std::string>()] = digits;
        }
    }
    return blocks;
}

// Width by height, as the picture is to be seen.
double AspectOf(const Video::Decoder& decoder) {
    const AVRational pixel = decoder.SampleAspect();
    const double wide = pixel.num > 0 && pixel.den > 0 ? av_q2d(pixel) : 1;
    return wide * decoder.Frame().width / decoder.Frame().height;
}

}  // namespace

void WriteZoneEditor(const std::string& page, const std::string& input, const Video::Decoder& decoder,
                     const Video::PictureGrid& grid, const ScanSettings& settings, const std::string& zoneFile) {
    Video::AtomicText out(page, {input, zoneFile});
    const std::string text = zoneFile.empty() ? "" : TextOf(zoneFile);
    out.Write(PageBegin(zonesPage));
    out.Write(DataBlock("facts", Dumped({{"video", ToldName(input)},
                                         {"aspect", AspectOf(decoder)},
                                         {"grid",
                                          {{"width", grid.pictureWidth},
                                           {"height", grid.pictureHeight},
                                           {"block", grid.blockSize},
                                           {"columns", grid.columns},
                                           {"rows", grid.rows}}},
                                         {"min_size", Video::SmallestSize(settings.minSize, ConditioningOf(settings))},
                                         {"max_size", settings.maxSize},
                                         {"masks", MaskBlocks(text, settings.zones, grid)}})));
    for (const Video::Sample& sample : Video::SamplesOf(input, decoder, mostPictures, widestPicture)) {
        out.Write(DataBlock("picture", Dumped({{"at", Video::PrintedSeconds(sample.time)}, {"jpeg", Base64(sample.jpeg)}})));
    }
    if (!zoneFile.empty()) {
        const std::string name = std::filesystem::path(zoneFile).filename().string();
        out.Write(DataBlock("zonefile", Dumped({{"name", name}, {"text", text}})));
    }
    out.Write(PageEnd(zonesPage));
    out.Keep();
}

}  // namespace Scan
