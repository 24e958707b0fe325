// How is a plane found in an array?  Called by the bindings through Planes.h.
#include "Planes.h"

#include <algorithm>
#include <limits>

namespace py = pybind11;

namespace Python {

namespace {

// Whether elements are samples of so many bytes; bool is one byte, too.
bool HoldsSamples(const py::array& array, int bytes) {
    const char kind = array.dtype().kind();
    if (bytes == 1) {
        return array.itemsize() == 1 && (kind == 'u' || kind == 'b');
    }
    return kind == 'u' && array.dtype().equal(py::dtype("<u2"));
}

}  // namespace

Plane PlaneOf(py::handle object, const std::string& name, int sampleBytes) {
    const py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        throw py::type_error(name + " is no array");
    }
    if (!HoldsSamples(array, sampleBytes)) {
        throw py::type_error(name + " holds " + py::str(array.dtype()).cast<std::string>() +
                             (sampleBytes == 1 ? ", not uint8" : ", not uint16, lower byte first"));
    }
    const bool isInterleaved = array.ndim() == 3 && array.shape(2) == 2;
    if (array.ndim() != 2 && !isInterleaved) {
        throw py::value_error(name + " has " + std::to_string(array.ndim()) + " dimensions, not rows and columns");
    }
    const bool pairsTouch =
        !isInterleaved || (array.strides(2) == sampleBytes && (array.shape(1) < 2 || array.strides(1) == 2 * sampleBytes));
    if (!pairsTouch || (!isInterleaved && array.shape(1) > 1 && array.strides(1) != sampleBytes)) {
        throw py::value_error(name + ": the columns do not lie side by side; numpy.ascontiguousarray copies them so");
    }
    return {.owner = array,
            .first = static_cast<const std::uint8_t*>(array.data()),
            .stride = array.shape(0) > 1 ? array.strides(0) : array.shape(1) * (isInterleaved ? 2 : 1) * sampleBytes,
            .rows = array.shape(0),
            .columns = array.shape(1) * (isInterleaved ? 2 : 1)};
}

std::int32_t Clamped(std::ptrdiff_t size) {
    return static_cast<std::int32_t>(std::min<std::ptrdiff_t>(size, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace Python
