// Which columns has the table, and how are cells quoted?  Called by RunResults through CsvTable.h.
#include "results/CsvTable.h"

#include <array>
#include <cstring>

#include <nlohmann/json.hpp>

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

// Named as the fields of an event. Cells are empty where an event lacks the field; x, y, w, h are those of the first box.
constexpr std::array columns = {"file",     "event",     "start",       "end",       "peak",       "start_time",
                                "end_time", "peak_time", "start_frame", "end_frame", "peak_frame", "frame_exact",
                                "frames",   "blocks",    "zones",       "x",         "y",          "w",
                                "h",        "thumbnail", "clip",        "clip_start"};

std::string TextOf(const Json& value) {
    if (value.is_string()) {
        return CsvCell(value.get<std::string>());
    }
    if (value.is_array()) {
        std::string names;
        for (const Json& name : value) {
            names += names.empty() ? "" : ";";
            names += name.get<std::string>();
        }
        return CsvCell(names);
    }
    return value.dump();  // numbers as the lines have them
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

std::string CsvRow(const std::string& input, const std::string& line) {
    Json event = Json::parse(line);
    if (!event.contains("file")) {
        event["file"] = Json::parse(Json(input).dump(-1, ' ', false, Json::error_handler_t::replace));
    }
    if (event.contains("boxes") && !event["boxes"].empty()) {
        for (const char* side : {"x", "y", "w", "h"}) {
            event[side] = event["boxes"][0][side];
        }
    }
    std::string row;
    for (const char* column : columns) {
        row += column == columns.front() ? "" : ",";
        row += event.contains(column) ? TextOf(event[column]) : "";
    }
    return row + "\r\n";
}

CsvTable::CsvTable(const std::string& path, const std::vector<std::string>& inputs) : _text(path, inputs) {
    _text.Write(CsvHead());
}

void CsvTable::Take(const std::string& input, const std::string& line) {
    if (line.starts_with(R"({"type":"event")")) {
        _text.Write(CsvRow(input, line));
    }
}

void CsvTable::Keep() { _text.Keep(); }

}  // namespace Scan
