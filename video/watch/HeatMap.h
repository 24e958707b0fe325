// How often did each block move?
//
// Pure: no file, no detector.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/base/PictureGrid.h"

namespace Video {

struct HeatMap {
    PictureGrid grid = {};              // all zero: nothing was counted yet
    std::vector<std::uint32_t> counts;  // [block] analysed frames in which an object covered it

    // Counts of another map join. Its grid is taken over if there is none yet; blocks of another grid are found by their
    // place in the picture.
    void Add(const HeatMap& other);
};

// The map over a dimmed background of the same camera, in the picture's size divided by `shrink`; warm where much moved, on
// a logarithmic scale. background: one pixel per block, magenta where not known; empty: dark.
BgrPicture HeatPicture(const HeatMap& map, const BgrPicture& background, int shrink = 1);

// Whatever is known in `newer` takes the place of what is in `older`; of another size: all of it does.
void UpdateBackground(BgrPicture& older, const BgrPicture& newer);

// For people to look at: dark grey in place of magenta.
BgrPicture GreyWhereUnknown(BgrPicture background);

}  // namespace Video
