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
                 .zones = {}},
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
            _watcher.emplace(format, Video::GridOf(format.width, format.height, _blockSize), _rules);
        }
        _watcher->Watch(_picture.View(), time);
        const std::vector<Video::BlockMark> marks = _watcher->Marks();
        Mask mask{format.width, format.height, _watcher->Grid().blockSize, {}};
        std::transform(marks.begin(), marks.end(), std::back_inserter(mask.moving),
                       [](Video::BlockMark mark) -> std::uint8_t { return mark == Video::BlockMark::Object; });
        _onMask(time, mask);
    }

private:
    const int _blockSize;  // pixels; 0: chosen
    const Video::WatchRules _rules;
    Video::Cadence _cadence;
    const OnMask _onMask;
    Video::PlainPicture _picture;
    std::optional<Video::Watcher> _watcher;
};

}  // namespace

ScannerRules::ScannerRules() {
    const Scan::ScanSettings defaults;
    rate = defaults.rate;
    blockSize = defaults.blockSize;
    shadows = defaults.shadows;
    minSize = defaults.minSize;
}

NewSubject Scanner(const ScannerRules& rules) {
    return [rules](Video::Ticks interval, const OnMask& onMask) {
        return std::make_unique<ScannerSubject>(rules, interval, onMask);
    };
}

}  // namespace Accuracy
