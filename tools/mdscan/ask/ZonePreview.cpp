// How are zones drawn over a frame?
#include "ask/ZonePreview.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ask/ZoneEditor.h"
#include "results/ScanLine.h"
#include "results/TallyText.h"
#include "settings/ScanSettings.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/base/PictureGrid.h"
#include "video/files/AtomicFile.h"
#include "video/files/PngFile.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/media/Libav.h"
#include "video/watch/Watcher.h"
#include "video/zones/IdleZones.h"
#include "video/zones/Zone.h"
#include "video/zones/ZoneMask.h"

namespace Scan {

namespace {

struct ZoneColour {
    const char* name;  // as printed
    std::array<int, 3> bgr;
};

// Told apart by people who do not tell red from green.
constexpr std::array<ZoneColour, 6> zoneColours = {{{"yellow", {66, 228, 240}},
                                                    {"sky blue", {233, 180, 86}},
                                                    {"orange", {0, 159, 230}},
                                                    {"bluish green", {115, 158, 0}},
                                                    {"pink", {167, 121, 204}},
                                                    {"blue", {178, 114, 0}}}};
constexpr ZoneColour excludedColour = {"black", {0, 0, 0}};

Video::BgrPicture Coloured(const AVFrame& frame) {
    Video::BgrPicture picture{frame.width, frame.height, {}};
    const int stride = 3 * frame.width;
    picture.pixels.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(frame.height));
    const Video::ScalerPointer scaler(sws_getContext(frame.width, frame.height, Video::PlainFormat(frame.format),
                                                     frame.width, frame.height, AV_PIX_FMT_BGR24, SWS_BILINEAR, nullptr,
                                                     nullptr, nullptr));
    if (!scaler) {
        throw Video::Failure(Video::Concern::Input, "the video's pixel format cannot be converted");
    }
    // The scaler may write whole vectors at the end of a row: into rows of its own.
    const int roomy = (stride + 127) / 64 * 64;
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(roomy) * static_cast<std::size_t>(frame.height) + 64);
    std::uint8_t* const planes[4] = {rows.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {roomy, 0, 0, 0};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    for (int y = 0; y < frame.height; ++y) {
        std::copy_n(rows.data() + std::ptrdiff_t{y} * roomy, stride, picture.pixels.data() + std::ptrdiff_t{y} * stride);
    }
    return picture;
}

void Paint(Video::BgrPicture& picture, int x, int y, const ZoneColour& colour, int percent) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) {
        return;
    }
    std::uint8_t* pixel = picture.pixels.data() + 3 * (std::ptrdiff_t{y} * picture.width + x);
    for (std::size_t i = 0; i < 3; ++i) {
        pixel[i] = static_cast<std::uint8_t>((pixel[i] * (100 - percent) + colour.bgr[i] * percent) / 100);
    }
}

// The blocks that the detector is given, tinted.
void PaintBlocks(Video::BgrPicture& picture, const std::vector<std::uint8_t>& mask, const Video::PictureGrid& grid,
                 const ZoneColour& colour) {
    constexpr int tint = 35;  // percent
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const int block = y / grid.blockSize * grid.columns + x / grid.blockSize;
            if (mask[static_cast<std::size_t>(block)] != 0) {
                Paint(picture, x, y, colour, tint);
            }
        }
    }
}

void PaintOutline(Video::BgrPicture& picture, const std::vector<Video::Point>& polygon, const ZoneColour& colour) {
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Video::Point a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        const double across = (b.x - a.x) * picture.width, down = (b.y - a.y) * picture.height;
        const int steps = 1 + static_cast<int>(std::max(std::abs(across), std::abs(down)));
        for (int step = 0; step <= steps; ++step) {
            const int x = static_cast<int>(a.x * picture.width + across * step / steps);
            const int y = static_cast<int>(a.y * picture.height + down * step / steps);
            for (int thick = 0; thick < 4; ++thick) {
                Paint(picture, x + thick % 2, y + thick / 2, colour, 100);
            }
        }
    }
}

}  // namespace

int ShowZones(const std::vector<std::string>& inputs, const ScanSettings& settings, const ZonePictures& pictures,
              const std::string& zoneFile) {
    if (inputs.size() != 1) {
        throw Video::Failure(Video::Concern::Usage, "mdscan zones wants a single video");
    }
    const std::string &input = inputs.front(), &preview = pictures.preview;
    Video::RefuseUnlessPng("--preview", preview);
    Video::Decoder decoder(Video::OpenSource(input));
    if (!decoder.Next()) {
        throw Video::Failure(Video::Concern::Input, input + ": no picture could be decoded");
    }
    const AVFrame& frame = decoder.Frame();
    const Video::PictureGrid grid = Video::GridOf(frame.width, frame.height, settings.blockSize, ConditioningOf(settings));
    const std::vector<std::uint8_t> excluded = Video::ExcludedBlocks(settings.zones, grid);
    Video::BgrPicture picture = preview.empty() ? Video::BgrPicture{} : Coloured(frame);
    std::printf("%s\n", ScanLine(settings).c_str());
    std::map<std::string, std::string> reasons;  // by the names of zones
    for (const Video::IdleZone& zone : Video::IdleZones(settings.zones, grid, SizesOf(settings))) {
        reasons[zone.name] = zone.reason;
        PrintLastLine("", Video::Told(zone));
    }
    std::size_t next = 0;
    for (const Video::Zone& zone : settings.zones) {
        const ZoneColour& colour = zone.exclude ? excludedColour : zoneColours[next++ % zoneColours.size()];
        const std::vector<std::uint8_t> mask =
            zone.exclude ? Video::ZoneMask(zone, grid) : Video::WatchedBlocks(zone, excluded, grid);
        const auto blocks = std::count(mask.begin(), mask.end(), std::uint8_t{1});
        const double share = static_cast<double>(blocks) / static_cast<double>(mask.size());
        nlohmann::ordered_json line = {{"type", "zone"},
                                       {"zone", zone.name},
                                       {"exclude", zone.exclude},
                                       {"blocks", blocks},
                                       {"share", std::round(1e3 * share) / 1e3}};
        if (const auto reason = reasons.find(zone.name); !zone.exclude && reason != reasons.end()) {
            line["idle"] = reason->second;
        }
        if (!preview.empty()) {
            line["color"] = colour.name;
            PaintBlocks(picture, mask, grid, colour);
            PaintOutline(picture, zone.polygon, colour);
        }
        std::printf("%s\n", line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    }
    if (!pictures.editor.empty()) {
        WriteZoneEditor(pictures.editor, input, decoder, grid, settings, zoneFile);
    }
    if (!preview.empty()) {
        Video::AtomicFile file(preview, input);
        Video::WritePng(picture, file);
        file.Keep();
    }
    return Video::exitComplete;
}

}  // namespace Scan
