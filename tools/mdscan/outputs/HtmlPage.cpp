// What is written into the page, in which order?  The page's own parts, in web/, are compiled in by way of PageText.h.
#include "outputs/HtmlPage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "outputs/Camera.h"
#include "outputs/CameraGrounds.h"
#include "outputs/PageLink.h"
#include "outputs/PageParts.h"
#include "outputs/PageText.h"
#include "outputs/PageTrack.h"
#include "results/JobResult.h"
#include "results/PictureLines.h"
#include "results/RecordJson.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "results/VisibleText.h"
#include "video/base/BgrPicture.h"
#include "video/base/PictureGrid.h"
#include "video/files/PngFile.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"
#include "video/watch/HeatMap.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t mostPictureBytes = 64 << 20;  // in one page; browsers get slow beyond that
constexpr int widestHeatPicture = 640;              // pixels

std::string DumpedForScript(const Json& json) {
    return SafeInScript(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

bool IsFile(const std::string& input) {
    std::error_code ignored;
    return input != "-" && std::filesystem::is_regular_file(input, ignored);
}

std::string PngAddress(const Video::BgrPicture& picture) {
    return "data:image/png;base64," + Base64(Video::PngBytes(picture));
}

// From cold to warm: a colour, and from which share of the analysed time on it is a block's.
Json LegendOf(const Video::HeatMap& heat) {
    Json legend = Json::array();
    for (const Video::HeatColour& step : Video::HeatLegend(heat)) {
        const auto& [blue, green, red] = step.bgr;
        legend.push_back({{"red", red}, {"green", green}, {"blue", blue}, {"share", step.share}});
    }
    return legend;
}

// Where to look at an event: in its clip, else in the recording.
void AddLink(Json& shown, const EventRecord& event, const std::string& page, const std::string& input) {
    const double start = Video::PrintedSeconds(event.start);
    if (event.clip) {
        shown["link"] = LinkFrom(page, event.clip->path);
        shown["at"] = std::round(1000 * std::max(0.0, start - Video::PrintedSeconds(event.clip->start))) / 1000;
    } else if (IsFile(input)) {
        shown["link"] = LinkFrom(page, input);
        shown["at"] = start;
    }
}

// What the page shows of an event; the file is said once. Pages hold thousands: what follows from the rest is left out.
Json Shown(const EventRecord& event) {
    Json json = {{"type", "event"},
                 {"event", event.number},
                 {"start", Video::PrintedSeconds(event.start)},
                 {"end", Video::PrintedSeconds(event.end)},
                 {"peak", Video::PrintedSeconds(event.peak)}};
    if (event.wall) {
        json["start_time"] = Video::WallTimeText(event.wall->start);
    }
    json["blocks"] = event.blocks;
    if (event.flash) {
        json["flash"] = true;
    }
    if (event.zones) {
        json["zones"] = *event.zones;
    }
    if (event.clip) {
        json["clip"] = event.clip->path;
    }
    Json& boxes = json["boxes"] = Json::array();
    for (const BoxRecord& object : event.boxes) {
        boxes.push_back({object.box.x, object.box.y, object.box.width, object.box.height});
    }
    return json;
}

template <typename OtherRecord>
Json Shown(OtherRecord record) {
    record.file.clear();
    return JsonOf(record);
}

}  // namespace

HtmlPage::HtmlPage(const std::string& path, const std::vector<std::string>& inputs, const std::string& scan)
    : _text(path, inputs) {
    _text.Write(PageBegin(reportPage));
    _text.Write(DataBlock("scan", SafeInScript(scan)));
}

// The block of an input begins with its lines, for these come first.
void HtmlPage::Open() {
    if (!std::exchange(_open, true)) {
        _first = true;
        _text.Write("<script type=\"application/json\" class=\"input\">{\"lines\":[");
    }
}

void HtmlPage::Take(const std::string& input, const Record& record) {
    if (const auto* event = std::get_if<EventRecord>(&record)) {
        Json shown = Shown(*event);
        AddLink(shown, *event, _text.Path(), input);
        if (const auto look = _looks.extract(event->number)) {
            if (!look.mapped().picture.empty()) {
                shown["picture"] = look.mapped().picture;
            }
            shown["track"] = PageTrack(look.mapped().track, event->start);
        }
        Write(shown);
    } else if (const auto* gap = std::get_if<GapRecord>(&record)) {
        Write(Shown(*gap));
    } else if (const auto* condition = std::get_if<ConditionRecord>(&record)) {
        Write(Shown(*condition));
    }
}

void HtmlPage::Write(const Json& shown) {
    Open();
    _text.Write((std::exchange(_first, false) ? "\n" : ",\n") + DumpedForScript(shown));
}

void HtmlPage::Take(const EventPicture& picture) {
    std::string jpeg = Base64(picture.jpeg);
    if (_pictureBytes + jpeg.size() > mostPictureBytes) {
        ++_withoutRoom;
        jpeg.clear();
    }
    _pictureBytes += jpeg.size();
    _looks[picture.event] = {std::move(jpeg), picture.track};
}

void HtmlPage::Finish(const std::string& input, const JobResult& result) {
    Open();
    Json end = {{"file", Visible(input)},
                {"camera", Visible(CameraOf(input))},
                {"link", IsFile(input) ? LinkFrom(_text.Path(), input) : ""},
                {"status", NameOf(result.health)},
                {"reason", result.trouble},
                {"seconds", Video::PrintedSeconds(result.tally.length)},
                {"width", result.tally.grid.pictureWidth},
                {"height", result.tally.grid.pictureHeight}};
    if (result.clock) {
        end["start_time"] = Video::WallTimeText(result.clock->at);
        end["utc_offset"] = result.clock->offset.value_or(Video::LocalOffset(result.clock->at)) / Video::oneSecond;
    }
    _text.Write("],\n" + DumpedForScript(end).substr(1) + "</script>\n");
    _open = false;
    _looks.clear();
}

void HtmlPage::Keep(const CameraGrounds& cameras) {
    for (const auto& [camera, ground] : cameras.All()) {
        const Video::PictureGrid& grid = ground.heat.grid;
        const int shrink = (grid.pictureWidth + widestHeatPicture - 1) / widestHeatPicture;
        _text.Write(DataBlock(
            "camera", DumpedForScript({{"camera", Visible(camera)},
                                       {"width", grid.pictureWidth},
                                       {"height", grid.pictureHeight},
                                       {"heat", PngAddress(Video::HeatPicture(ground.heat, ground.background, shrink))},
                                       {"heat_colours", LegendOf(ground.heat)},
                                       {"background", PngAddress(Video::GreyWhereUnknown(ground.background))}})));
    }
    _text.Write(DataBlock("end", Json{{"left_out", _withoutRoom}}.dump()));
    _text.Write(PageEnd(reportPage));
    _text.Keep();
}

}  // namespace Scan
