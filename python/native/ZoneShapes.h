// Which zones did Python hand over?  Masks of any resolution, or polygons.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "coreMD.hpp"
#include "video/zones/Zone.h"

namespace Python {

// A zone with its mask; the record of the library shows the mask without owning it.
struct OwnedZone {
    std::vector<std::uint8_t> mask;
    std::int32_t columns = 0, rows = 0;

    coremd::Zone Record(std::pair<float, float> smallest) const {
        return {.mask = mask,
                .columns = columns,
                .rows = rows,
                .minObjectWidth = smallest.first,
                .minObjectHeight = smallest.second};
    }
};

// Whether it is meant as a polygon: a list or tuple of pairs, or floating-point numbers in an array. Every other array is a
// mask.
bool IsPolygon(const pybind11::handle& object);

// Corners (x, y), at least three, from 0 to 1, that enclose something without crossing themselves; else ValueError, or
// TypeError where it is no list of corners.
std::vector<Video::Point> PolygonOf(const pybind11::handle& object, const std::string& name);

// Of an array of bytes or truths.
OwnedZone ZoneOfMask(const pybind11::handle& object, const std::string& name);

// None: one zone, the whole picture.
std::vector<OwnedZone> ZonesOf(const std::optional<pybind11::sequence>& zones);

}  // namespace Python
