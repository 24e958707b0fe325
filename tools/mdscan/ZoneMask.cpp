// How is a relative rectangle laid onto the grid?  Called by Watcher through ZoneMask.h.
#include "ZoneMask.h"

#include <algorithm>
#include <cstddef>

namespace Scan {

namespace {

struct Span {
    int first;
    int end;       // exclusive
};

// Blocks of one axis whose centre lies in [from, from + extent) of the picture.
Span BlocksInside(double from, double extent, int pictureSize, int blockSize, int blocks) {
    const auto centre = [&](int block) {                   // of the part of the block that the picture covers
        return (block * blockSize + std::min((block + 1) * blockSize, pictureSize)) * 0.5 / pictureSize;
    };
    int first = 0;
    while (first < blocks && centre(first) < from) {
        ++first;
    }
    int end = first;
    while (end < blocks && centre(end) < from + extent) {
        ++end;
    }
    if (first < end) {
        return {first, end};
    }
    const double middle = (from + extent / 2) * pictureSize / blockSize;
    const int block = std::clamp(static_cast<int>(middle), 0, blocks - 1);
    return {block, block + 1};
}

}  // namespace

std::vector<std::uint8_t> ZoneMask(const RelativeZone& zone, const PictureGrid& grid) {
    const Span across = BlocksInside(zone.x, zone.width, grid.pictureWidth, grid.blockSize, grid.columns);
    const Span down = BlocksInside(zone.y, zone.height, grid.pictureHeight, grid.blockSize, grid.rows);
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows), 0);
    for (int row = down.first; row < down.end; ++row) {
        const auto start = mask.begin() + std::ptrdiff_t{row} * grid.columns;
        std::fill(start + across.first, start + across.end, std::uint8_t{1});
    }
    return mask;
}

}  // namespace Scan
