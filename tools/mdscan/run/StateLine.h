// How is what was found in one input kept in a file?  As one line with a checksum, which any later run can make values of.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"

namespace Scan {

// What a file was like when its scan began; a file that has changed since is scanned again.
struct Identity {
    std::int64_t size = -1;    // bytes; -1: there is no such plain file
    std::int64_t changed = 0;  // nanoseconds since 1970

    friend bool operator==(const Identity&, const Identity&) = default;
};

Identity IdentityOf(const std::string& path);

struct FinishedInput {
    JobResult result;
    std::vector<Record> records;
    std::vector<std::string> pictures = {};  // their lines
};

struct RecalledInput {
    JobResult result;
    std::vector<Record> records;
    std::vector<ScanPicture> pictures;
};

// A path may hold any bytes, JSON holds text: every byte above ASCII becomes %XX, and so does the sign itself.
std::string KeyOf(const std::string& path);

// And back. What is no such key remains as it is.
std::string PathOf(const std::string& key);

// What a line says at a glance; of its pictures, which are large, only that they are some.
struct StateEntry {
    std::string key;
    Identity identity;
    JobResult result;
};

// Without the line's end. key: what stands for the input.
std::string StateLine(const std::string& key, const Identity& identity, const FinishedInput& finished);

// Both throw std::exception when the line is not what StateLine made, of this key; any change of a line is noticed.
StateEntry EntryOfStateLine(std::string_view line);
RecalledInput ReadStateLine(std::string_view line, const std::string& key);

}  // namespace Scan
