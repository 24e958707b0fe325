// How is a zone laid onto the grid?
#include "video/zones/ZoneMask.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "video/base/PictureGrid.h"
#include "video/zones/Zone.h"

namespace Video {

namespace {

constexpr std::uint8_t brightEnough = 128;

// Of the part of the block that the picture covers, as a fraction of the picture.
double Centre(int block, int blockSize, int pictureSize) {
    return (block * blockSize + std::min((block + 1) * blockSize, pictureSize)) * 0.5 / pictureSize;
}

// Left and upper edges belong to a polygon, right and lower ones do not: neighbours share no block.
bool Contains(const std::vector<Point>& polygon, Point point) {
    bool inside = false;
    for (std::size_t i = 0, before = polygon.size() - 1; i < polygon.size(); before = i++) {
        const Point a = polygon[before], b = polygon[i];
        if ((a.y > point.y) != (b.y > point.y) && point.x < a.x + (b.x - a.x) * (point.y - a.y) / (b.y - a.y)) {
            inside = !inside;
        }
    }
    return inside;
}

bool Contains(const GreyPicture& mask, Point point) {
    const int column = std::clamp(static_cast<int>(point.x * mask.width), 0, mask.width - 1);
    const int row = std::clamp(static_cast<int>(point.y * mask.height), 0, mask.height - 1);
    const std::size_t index =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width) + static_cast<std::size_t>(column);
    return mask.pixels[index] >= brightEnough;
}

// The block in the middle of the corners.
std::size_t MiddleBlock(const std::vector<Point>& polygon, const PictureGrid& grid) {
    Point sum{0, 0};
    for (const Point& corner : polygon) {
        sum.x += corner.x;
        sum.y += corner.y;
    }
    const auto corners = static_cast<double>(polygon.size());
    const auto block = [&](double place, int pictureSize, int blocks) {
        return std::clamp(static_cast<int>(place * pictureSize / grid.blockSize), 0, blocks - 1);
    };
    const int column = block(sum.x / corners, grid.pictureWidth, grid.columns);
    const int row = block(sum.y / corners, grid.pictureHeight, grid.rows);
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(grid.columns) + static_cast<std::size_t>(column);
}

// Where a line of constant y crosses the polygon, from left to right.
std::vector<double> Crossings(const std::vector<Point>& polygon, double y) {
    std::vector<double> crossings;
    for (std::size_t i = 0, before = polygon.size() - 1; i < polygon.size(); before = i++) {
        const Point a = polygon[before], b = polygon[i];
        if ((a.y > y) != (b.y > y)) {
            crossings.push_back(a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y));
        }
    }
    std::sort(crossings.begin(), crossings.end());
    return crossings;
}

// A polygon so thin that it holds no block's centre: the blocks along its middle, at least one.
void MarkThin(const std::vector<Point>& polygon, const PictureGrid& grid, std::vector<std::uint8_t>& mask) {
    const auto blockAt = [&](double place, int pictureSize, int blocks) {
        return std::clamp(static_cast<int>(place * pictureSize / grid.blockSize), 0, blocks - 1);
    };
    const auto mark = [&](int column, int row) { mask[static_cast<std::size_t>(row * grid.columns + column)] = 1; };
    bool marked = false;
    for (int row = 0; row < grid.rows; ++row) {
        const std::vector<double> x = Crossings(polygon, Centre(row, grid.blockSize, grid.pictureHeight));
        for (std::size_t i = 0; i + 1 < x.size(); i += 2, marked = true) {
            mark(blockAt((x[i] + x[i + 1]) / 2, grid.pictureWidth, grid.columns), row);
        }
    }
    std::vector<Point> turned = polygon;
    for (Point& corner : turned) {
        std::swap(corner.x, corner.y);
    }
    for (int column = 0; column < grid.columns; ++column) {
        const std::vector<double> y = Crossings(turned, Centre(column, grid.blockSize, grid.pictureWidth));
        for (std::size_t i = 0; i + 1 < y.size(); i += 2, marked = true) {
            mark(column, blockAt((y[i] + y[i + 1]) / 2, grid.pictureHeight, grid.rows));
        }
    }
    if (!marked) {
        mask[MiddleBlock(polygon, grid)] = 1;
    }
}

std::size_t BlockCount(const PictureGrid& grid) {
    return static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows);
}

}  // namespace

Zone RectangleZone(const std::string& name, const RelativeZone& rectangle) {
    const double right = rectangle.x + rectangle.width, bottom = rectangle.y + rectangle.height;
    return {.name = name,
            .polygon = {{rectangle.x, rectangle.y}, {right, rectangle.y}, {right, bottom}, {rectangle.x, bottom}}};
}

std::vector<std::uint8_t> ZoneMask(const Zone& zone, const PictureGrid& grid) {
    std::vector<std::uint8_t> mask;
    mask.reserve(BlockCount(grid));
    for (int row = 0; row < grid.rows; ++row) {
        const double y = Centre(row, grid.blockSize, grid.pictureHeight);
        for (int column = 0; column < grid.columns; ++column) {
            const Point centre{Centre(column, grid.blockSize, grid.pictureWidth), y};
            mask.push_back(zone.polygon.empty() ? Contains(zone.mask, centre) : Contains(zone.polygon, centre));
        }
    }
    if (!zone.polygon.empty() && std::find(mask.begin(), mask.end(), std::uint8_t{1}) == mask.end()) {
        MarkThin(zone.polygon, grid, mask);
    }
    return mask;
}

std::vector<std::uint8_t> ExcludedBlocks(const std::vector<Zone>& zones, const PictureGrid& grid) {
    std::vector<std::uint8_t> excluded(BlockCount(grid), 0);
    for (const Zone& zone : zones) {
        if (zone.exclude) {
            const std::vector<std::uint8_t> mask = ZoneMask(zone, grid);
            std::transform(mask.begin(), mask.end(), excluded.begin(), excluded.begin(),
                           [](std::uint8_t a, std::uint8_t b) { return std::max(a, b); });
        }
    }
    return excluded;
}

std::vector<std::uint8_t> WatchedBlocks(const Zone& zone, const std::vector<std::uint8_t>& excluded,
                                        const PictureGrid& grid) {
    std::vector<std::uint8_t> mask = ZoneMask(zone, grid);
    std::transform(mask.begin(), mask.end(), excluded.begin(), mask.begin(),
                   [](std::uint8_t in, std::uint8_t out) { return static_cast<std::uint8_t>(out != 0 ? 0 : in); });
    return mask;
}

}  // namespace Video
