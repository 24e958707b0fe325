// What does a camera look like when nothing happens?  Collected while it is watched, kept in a file, and there again when
// the next recording begins.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "conditioning/Priming.h"
#include "video/base/PictureGrid.h"
#include "video/time/TickTime.h"
#include "video/watch/BlockPicture.h"

namespace Video {

class KeptBackground {
public:
    static constexpr Ticks interval = 2 * oneSecond;  // between two pictures that are looked at
    static constexpr int mostPictures = 60;           // of which it is made: the last minutes count

    // A picture that was analysed, in order of time. One of another grid makes it begin anew: the newest counts.
    void Add(const BlockPicture& picture, const PictureGrid& grid, Ticks time);

    // All at once. Nothing is written where there was no picture. Throws Failure.
    void Save(const std::string& path);

private:
    void Settle();

    PictureGrid _grid = {};
    std::optional<Host::Priming> _pictures;
    std::vector<std::uint8_t> _settled;  // 3 * [block] of pictures before those
    std::optional<Ticks> _last;
};

// The planes of what was kept: 3 * [block]. Absent where there is no such file. Throws Failure where it cannot be read, is
// damaged or belongs to another grid.
std::optional<std::vector<std::uint8_t>> LoadBackground(const std::string& path, const PictureGrid& grid);

}  // namespace Video
