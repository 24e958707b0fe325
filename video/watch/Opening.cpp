// How are the first seconds kept?
#include "video/watch/Opening.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "video/base/Interruption.h"
#include "video/base/PictureGrid.h"
#include "video/media/Decoder.h"
#include "video/media/PacketSource.h"
#include "video/media/PictureSelection.h"
#include "video/media/PlainPicture.h"
#include "video/time/Cadence.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Video {

Opening::Opening(const PictureGrid& grid) : _planes(grid.columns, grid.rows, mostPictures) {}

bool Opening::Takes(Ticks time) const {
    return _times.empty() || (_planes.Pictures() < mostPictures && time - _times.front() < length);
}

void Opening::Add(const BlockPicture& picture, Ticks time) {
    _planes.Add(picture.ycbcr);
    _times.push_back(time);
    _shifts.push_back(picture.shift);
}

int Opening::BackgroundPictures() const {
    const auto isEarly = [&](Ticks time) { return time - _times.front() < background; };
    return static_cast<int>(std::count_if(_times.begin(), _times.end(), isEarly));
}

BlockPicture Opening::Picture(int index) const { return {_planes.Picture(index), _shifts[static_cast<std::size_t>(index)]}; }

std::unique_ptr<Opening> ReadOpening(const std::string& input, Ticks begin, int threads, double rate,
                                     const PictureGrid& grid, const WatchRules& rules, SelectionRules decoding) {
    std::optional<Cadence> cadence;  // asked by the decoder's threads only once it is there
    decoding.needed = [&](Ticks time) { return !cadence || cadence->MayTake(time); };
    const bool readsAll = decoding.standIn != nullptr;  // who stands in wants to be asked for every GOP
    Decoder decoder(OpenSource(input), threads, std::move(decoding));
    cadence.emplace(rate, decoder.NominalInterval());
    if (!readsAll) {
        decoder.SkipTo(begin);
    }
    PlainPicture picture;
    std::optional<Watcher> watcher;
    auto opening = std::make_unique<Opening>(grid);
    while (!Interrupted() && decoder.Next()) {
        if (decoder.Time() < begin) {
            continue;
        }
        if (!opening->Takes(decoder.Time())) {
            break;
        }
        if (!cadence->Takes(decoder.Time())) {
            continue;
        }
        picture.Take(decoder.Frame());
        const Host::PictureFormat& format = picture.Format();
        if (!watcher) {
            watcher.emplace(format, grid, rules);
        }
        if (!watcher->Suits(format)) {
            break;
        }
        opening->Add(watcher->Reduce(picture.View()), decoder.Time());
    }
    return opening->Pictures() > 0 ? std::move(opening) : nullptr;
}

}  // namespace Video
