// How is the watcher driven as mdscan drives it?
#include "ScannerSubject.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "tools/mdscan/settings/ScanSettings.h"
#include "video/base/BlockMark.h"
#include "video/base/PictureGrid.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/watch/Opening.h"
#include "video/watch/Watcher.h"

namespace Accuracy {

namespace {

class ScannerSubject : public Subject {
public:
    ScannerSubject(const ScannerRules& rules, Video::Ticks interval, OnMask onMask)
        : _blockSize(rules.blockSize),
          _rules{.framesPerSecond = 1 / Video::ToSeconds(interval),
                 .shadows = rules.shadows,
                 .minSize = rules.minSize,
                 .zones = {},
                 .conditioning = rules.conditioning},
          _cadence(rules.rate, interval),
          _onMask(std::move(onMask)) {
        std::srand(1);  // the detector's frame cycle starts where that of a program's first detector does
    }

    void Show(const AVFrame& picture, Video::Ticks time) override {
        if (!_cadence.Takes(time)) {
            return;
        }
        _picture.Take(picture);
        const Host::PictureFormat& format = _picture.Format();
        if (!_watcher || !_watcher->Suits(format)) {
            const bool isFirst = !_watcher;
            JudgeOpening();
            _watcher.emplace(format, Video::GridOf(format.width, format.height, _blockSize, _rules.conditioning), _rules);
            if (_rules.conditioning.on && isFirst) {
                _opening = std::make_unique<Video::Opening>(_watcher->Grid());
            }
        }
        const Video::BlockPicture blocks = _watcher->Reduce(_picture.View());
        if (_opening && _opening->Takes(time)) {
            _opening->Add(blocks, time);
            return;
        }
        JudgeOpening();
        Judge(blocks, time);
    }

    void End() override { JudgeOpening(); }

    const Host::Disturbances* Disturbances() const override { return _watcher ? _watcher->Disturbances() : nullptr; }

private:
    void JudgeOpening() {
        if (!_opening) {
            return;
        }
        const std::unique_ptr<Video::Opening> opening = std::move(_opening);
        if (opening->Pictures() > 0) {
            _watcher->Prime(opening->Planes(), {}, opening->BackgroundPictures());
        }
        for (int i = 0; i < opening->Pictures(); ++i) {
            Judge(opening->Picture(i), opening->TimeOf(i));
        }
    }

    void Judge(const Video::BlockPicture& picture, Video::Ticks time) {
        _watcher->Judge(picture, time);
        const std::vector<Video::BlockMark> marks = _watcher->Marks();
        const Video::PictureGrid& grid = _watcher->Grid();
        Mask mask{grid.pictureWidth, grid.pictureHeight, grid.blockSize, {}};
        std::transform(marks.begin(), marks.end(), std::back_inserter(mask.moving),
                       [](Video::BlockMark mark) -> std::uint8_t { return mark == Video::BlockMark::Object; });
        _onMask(time, mask);
    }

    const int _blockSize;  // pixels; 0: chosen
    const Video::WatchRules _rules;
    Video::Cadence _cadence;
    const OnMask _onMask;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;
    std::unique_ptr<Video::Opening> _opening;
};

}  // namespace

ScannerRules::ScannerRules() {
    const Scan::ScanSettings defaults;
    rate = defaults.rate;
    blockSize = defaults.blockSize;
    shadows = defaults.shadows;
    minSize = defaults.minSize;
    conditioning = Scan::ConditioningOf(defaults);
}

NewSubject Scanner(const ScannerRules& rules) {
    return [rules](Video::Ticks interval, const OnMask& onMask) {
        return std::make_unique<ScannerSubject>(rules, interval, onMask);
    };
}

}  // namespace Accuracy
