// What is to be seen in the first seconds of an input?  Keeps their pictures as blocks until enough is known to judge them:
// the detector then knows its background from the first one on.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "conditioning/Priming.h"
#include "video/base/PictureGrid.h"
#include "video/media/PictureSelection.h"
#include "video/time/TickTime.h"
#include "video/watch/BlockPicture.h"
#include "video/watch/Watcher.h"

namespace Video {

class Opening {
public:
    static constexpr Ticks length = 16 * oneSecond;
    static constexpr Ticks background = 6 * oneSecond;  // who stands still in most of all would be background
    static constexpr int mostPictures = 100;

    explicit Opening(const PictureGrid& grid);

    // Does a picture at this time belong to the first seconds?
    bool Takes(Ticks time) const;

    // Precondition: it does.
    void Add(const BlockPicture& picture, Ticks time);

    // Empty where there was no picture.
    int Pictures() const { return _planes.Pictures(); }
    const Host::Priming& Planes() const { return _planes; }
    int BackgroundPictures() const;  // the first so many say what the background is; all, where it is restless
    BlockPicture Picture(int index) const;
    Ticks TimeOf(int index) const { return _times[static_cast<std::size_t>(index)]; }

private:
    Host::Priming _planes;
    std::vector<Ticks> _times;
    std::vector<Host::Shift> _shifts;
};

// Reads the first seconds of an input that can be read twice, for a scan that cannot wait for them: the very pictures that
// it will analyse. begin: time before which it analyses none. threads, rate, rules, decoding: as for the scan. Null where
// there is none of that grid. Throws Failure.
std::unique_ptr<Opening> ReadOpening(const std::string& input, Ticks begin, int threads, double rate,
                                     const PictureGrid& grid, const WatchRules& rules, SelectionRules decoding = {});

}  // namespace Video
