// Which fields does the line of an input have?
#include "run/StateLine.h"

#include <stdexcept>

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/PictureLines.h"
#include "video/files/CheckedLine.h"

namespace Scan {

namespace {

using LineJson = nlohmann::ordered_json;

constexpr std::string_view hexDigits = "0123456789ABCDEF";

LineJson VerifiedJson(std::string_view line) {
    const auto text = Video::Verified(line);
    if (!text) {
        throw std::invalid_argument("checksum");
    }
    return LineJson::parse(*text);
}

std::vector<Record> RecordsOf(const LineJson& line) {
    std::vector<Record> records;
    for (const LineJson& record : line.at("lines")) {
        records.push_back(RecordOfLine(record.get<std::string>()));
    }
    return records;
}

std::vector<std::string> PictureLinesOf(const LineJson& line) {
    return line.value("attachments", std::vector<std::string>());
}

}  // namespace

Identity IdentityOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    return {status.st_size, std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

std::string KeyOf(const std::string& path) {
    std::string key;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 || c == '%') {
            key += {'%', hexDigits[byte >> 4], hexDigits[byte & 15]};
        } else {
            key += c;
        }
    }
    return key;
}

std::string PathOf(const std::string& key) {
    std::string path;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const std::size_t high = key[i] == '%' && i + 2 < key.size() ? hexDigits.find(key[i + 1]) : std::string::npos;
        const std::size_t low = high != std::string::npos ? hexDigits.find(key[i + 2]) : std::string::npos;
        if (low != std::string::npos) {
            path += static_cast<char>(high << 4 | low);
            i += 2;
        } else {
            path += key[i];
        }
    }
    return path;
}

std::string StateLine(const std::string& key, const Identity& identity, const FinishedInput& finished) {
    LineJson record = {{"file", key},
                       {"size", identity.size},
                       {"changed", identity.changed},
                       {"result", Packed(finished.result)},
                       {"lines", LineJson::array()}};
    for (const Record& told : finished.records) {
        record["lines"].push_back(LineOf(told));
    }
    if (!finished.pictures.empty()) {
        record["attachments"] = finished.pictures;
    }
    return Video::Checked(record.dump(-1, ' ', false, LineJson::error_handler_t::replace));
}

StateEntry EntryOfStateLine(std::string_view line) {
    const LineJson record = VerifiedJson(line);
    RecordsOf(record);
    PictureLinesOf(record);
    return {record.at("file").get<std::string>(),
            {record.at("size").get<std::int64_t>(), record.at("changed").get<std::int64_t>()},
            Unpacked(record.at("result").get<std::string>())};
}

RecalledInput ReadStateLine(std::string_view line, const std::string& key) {
    const LineJson record = VerifiedJson(line);
    if (record.at("file") != key) {
        throw std::invalid_argument("key");
    }
    RecalledInput recalled{Unpacked(record.at("result").get<std::string>()), RecordsOf(record), {}};
    for (const std::string& picture : PictureLinesOf(record)) {
        recalled.pictures.push_back(PictureOf(picture));
    }
    return recalled;
}

}  // namespace Scan
