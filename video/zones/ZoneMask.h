// Which blocks belong to a zone?  A polygon or mask relative to the picture becomes a mask on the grid.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/base/PictureGrid.h"
#include "video/zones/Zone.h"

namespace Video {

// Fractions of the picture's width and height: 0, 0, 1, 1 is all of it.
struct RelativeZone {
    double x;
    double y;
    double width;
    double height;
};

Zone RectangleZone(const std::string& name, const RelativeZone& rectangle);

// [block], 1 where the block's centre lies in the zone. Polygons too thin for that: the blocks along the
// middle, at least one.
std::vector<std::uint8_t> ZoneMask(const Zone& zone, const PictureGrid& grid);

// [block], 1 where the block lies in a zone to be excluded.
std::vector<std::uint8_t> ExcludedBlocks(const std::vector<Zone>& zones, const PictureGrid& grid);

// [block], 1 where the zone is watched: its mask without what is excluded.
std::vector<std::uint8_t> WatchedBlocks(const Zone& zone, const std::vector<std::uint8_t>& excluded,
                                        const PictureGrid& grid);

}  // namespace Video
