// How do events look in a spreadsheet?  One row per event, made from the lines of results; RunResults owns one if asked to.
#pragma once

#include <string>
#include <vector>

#include "video/files/AtomicText.h"

namespace Scan {

class CsvTable {
public:
    // inputs: files that must not be replaced. Throws Failure.
    CsvTable(const std::string& path, const std::vector<std::string>& inputs);

    // Any line of results of this input; those that are no events are passed over. Throws Failure.
    void Take(const std::string& input, const std::string& line);

    // Throws Failure.
    void Keep();

private:
    Video::AtomicText _text;
};

// One row with its end, of an event's line; also the one with the columns' names.
std::string CsvRow(const std::string& input, const std::string& line);
std::string CsvHead();

// A text as a cell: quoted where RFC 4180 wants it. An apostrophe stands before what a spreadsheet would take for a formula.
std::string CsvCell(const std::string& text);

}  // namespace Scan
