// What is a zone?  A named part of the picture in relative coordinates, so that it survives a change of resolution.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Video {

// Fractions of the picture's width and height.
struct Point {
    double x;
    double y;
};

struct GreyPicture {
    int width = 0;                     // pixels
    int height = 0;                    // pixels
    std::vector<std::uint8_t> pixels;  // row after row
};

struct Zone {
    std::string name;
    bool exclude = false;                // what lies within is not watched, whatever other zones say
    std::optional<double> minSize = {};  // smallest object, as a fraction of the picture; absent: as everywhere
    std::optional<double> maxSize = {};  // largest object, likewise
    std::vector<Point> polygon = {};     // at least three corners, the last joins the first; empty: the mask counts
    GreyPicture mask = {};               // stretched over the picture; 128 and brighter is in the zone
};

// As many as an object can remember.
inline constexpr std::size_t mostZones = 64;

// Names of the zones that are watched, in order: bit i of an object's zones means the i-th.
inline std::vector<std::string> WatchedNames(const std::vector<Zone>& zones) {
    std::vector<std::string> names;
    for (const Zone& zone : zones) {
        if (!zone.exclude) {
            names.push_back(zone.name);
        }
    }
    return names;
}

}  // namespace Video
