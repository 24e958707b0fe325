// How often did each block move?
//
// Pure: no file, no detector.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "video/base/BgrPicture.h"
#include "video/base/PictureGrid.h"

namespace Video {

struct HeatMap {
    PictureGrid grid = {};              // all zero: nothing was counted yet
    std::vector<std::uint32_t> counts;  // [block] analysed frames in which an object covered it
    std::uint64_t frames = 0;           // analysed, whether anything moved in them or not

    // Counts of another map join. Its grid is taken over if there is none yet; blocks of another grid are found by their
    // place in the picture.
    void Add(const HeatMap& other);
};

// How warm is a block?  Half by how long it moved, on a logarithmic scale from the least to the most; half by its rank, how
// many of the blocks that moved at all moved less. So colours tell apart a path that is rarely crossed from a road, and two
// lanes of a road on which something moves nearly always.
class HeatScale {
public:
    explicit HeatScale(const HeatMap& map);

    // 0 to 1, from the least to the most of what moved; more for more. Precondition: a block of the map has that count, and
    // it is above 0.
    float LevelOf(std::uint32_t count) const;

    // The least count of a block that is at least so warm; 0: none is.
    std::uint32_t CountFrom(float level) const;

private:
    struct Step {
        std::uint32_t count;
        std::uint64_t fewer;  // blocks that moved less, and did move
    };
    std::vector<Step> _steps;  // one for each count above 0, rising
};

// A colour of the map, and from which share of the analysed time on a block has it.
struct HeatColour {
    std::array<std::uint8_t, 3> bgr;
    double share;  // above 0, to 1
};

// From the coldest that is there to the warmest, five at most. Empty where nothing moved.
std::vector<HeatColour> HeatLegend(const HeatMap& map);

// The map over a dimmed background of the same camera, in the picture's size divided by `shrink`; warm where much moved, by
// HeatScale. background: one pixel per block, magenta where not known; empty: dark.
BgrPicture HeatPicture(const HeatMap& map, const BgrPicture& background, int shrink = 1);

// Whatever is known in `newer` takes the place of what is in `older`; of another size: all of it does.
void UpdateBackground(BgrPicture& older, const BgrPicture& newer);

// For people to look at: dark grey in place of magenta.
BgrPicture GreyWhereUnknown(BgrPicture background);

}  // namespace Video
