// How does what Python calls a zone become a mask?  Called by the bindings through ZoneShapes.h.
#include "ZoneShapes.h"

#include <cstddef>
#include <limits>

#include <pybind11/numpy.h>

#include "Planes.h"
#include "video/zones/Polygon.h"
#include "video/zones/ZoneMask.h"

namespace py = pybind11;

namespace Python {
namespace {

// Across and down: finer than any grid that is usual, as the grid is not known when a detector is made.
constexpr int polygonCells = 512;

OwnedZone ZoneOfPolygon(std::vector<Video::Point> polygon) {
    const Video::Zone zone{.name = "", .polygon = std::move(polygon)};
    const py::gil_scoped_release others;
    return {.mask = Video::ZoneMask(zone, {.pictureWidth = polygonCells,
                                           .pictureHeight = polygonCells,
                                           .blockSize = 1,
                                           .columns = polygonCells,
                                           .rows = polygonCells}),
            .columns = polygonCells,
            .rows = polygonCells};
}

bool IsFloating(const py::handle& object) {
    return py::isinstance<py::array>(object) && py::reinterpret_borrow<py::array>(object).dtype().kind() == 'f';
}

}  // namespace

bool IsPolygon(const py::handle& object) {
    if (IsFloating(object)) {
        return true;
    }
    if (!py::isinstance<py::list>(object) && !py::isinstance<py::tuple>(object)) {
        return false;
    }
    const auto corners = py::reinterpret_borrow<py::sequence>(object);
    return corners.size() > 0 &&
           (py::isinstance<py::tuple>(corners[0]) || py::isinstance<py::list>(corners[0]) || IsFloating(corners[0]));
}

std::vector<Video::Point> PolygonOf(const py::handle& object, const std::string& name) {
    using Corners = py::array_t<double, py::array::c_style | py::array::forcecast>;
    const Corners corners = Corners::ensure(object);
    if (!corners) {
        PyErr_Clear();
        throw py::type_error(name + " is no list of corners (x, y)");
    }
    if (corners.ndim() != 2 || corners.shape(0) < 3 || corners.shape(1) != 2) {
        throw py::value_error(name + " must be a list of at least three corners [x, y]");
    }
    std::vector<Video::Point> polygon;
    for (py::ssize_t i = 0; i < corners.shape(0); ++i) {
        const Video::Point corner{corners.at(i, 0), corners.at(i, 1)};
        if (!(corner.x >= 0 && corner.x <= 1 && corner.y >= 0 && corner.y <= 1)) {
            throw py::value_error(name + "[" + std::to_string(i) + "] lies outside 0 to 1");
        }
        polygon.push_back(corner);
    }
    const std::string trouble = [&] {
        const py::gil_scoped_release others;  // every line is compared with every other: thousands take a while
        return Video::PolygonTrouble(polygon);
    }();
    if (!trouble.empty()) {
        throw py::value_error(name + ": " + trouble);
    }
    return polygon;
}

OwnedZone ZoneOfMask(const py::handle& object, const std::string& name) {
    const Plane plane = PlaneOf(object, name);
    // A broadcast array has as many cells as it says without holding them: a copy of it would take the machine's memory.
    if (plane.columns > 0 && plane.rows > std::numeric_limits<std::int32_t>::max() / plane.columns) {
        throw py::value_error(name + " has " + std::to_string(plane.rows) + " rows of " + std::to_string(plane.columns) +
                              " cells: more than a zone can have");
    }
    OwnedZone zone{.mask = {}, .columns = Clamped(plane.columns), .rows = Clamped(plane.rows)};
    for (std::ptrdiff_t row = 0; row < plane.rows; ++row) {
        const std::uint8_t* first = plane.first + row * plane.stride;
        zone.mask.insert(zone.mask.end(), first, first + plane.columns);
    }
    zone.mask.reserve(1);  // a mask without cells is refused for its size, not for being null
    return zone;
}

std::vector<OwnedZone> ZonesOf(const std::optional<py::sequence>& given) {
    if (!given) {
        return {{.mask = {1}, .columns = 1, .rows = 1}};
    }
    std::vector<OwnedZone> zones;
    for (std::size_t i = 0; i < given->size(); ++i) {
        const py::object one = (*given)[i];
        const std::string name = "zones[" + std::to_string(i) + "]";
        zones.push_back(IsPolygon(one) ? ZoneOfPolygon(PolygonOf(one, name)) : ZoneOfMask(one, name));
    }
    return zones;
}

}  // namespace Python
