// Where does what a run finds go?  Lines, table, page and heat maps come from here, in the order of the inputs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "outputs/CameraGrounds.h"
#include "outputs/CsvTable.h"
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

    // Of one input after another, each ended by Finish. Throw Failure.
    void Take(const std::string& input, const Record& record);
    void Take(const std::string& input, const ScanPicture& picture);  // before the record of its event
    void Finish(const std::string& input, const JobResult& result);

    // Completes all files; without it none remains. Throws Failure.
    void Keep();

private:
    void KeepHeat();

    const std::string _heatFolder;  // of several inputs; empty: none
    const std::vector<std::string> _inputs;
    const bool _several;
    JsonOutput _lines;
    std::optional<CsvTable> _table;
    std::optional<HtmlPage> _page;
    std::optional<Video::AtomicFile> _heat;  // of a single input
    CameraGrounds _cameras;
};

}  // namespace Scan
