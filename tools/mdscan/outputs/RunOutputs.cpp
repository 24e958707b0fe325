// How are results handed on?
#include "outputs/RunOutputs.h"

#include <filesystem>
#include <variant>

#include "outputs/Camera.h"
#include "outputs/CameraGrounds.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "settings/OutputSettings.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/base/LiveName.h"
#include "video/files/AtomicFile.h"
#include "video/files/Folder.h"
#include "video/files/PngFile.h"
#include "video/pictures/HeatSheet.h"

namespace Scan {

namespace fs = std::filesystem;

RunOutputs::RunOutputs(const OutputSettings& outputs, const std::string& scan, const std::vector<std::string>& inputs,
                       bool several)
    : _paths(outputs), _inputs(inputs), _several(several), _lines(outputs.lines, inputs) {
    if (!outputs.csv.empty()) {
        _table.emplace(outputs.csv, inputs);
    }
    if (!outputs.report.empty()) {
        _page.emplace(outputs.report, inputs, scan);
    }
    if (several && !outputs.heatmap.empty()) {
        Video::MakeFolder(_heatFolder.emplace(outputs.heatmap));
    } else if (!outputs.heatmap.empty()) {
        _heat.emplace(outputs.heatmap, inputs);
    }
    if (!outputs.join.empty()) {
        _join.emplace(outputs.join, inputs);
    }
    _lines.Begin(scan);
}

// Without what ends with the run.
Record RunOutputs::Lasting(const Record& record) const {
    Record lasting = record;
    if (auto* event = std::get_if<EventRecord>(&lasting); event && !_paths.keepsClips) {
        event->clip.reset();
    }
    return lasting;
}

// A terminal that has closed ends the run in good order, and takes no more lines: whatever else is written is completed.
void RunOutputs::Print(const std::function<void()>& line) {
    if (_linesLost) {
        return;
    }
    try {
        line();
    } catch (const Video::Failure& failure) {
        if (!Video::Interrupted()) {
            throw;
        }
        _linesLost = true;
        _gaveUp.Add(failure.what());
    }
}

void RunOutputs::Tell(const std::string& input, const Record& record) {
    const Record lasting = Lasting(record);
    Print([&] { _lines.Take(lasting); });
    _gaveUp.Try(_table, _paths.csv, [&](CsvTable& table) { table.Take(Video::ShownName(input), lasting); });
}

void RunOutputs::TellEnd(const std::string& input, const JobResult& result) {
    if (_several) {
        Print([&] { _lines.Finish(Video::ShownName(input), result); });
    }
}

void RunOutputs::Show(const std::string& input, const Record& record) {
    _gaveUp.Try(_page, _paths.report, [&](HtmlPage& page) { page.Take(Video::ShownName(input), Lasting(record)); });
    _gaveUp.Try(_join, _paths.join, [&](EventJoin& join) { join.Take(Video::ShownName(input), record); });
}

void RunOutputs::Show(const std::string& input, const ScanPicture& picture) {
    if (const auto* ground = std::get_if<GroundPicture>(&picture)) {
        _cameras.Add(CameraOf(Video::ShownName(input)), *ground);
    } else {
        _gaveUp.Try(_page, _paths.report, [&](HtmlPage& page) { page.Take(std::get<EventPicture>(picture)); });
    }
}

void RunOutputs::ShowEnd(const std::string& input, const JobResult& result) {
    _gaveUp.Try(_page, _paths.report, [&](HtmlPage& page) { page.Finish(Video::ShownName(input), result); });
}

void RunOutputs::GiveUpShowing(const std::string& reason) {
    const auto giveUp = [&](auto& output, const std::string& path) {
        if (output) {
            output.reset();
            _gaveUp.Add("cannot write " + path + ": " + reason);
        }
    };
    giveUp(_page, _paths.report);
    giveUp(_join, _paths.join);
    giveUp(_heat, _paths.heatmap);
    giveUp(_heatFolder, _paths.heatmap);
}

void RunOutputs::KeepHeatMaps(const std::string& folder) {
    std::vector<std::string> cameras;
    for (const auto& [camera, ground] : _cameras.All()) {
        cameras.push_back(camera);
    }
    const std::vector<std::string> names = PictureNames(cameras);
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const GroundPicture& ground = _cameras.All().at(cameras[i]);
        Video::AtomicFile file((fs::path(folder) / names[i]).string(), _inputs);
        Video::WritePng(Video::HeatSheet(ground.heat, ground.background), file);
        file.Keep();
    }
}

// Lines first: they are what was found.
void RunOutputs::Keep() {
    if (!_linesLost) {
        _gaveUp.Try(_paths.lines, [&] { _lines.Keep(); });
    }
    _gaveUp.Try(_table, _paths.csv, [](CsvTable& table) { table.Keep(); });
    _gaveUp.Try(_page, _paths.report, [&](HtmlPage& page) { page.Keep(_cameras); });
    _gaveUp.Try(_join, _paths.join, [](EventJoin& join) { join.Keep(); });
    _gaveUp.Try(_heatFolder, _paths.heatmap, [&](const std::string& folder) { KeepHeatMaps(folder); });
    if (!_cameras.All().empty()) {
        _gaveUp.Try(_heat, _paths.heatmap, [&](Video::AtomicFile& file) {
            const GroundPicture& ground = _cameras.All().begin()->second;
            Video::WritePng(Video::HeatSheet(ground.heat, ground.background), file);
            file.Keep();
        });
    }
}

}  // namespace Scan
