// How do events look in a spreadsheet?  One row each.
#pragma once

#include <string>
#include <vector>

#include "results/Records.h"
#include "video/files/AtomicText.h"

namespace Scan {

class CsvTable {
public:
    // inputs: files that must not be replaced. Throws Failure.
    CsvTable(const std::string& path, const std::vector<std::string>& inputs);

    // Any record of this input; those that are no events are ignored. Throws Failure.
    void Take(const std::string& input, const Record& record);

    // Throws Failure.
    void Keep();

private:
    Video::AtomicText _text;
};

// One row with its end; also the one with the columns' names. input: named where the event names no file.
std::string CsvRow(const std::string& input, const EventRecord& event);
std::string CsvHead();

// A text as a cell: quoted where RFC 4180 wants it. An apostrophe stands before what a spreadsheet would take for a formula.
std::string CsvCell(const std::string& text);

}  // namespace Scan
