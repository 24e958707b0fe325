// Which columns has the table, and how are cells quoted?
#include "outputs/CsvTable.h"

#include <array>
#include <cstring>
#include <variant>

#include "outputs/Camera.h"
#include "results/JsonLines.h"
#include "results/Records.h"
#include "video/base/Box.h"
#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Scan {

namespace {

// Named as the fields of an event. Cells are empty where an event lacks the field; x, y, w, h are those of the first box.
constexpr std::array columns = {"file",     "event",     "start",       "end",        "peak",       "start_time",
                                "end_time", "peak_time", "start_frame", "end_frame",  "peak_frame", "frame_exact",
                                "frames",   "blocks",    "zones",       "x",          "y",          "w",
                                "h",        "thumbnail", "clip",        "clip_start", "camera"};

using Cells = std::array<std::string, columns.size()>;

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += text.empty() ? "" : ";";
        text += ToldName(name);
    }
    return text;
}

Cells CellsOf(const std::string& file, const EventRecord& event) {
    const bool hasBox = !event.boxes.empty();
    const Video::Box box = hasBox ? event.boxes.front().box : Video::Box{};
    const auto number = [](std::int64_t value) { return std::to_string(value); };
    const auto side = [&](int pixels) { return hasBox ? std::to_string(pixels) : ""; };
    const auto wall = [&](Video::WallTicks EventRecord::WallTimes::*time) {
        return event.wall ? CsvCell(Video::WallTimeText((*event.wall).*time)) : "";
    };
    return {CsvCell(ToldName(file)),
            number(event.number),
            ToldSeconds(event.start),
            ToldSeconds(event.end),
            ToldSeconds(event.peak),
            wall(&EventRecord::WallTimes::start),
            wall(&EventRecord::WallTimes::end),
            wall(&EventRecord::WallTimes::peak),
            number(event.startFrame),
            number(event.endFrame),
            number(event.peakFrame),
            event.frameExact ? "true" : "false",
            number(event.frames),
            number(event.blocks),
            CsvCell(event.zones ? Joined(*event.zones) : ""),
            side(box.x),
            side(box.y),
            side(box.width),
            side(box.height),
            CsvCell(ToldName(event.thumbnail)),
            CsvCell(event.clip ? ToldName(event.clip->path) : ""),
            event.clip ? ToldSeconds(event.clip->start) : "",
            CsvCell(ToldName(CameraOf(file)))};
}

}  // namespace

std::string CsvCell(const std::string& text) {
    constexpr const char* formulaBegins = "=+-@\t\r";
    std::string cell = text;
    if (!text.empty() && std::strchr(formulaBegins, text.front())) {
        cell.insert(cell.begin(), '\'');
    }
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
        return cell;
    }
    for (std::size_t i = 0; (i = cell.find('"', i)) != std::string::npos; i += 2) {
        cell.insert(i, 1, '"');
    }
    cell.insert(cell.begin(), '"');
    cell += '"';
    return cell;
}

std::string CsvHead() {
    std::string row;
    for (const char* column : columns) {
        row += row.empty() ? "" : ",";
        row += column;
    }
    return row + "\r\n";
}

std::string CsvRow(const std::string& input, const EventRecord& event) {
    std::string row;
    for (const std::string& cell : CellsOf(event.file.empty() ? input : event.file, event)) {
        row += cell;
        row += ',';
    }
    row.back() = '\r';  // of the end
    return row + "\n";
}

CsvTable::CsvTable(const std::string& path, const std::vector<std::string>& inputs) : _text(path, inputs) {
    _text.Write(CsvHead());
}

void CsvTable::Take(const std::string& input, const Record& record) {
    if (const auto* event = std::get_if<EventRecord>(&record)) {
        _text.Write(CsvRow(input, *event));
    }
}

void CsvTable::Keep() { _text.Keep(); }

}  // namespace Scan
