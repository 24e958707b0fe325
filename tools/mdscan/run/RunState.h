// Which inputs were finished by an earlier run, and with what results?  A file that grows by one line per finished input.
//
// A line is appended by one call. A run that is killed leaves whole lines, or at worst a last one that lacks its end: that
// one is cut off and its input scanned again. Every line has a checksum: what a disk has damaged is scanned again, too.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "results/JobResult.h"
#include "run/StateLine.h"

namespace Scan {

class RunState {
public:
    // run: what decides the results, apart from the inputs. A state made by another run is refused, so is a file that is no
    // state, one whose first line is damaged and a state in use. Throws Failure.
    RunState(const std::string& path, const std::string& run);
    ~RunState();
    RunState(const RunState&) = delete;
    RunState& operator=(const RunState&) = delete;

    // "line 3 is damaged ...", once; empty: none was. What such lines held is not known any more, and they are blank from
    // now on.
    std::string Damage() const;

    // Absent: it has to be scanned.
    std::optional<JobResult> Find(const std::string& input) const;

    // All of an input that was found. Throws Failure.
    RecalledInput Read(const std::string& input) const;

    // Throws Failure.
    void Add(const std::string& input, const Identity& identity, const FinishedInput& finished);

    // In a child process: lets go of the file, which stays in use by the parent.
    void Leave();

private:
    // Lines may hold much: they stay in the file until they are read.
    struct Entry {
        Identity identity;
        JobResult result;
        off_t offset;      // bytes; of its line
        std::size_t size;  // bytes
    };

    void Load(const std::string& run);
    void TakeHeader(const std::string& line, const std::string& header) const;
    bool TakeLine(const std::string& line, off_t offset);
    void Blank(off_t offset, std::size_t size) const;
    void Append(const std::string& line);

    std::string _path;
    int _file = -1;                         // descriptor
    std::map<std::string, Entry> _entries;  // by input, the last of its lines
    std::vector<int> _damaged;              // numbers of lines
};

}  // namespace Scan
