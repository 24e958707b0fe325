// How is a status an exception, and what is an array of planes?  Called by the bindings through Records.h.
#include "Records.h"

#include <cmath>
#include <new>

#include "Planes.h"

namespace py = pybind11;

namespace Python {
namespace {

constexpr double ticksPerSecond = 1e7;
constexpr double longestTime = 9e11;  // seconds: ticks of 64 bits end at 9.2e11

}  // namespace

void Demand(std::int32_t status) {
    if (status == COREMD_HOST_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != COREMD_HOST_DONE) {
        throw py::value_error(coreMD_HostStatusText(status));
    }
}

std::int64_t TicksOf(double seconds) {
    if (!(std::abs(seconds) <= longestTime)) {
        throw py::value_error("time is not between -9e11 and 9e11 seconds");
    }
    return std::llround(seconds * ticksPerSecond);
}

double SecondsOf(std::int64_t ticks) { return static_cast<double>(ticks) / ticksPerSecond; }

WholePlanes PlanesOf(const py::object& object, std::int32_t columns, std::int32_t rows) {
    const py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        throw py::type_error("the planes are no array");
    }
    if (array.itemsize() != 1 || array.dtype().kind() != 'u') {
        throw py::type_error("the planes hold " + py::str(array.dtype()).cast<std::string>() + ", not uint8");
    }
    if (array.ndim() != 3 || array.shape(0) != 3 || (array.flags() & py::array::c_style) == 0) {
        throw py::value_error("the planes are no contiguous array of [3, rows, columns]; y, cb and cr may come as three");
    }
    const WholePlanes planes{.owner = array,
                             .first = static_cast<const std::uint8_t*>(array.data()),
                             .size = array.size(),
                             .columns = Clamped(array.shape(2)),
                             .rows = Clamped(array.shape(1))};
    if (columns != 0 && (planes.columns != columns || planes.rows != rows)) {
        const auto text = [](std::int32_t number) { return std::to_string(number); };
        throw py::value_error("the planes have " + text(planes.rows) + " rows of " + text(planes.columns) + " blocks, not " +
                              text(rows) + " of " + text(columns));
    }
    return planes;
}

py::array_t<std::uint8_t> NewPlanes(std::int32_t columns, std::int32_t rows) {
    return py::array_t<std::uint8_t>({3, static_cast<int>(rows), static_cast<int>(columns)});
}

}  // namespace Python
