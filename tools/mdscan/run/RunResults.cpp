// How are results handed on?  Called by main and Batch through RunResults.h.
#include "run/RunResults.h"

#include <filesystem>
#include <variant>

#include "command/Options.h"
#include "results/Camera.h"
#include "results/JobResult.h"
#include "results/Records.h"
#include "results/ScanLine.h"
#include "results/ScanPictures.h"
#include "video/base/LiveName.h"
#include "video/files/AtomicFile.h"
#include "video/files/Folder.h"
#include "video/files/PngFile.h"
#include "video/watch/HeatMap.h"

namespace Scan {

namespace fs = std::filesystem;

RunResults::RunResults(const Options& options, const std::vector<std::string>& inputs, bool several)
    : _options(options), _inputs(inputs), _several(several), _lines(options.output, inputs) {
    if (!options.csv.empty()) {
        _table.emplace(options.csv, inputs);
    }
    if (!options.report.empty()) {
        _page.emplace(options.report, inputs, ScanLine(options));
    }
    if (!options.heatmap.empty() && several) {
        Video::MakeFolder(options.heatmap);
    } else if (!options.heatmap.empty()) {
        _heat.emplace(options.heatmap, inputs);
    }
    _lines.Begin(ScanLine(options));
}

void RunResults::Take(const std::string& input, const Record& record) {
    _lines.Take(record);
    if (_table) {
        _table->Take(Video::ShownName(input), record);
    }
    if (_page) {
        _page->Take(Video::ShownName(input), record);
    }
}

void RunResults::Take(const std::string& input, const ScanPicture& picture) {
    if (const auto* ground = std::get_if<GroundPicture>(&picture)) {
        _cameras.Add(CameraOf(Video::ShownName(input)), *ground);
    } else if (_page) {
        _page->Take(std::get<EventPicture>(picture));
    }
}

void RunResults::Finish(const std::string& input, const JobResult& result) {
    if (_several) {
        _lines.Finish(Video::ShownName(input), result);
    }
    if (_page) {
        _page->Finish(Video::ShownName(input), result);
    }
}

void RunResults::KeepHeat() {
    if (_heat && !_cameras.All().empty()) {
        const GroundPicture& ground = _cameras.All().begin()->second;
        Video::WritePng(Video::HeatPicture(ground.heat, ground.background), *_heat);
        _heat->Keep();
    }
    if (_heat || _options.heatmap.empty()) {
        return;
    }
    std::vector<std::string> cameras;
    for (const auto& [camera, ground] : _cameras.All()) {
        cameras.push_back(camera);
    }
    const std::vector<std::string> names = PictureNames(cameras);
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const GroundPicture& ground = _cameras.All().at(cameras[i]);
        Video::AtomicFile file((fs::path(_options.heatmap) / names[i]).string(), _inputs);
        Video::WritePng(Video::HeatPicture(ground.heat, ground.background), file);
        file.Keep();
    }
}

void RunResults::Keep() {
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
