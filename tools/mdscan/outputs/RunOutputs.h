// Where does what a run finds go?  Lines, table, page, heat maps and the video of all events come from
// here, in the order of the inputs.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "outputs/CameraGrounds.h"
#include "outputs/CsvTable.h"
#include "outputs/EventJoin.h"
#include "outputs/GivenUp.h"
#include "outputs/HtmlPage.h"
#include "outputs/JsonOutput.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "settings/OutputSettings.h"
#include "video/files/AtomicFile.h"

namespace Scan {

class RunOutputs {
public:
    // Makes every place for a result, so that an impossible one is known before the scan, and prints the first line.
    // scan: that line. several: lines name their file, heat maps go into a folder. Throws Failure.
    RunOutputs(const OutputSettings& outputs, const std::string& scan, const std::vector<std::string>& inputs, bool several);

    // Lines and table; inputs may mix. A table that cannot be written is given up; Tell and TellEnd throw Failure when lines
    // cannot be told.
    void Tell(const std::string& input, const Record& record);
    void TellEnd(const std::string& input, const JobResult& result);  // where there are several

    // Page, heat maps and the video of all events, which are given up when they cannot be written. Of one input after
    // another, each ended by ShowEnd; an event's picture goes before its record.
    void Show(const std::string& input, const Record& record);
    void Show(const std::string& input, const ScanPicture& picture);
    void ShowEnd(const std::string& input, const JobResult& result);

    // What was to be shown is lost.
    void GiveUpShowing(const std::string& reason);

    // Completes all files that can be; of the others none remains.
    void Keep();

    // Each named once, with path and reason.
    const GivenUp& GaveUp() const { return _gaveUp; }

private:
    Record Lasting(const Record& record) const;
    void Print(const std::function<void()>& line);
    void KeepHeatMaps(const std::string& folder);

    const OutputSettings _paths;
    const std::vector<std::string> _inputs;
    const bool _several;
    JsonOutput _lines;
    bool _linesLost = false;
    std::optional<CsvTable> _table;
    std::optional<HtmlPage> _page;
    std::optional<Video::AtomicFile> _heat;  // of a single input
    std::optional<std::string> _heatFolder;  // of several
    std::optional<EventJoin> _join;
    CameraGrounds _cameras;
    GivenUp _gaveUp;
};

}  // namespace Scan
