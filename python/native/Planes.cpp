// How is a plane found in an array?  Called by the bindings through Planes.h.
#include "Planes.h"

#include <algorithm>
#include <limits>

namespace py = pybind11;

namespace Python {

Plane PlaneOf(py::handle object, const std::string& name) {
    const py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        throw py::type_error(name + " is no array");
    }
    if (array.itemsize() != 1 || (array.dtype().kind() != 'u' && array.dtype().kind() != 'b')) {
        throw py::type_error(name + " holds " + py::str(array.dtype()).cast<std::string>() + ", not uint8");
    }
    const bool isInterleaved = array.ndim() == 3 && array.shape(2) == 2;
    if (array.ndim() != 2 && !isInterleaved) {
        throw py::value_error(name + " has " + std::to_string(array.ndim()) + " dimensions, not rows and columns");
    }
    const bool pairsTouch = !isInterleaved || (array.strides(2) == 1 && (array.shape(1) < 2 || array.strides(1) == 2));
    if (!pairsTouch || (!isInterleaved && array.shape(1) > 1 && array.strides(1) != 1)) {
        throw py::value_error(name + ": the columns do not lie side by side; numpy.ascontiguousarray copies them so");
    }
    return {.owner = array,
            .first = static_cast<const std::uint8_t*>(array.data()),
            .stride = array.shape(0) > 1 ? array.strides(0) : array.shape(1) * (isInterleaved ? 2 : 1),
            .rows = array.shape(0),
            .columns = array.shape(1) * (isInterleaved ? 2 : 1)};
}

std::int32_t Clamped(std::ptrdiff_t size) {
    return static_cast<std::int32_t>(std::min<std::ptrdiff_t>(size, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace Python
