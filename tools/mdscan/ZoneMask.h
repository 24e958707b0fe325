// Which blocks belong to a zone?  A rectangle relative to the picture becomes a mask on the grid; used by Watcher.
#pragma once

#include <cstdint>
#include <vector>

namespace Scan {

// Fractions of the picture's width and height: 0, 0, 1, 1 is all of it.
struct RelativeZone {
    double x;
    double y;
    double width;
    double height;
};

// A picture divided into square blocks. The last column and row may reach beyond the picture.
struct PictureGrid {
    int pictureWidth;      // pixels
    int pictureHeight;     // pixels
    int blockSize;         // pixels
    int columns;           // blocks
    int rows;              // blocks
};

// [block], 1 where the block's centre lies in the zone; at least the one block in the zone's middle.
std::vector<std::uint8_t> ZoneMask(const RelativeZone& zone, const PictureGrid& grid);

}  // namespace Scan
