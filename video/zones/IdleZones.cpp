// What does a zone lack?
#include "video/zones/IdleZones.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "video/zones/PlacedJson.h"
#include "video/zones/ZoneMask.h"

namespace Video {

namespace {

using Blocks = std::vector<std::uint8_t>;  // [block] {0,1}

std::string Text(const Extent& extent) { return std::to_string(extent.columns) + " by " + std::to_string(extent.rows); }

// Is there a part of the zone, as far as objects reach, that is large enough?  An object joins what lies two columns, or a
// row and a column, from one another.
bool HasRoom(Blocks rest, const PictureGrid& grid, const Extent& smallest) {
    struct Place {
        int column, row;
    };
    static constexpr std::array<Place, 10> reach = {
        {{-2, 0}, {-1, 0}, {1, 0}, {2, 0}, {-1, -1}, {0, -1}, {1, -1}, {-1, 1}, {0, 1}, {1, 1}}};
    const auto take = [&](Place place) {
        const bool isInside = place.column >= 0 && place.row >= 0 && place.column < grid.columns && place.row < grid.rows;
        const auto index = static_cast<std::size_t>(place.row * grid.columns + place.column);
        return isInside && std::exchange(rest[index], std::uint8_t{0}) != 0;
    };
    for (int row = 0; row < grid.rows; ++row) {
        for (int column = 0; column < grid.columns; ++column) {
            std::vector<Place> part;
            if (take({column, row})) {
                part.push_back({column, row});
            }
            int left = column, right = column, bottom = row;  // the first one is the highest
            for (std::size_t i = 0; i < part.size(); ++i) {
                const Place from = part[i];
                left = std::min(left, from.column);
                right = std::max(right, from.column);
                bottom = std::max(bottom, from.row);
                for (const Place& step : reach) {
                    if (const Place next{from.column + step.column, from.row + step.row}; take(next)) {
                        part.push_back(next);
                    }
                }
            }
            if (!part.empty() && right - left + 1 >= smallest.columns && bottom - row + 1 >= smallest.rows) {
                return true;
            }
        }
    }
    return false;
}

std::string Count(std::ptrdiff_t blocks) { return std::to_string(blocks) + (blocks == 1 ? " block" : " blocks"); }

// Empty: it can.
std::string WhyIdle(const Zone& zone, const Blocks& excluded, const PictureGrid& grid, const ObjectSizes& sizes) {
    const Blocks all = ZoneMask(zone, grid), watched = WatchedBlocks(zone, excluded, grid);
    const auto covered = std::count(all.begin(), all.end(), std::uint8_t{1});
    const auto blocks = std::count(watched.begin(), watched.end(), std::uint8_t{1});
    const Extent smallest = ExtentOf(sizes.smallest, grid), largest = ExtentOf(sizes.largest, grid);
    if (covered == 0) {
        return "it covers the centre of no block";
    }
    if (blocks == 0) {
        return "excluded " + std::string(covered == 1 ? "is its only block" : "are all of its " + Count(covered));
    }
    if (std::min(largest.columns, largest.rows) < 1) {
        return "the largest object that counts has " + Text(largest) + " blocks";
    }
    if (smallest.columns > largest.columns || smallest.rows > largest.rows) {
        return "the smallest object that counts has " + Text(smallest) + " blocks, the largest " + Text(largest);
    }
    if (!HasRoom(watched, grid, smallest)) {
        return "its " + Count(blocks) + (blocks == 1 ? " has" : " have") + " no room for " + Text(smallest) +
               ", the smallest object that counts";
    }
    return "";
}

}  // namespace

std::vector<IdleZone> IdleZones(const std::vector<Zone>& zones, const PictureGrid& grid, const ObjectSizes& sizes) {
    const Blocks excluded = ExcludedBlocks(zones, grid);
    std::vector<IdleZone> idle;
    const auto examine = [&](const Zone& zone) {
        if (const std::string reason = WhyIdle(zone, excluded, grid, SizesIn(zone, sizes)); !reason.empty()) {
            idle.push_back({zone.name, reason});
        }
    };
    for (const Zone& zone : zones) {
        if (!zone.exclude) {
            examine(zone);
        }
    }
    if (WatchedNames(zones).empty()) {
        examine(RectangleZone("", {0, 0, 1, 1}));
    }
    return idle;
}

bool AreAll(const std::vector<IdleZone>& idle, const std::vector<Zone>& zones) {
    return idle.size() == std::max<std::size_t>(1, WatchedNames(zones).size());
}

std::string Told(const IdleZone& zone) {
    const std::string subject = zone.name.empty() ? "the picture" : "zone " + Quoted(zone.name);
    return subject + " can never tell motion: " + zone.reason;
}

}  // namespace Video
