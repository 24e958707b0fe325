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
#include "video/base/LiveName.h"
#include "video/files/AtomicFile.h"
#include "video/files/Folder.h"
#include "video/files/PngFile.h"
#include "video/watch/HeatMap.h"

namespace Scan {

namespace fs = std::filesystem;

RunOutputs::RunOutputs(const OutputSettings& outputs, const std::string& scan, const std::vector<std::string>& inputs,
                       bool several)
    : _heatFolder(several ? outputs.heatmap : ""), _inputs(inputs), _several(several), _lines(outputs.lines, inputs) {
    if (!outputs.csv.empty()) {
        _table.emplace(outputs.csv, inputs);
    }
    if (!outputs.report.empty()) {
        _page.emplace(outputs.report, inputs, scan);
    }
    if (!_heatFolder.empty()) {
        Video::MakeFolder(_heatFolder);
    } else if (!outputs.heatmap.empty()) {
        _heat.emplace(outputs.heatmap, inputs);
    }
    _lines.Begin(scan);
}

void RunOutputs::Take(const std::string& input, const Record& record) {
    _lines.Take(record);
    if (_table) {
        _table->Take(Video::ShownName(input), record);
    }
    if (_page) {
        _page->Take(Video::ShownName(input), record);
    }
}

void RunOutputs::Take(const std::string& input, const ScanPicture& picture) {
    if (const auto* ground = std::get_if<GroundPicture>(&picture)) {
        _cameras.Add(CameraOf(Video::ShownName(input)), *ground);
    } else if (_page) {
        _page->Take(std::get<EventPicture>(picture));
    }
}

void RunOutputs::Finish(const std::string& input, const JobResult& result) {
    if (_several) {
        _lines.Finish(Video::ShownName(input), result);
    }
    if (_page) {
        _page->Finish(Video::ShownName(input), result);
    }
}

void RunOutputs::KeepHeat() {
    if (_heat && !_cameras.All().empty()) {
        const GroundPicture& ground = _cameras.All().begin()->second;
        Video::WritePng(Video::HeatPicture(ground.heat, ground.background), *_heat);
        _heat->Keep();
    }
    if (_heatFolder.empty()) {
        return;
    }
    std::vector<std::string> cameras;
    for (const auto& [camera, ground] : _cameras.All()) {
        cameras.push_back(camera);
    }
    const std::vector<std::string> names = PictureNames(cameras);
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const GroundPicture& ground = _cameras.All().at(cameras[i]);
        Video::AtomicFile file((fs::path(_heatFolder) / names[i]).string(), _inputs);
        Video::WritePng(Video::HeatPicture(ground.heat, ground.background), file);
        file.Keep();
    }
}

void RunOutputs::Keep() {
    KeepHeat();
    if (_page) {
        _page->Keep(_cameras);
    }
    if (_table) {
        _table->Keep();
    }
    _lines.Keep();
}

}  // namespace Scan
