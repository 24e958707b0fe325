// How is a state file read, trusted and extended?
#include "run/RunState.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "results/JobResult.h"
#include "results/JsonLines.h"
#include "results/PackedResult.h"
#include "results/PictureLines.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "video/base/Failure.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

constexpr int stateVersion = 1;

// A path may hold any bytes, JSON holds text: every byte above ASCII becomes %XX, and so does the sign itself.
std::string KeyOf(const std::string& path) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string key;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 || c == '%') {
            key += {'%', digits[byte >> 4], digits[byte & 15]};
        } else {
            key += c;
        }
    }
    return key;
}

std::string HeaderLine(const std::string& run) {
    return Json{{"mdscan-state", stateVersion}, {"run", run}}.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A run that has just been killed holds its lock a moment longer.
bool Lock(int file) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

// Of what the file holds of an input. All throw std::exception.
JobResult ResultOf(const Json& line) { return Unpacked(line.at("result").get<std::string>()); }

std::vector<Record> RecordsOf(const Json& line) {
    std::vector<Record> records;
    for (const Json& record : line.at("lines")) {
        records.push_back(RecordOfLine(record.get<std::string>()));
    }
    return records;
}

std::vector<std::string> PictureLinesOf(const Json& line) { return line.value("attachments", std::vector<std::string>()); }

std::vector<ScanPicture> PicturesOf(const Json& line) {
    std::vector<ScanPicture> pictures;
    for (const std::string& picture : PictureLinesOf(line)) {
        pictures.push_back(PictureOf(picture));
    }
    return pictures;
}

}  // namespace

Identity IdentityOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    return {status.st_size, std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

RunState::RunState(const std::string& path, const std::string& run) : _path(path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Video::Failure(Video::Concern::Usage, "cannot resume from " + path + ": is not a plain file");
    }
    _file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (_file < 0) {
        throw Video::Failure(Video::Concern::Output, "cannot open " + path + ": " + std::strerror(errno));
    }
    try {
        if (!Lock(_file)) {
            throw Video::Failure(Video::Concern::Output, "cannot resume from " + path + ": another run is using it");
        }
        Load(run);
    } catch (...) {
        close(_file);
        throw;
    }
}

RunState::~RunState() { Leave(); }

void RunState::Leave() {
    if (_file >= 0) {
        close(std::exchange(_file, -1));
    }
}

// Line by line, for a state may be larger than memory.
void RunState::Load(const std::string& run) {
    const std::string header = HeaderLine(run);
    std::string unread;  // the beginning of a line
    std::string part(1 << 16, '\0');
    off_t whole = 0;  // bytes; of lines with an end
    int number = 0;
    for (ssize_t got = 0; (got = read(_file, part.data(), part.size())) > 0;) {
        unread.append(part, 0, static_cast<std::size_t>(got));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = unread.find('\n', begin)) != std::string::npos; begin = end + 1) {
            const std::string line = unread.substr(begin, end - begin);
            TakeLine(line, ++number, whole, header);
            whole += static_cast<off_t>(line.size() + 1);
        }
        unread.erase(0, begin);
    }
    const bool fresh = number == 0 && header.starts_with(unread);  // or killed at once
    if (number == 0 && !fresh) {
        throw Video::Failure(Video::Concern::Usage, "cannot resume from " + _path + ": is not a state of mdscan");
    }
    if (!unread.empty() && ftruncate(_file, whole) != 0) {
        throw Video::Failure(Video::Concern::Output, "cannot write " + _path + ": " + std::strerror(errno));
    }
    if (fresh) {
        Append(header);
    }
}

void RunState::TakeLine(const std::string& line, int number, off_t offset, const std::string& header) {
    const Json record = Json::parse(line, nullptr, false);
    if (number == 1) {
        if (!record.is_object() || !record.contains("mdscan-state")) {
            throw Video::Failure(Video::Concern::Usage, "cannot resume from " + _path + ": is not a state of mdscan");
        }
        if (line + "\n" != header) {
            throw Video::Failure(Video::Concern::Usage,
                                 "cannot resume from " + _path + ": was made with other options or another version");
        }
        return;
    }
    try {
        // Damage has to be known before the run writes anything. Records are read for that; pictures, which are large, are
        // only known to be texts, and are read when it is their turn.
        RecordsOf(record);
        PictureLinesOf(record);
        _entries.insert_or_assign(record.at("file").get<std::string>(),
                                  Entry{{record.at("size").get<std::int64_t>(), record.at("changed").get<std::int64_t>()},
                                        ResultOf(record),
                                        offset,
                                        line.size()});
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Output,
                             "cannot resume from " + _path + ": line " + std::to_string(number) + " is damaged");
    }
}

std::optional<JobResult> RunState::Find(const std::string& input) const {
    const auto found = _entries.find(KeyOf(input));
    return found != _entries.end() && found->second.identity == IdentityOf(input) ? std::optional(found->second.result)
                                                                                  : std::nullopt;
}

RecalledInput RunState::Read(const std::string& input) const {
    const Entry& entry = _entries.at(KeyOf(input));
    std::string line(entry.size, '\0');
    const ssize_t got = pread(_file, line.data(), line.size(), entry.offset);
    const Json record = Json::parse(line, nullptr, false);
    if (got != static_cast<ssize_t>(line.size()) || record.is_discarded()) {
        throw Video::Failure(Video::Concern::Output, "cannot resume from " + _path + ": has changed since this run began");
    }
    try {
        return {ResultOf(record), RecordsOf(record), PicturesOf(record)};
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Output,
                             "cannot resume from " + _path + ": what it holds of " + input + " is damaged");
    }
}

void RunState::Add(const std::string& input, const Identity& identity, const FinishedInput& finished) {
    Json record = {{"file", KeyOf(input)},
                   {"size", identity.size},
                   {"changed", identity.changed},
                   {"result", Packed(finished.result)},
                   {"lines", Json::array()}};
    for (const Record& told : finished.records) {
        record["lines"].push_back(LineOf(told));
    }
    if (!finished.pictures.empty()) {
        record["attachments"] = finished.pictures;
    }
    Append(record.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

void RunState::Append(const std::string& line) {
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t written = write(_file, line.data() + done, line.size() - done);
        if (written < 0 && errno != EINTR) {
            throw Video::Failure(Video::Concern::Output, "cannot write " + _path + ": " + std::strerror(errno));
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
}

}  // namespace Scan
