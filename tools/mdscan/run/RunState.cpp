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
#include "run/StateLine.h"
#include "video/base/Failure.h"
#include "video/files/CheckedLine.h"

namespace Scan {

namespace {

using Json = nlohmann::ordered_json;

constexpr auto replaced = Json::error_handler_t::replace;  // what is no UTF-8
constexpr int stateVersion = 2;                            // 1: without checksums
constexpr const char* versionName = "mdscan-state";

std::string HeaderLine(const std::string& run) {
    return Video::Checked(Json{{versionName, stateVersion}, {"run", run}}.dump(-1, ' ', false, replaced)) + "\n";
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

}  // namespace

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
    for (ssize_t got = 0; (got = read(_file, part.data(), part.size())) != 0;) {
        if (got < 0 && errno != EINTR) {
            throw Video::Failure(Video::Concern::Output, "cannot read " + _path + ": " + std::strerror(errno));
        }
        got = std::max<ssize_t>(got, 0);
        unread.append(part, 0, static_cast<std::size_t>(got));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = unread.find('\n', begin)) != std::string::npos; begin = end + 1) {
            const std::string line = unread.substr(begin, end - begin);
            if (++number == 1) {
                TakeHeader(line, header);
            } else if (!TakeLine(line, whole)) {
                _damaged.push_back(number);
                Blank(whole, line.size());
            }
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

void RunState::TakeHeader(const std::string& line, const std::string& header) const {
    if (line + "\n" == header) {
        return;
    }
    const auto text = Video::Verified(line);
    const Json record = Json::parse(text.value_or(line), nullptr, false);  // older ones have no checksum
    std::string trouble = "is not a state of mdscan";
    if (record.is_object() && record.contains(versionName)) {
        trouble = "was made with other options or another version";
    } else if (line.find(versionName) != std::string::npos) {
        trouble = "its first line is damaged";
    }
    throw Video::Failure(Video::Concern::Usage, "cannot resume from " + _path + ": " + trouble);
}

// False: it is damaged. Damage has to be known before the run writes anything.
bool RunState::TakeLine(const std::string& line, off_t offset) {
    if (line.find_first_not_of(' ') == std::string::npos) {
        return true;  // it was damaged once
    }
    try {
        StateEntry entry = EntryOfStateLine(line);
        _entries.insert_or_assign(std::move(entry.key), Entry{entry.identity, std::move(entry.result), offset, line.size()});
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// So that the next run does not tell of it again. Where that fails, it will.
void RunState::Blank(off_t offset, std::size_t size) const {
    const int flags = fcntl(_file, F_GETFL);
    fcntl(_file, F_SETFL, flags & ~O_APPEND);  // or it would go to the end
    const std::string blanks(size, ' ');
    [[maybe_unused]] const ssize_t written = pwrite(_file, blanks.data(), blanks.size(), offset);
    fcntl(_file, F_SETFL, flags);
}

std::string RunState::Damage() const {
    constexpr std::size_t mostNamed = 5;
    if (_damaged.empty()) {
        return "";
    }
    std::string text = _damaged.size() == 1 ? "line " : "lines ";
    for (std::size_t i = 0; i < std::min(_damaged.size(), mostNamed); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(_damaged[i]);
    }
    if (_damaged.size() > mostNamed) {
        text += " and " + std::to_string(_damaged.size() - mostNamed) + " more";
    }
    return text + (_damaged.size() == 1 ? " is" : " are") + " damaged: what was known from there is scanned anew";
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
    if (got != static_cast<ssize_t>(line.size()) || !Video::Verified(line)) {
        throw Video::Failure(Video::Concern::Output, "cannot resume from " + _path + ": has changed since this run began");
    }
    try {
        return ReadStateLine(line, KeyOf(input));
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Output,
                             "cannot resume from " + _path + ": what it holds of " + input + " is damaged");
    }
}

void RunState::Add(const std::string& input, const Identity& identity, const FinishedInput& finished) {
    Append(StateLine(KeyOf(input), identity, finished) + "\n");
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
