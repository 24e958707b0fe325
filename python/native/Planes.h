// What did Python hand over, and is it what a plane has to be?  Views of arrays; nothing is copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace Python {

// A two-dimensional array of samples, kept alive. Its columns lie side by side; its rows may lie anywhere.
struct Plane {
    pybind11::array owner;
    const std::uint8_t* first = nullptr;   // of the top row
    std::ptrdiff_t stride = 0;             // bytes from a row to the one below, of either sign
    std::ptrdiff_t rows = 0, columns = 0;  // of samples
};

// Of whatever offers the buffer protocol or is an array, without a copy. TypeError where elements are no bytes (bool is one,
// too), ValueError where it has other than two dimensions, or columns that do not lie side by side. `name` says in both
// which argument is meant. A last dimension of two, as interleaved chroma has it, counts as columns. sampleBytes: 1, or 2
// for uint16 with the lower byte first, wherever it lies.
Plane PlaneOf(pybind11::handle object, const std::string& name, int sampleBytes = 1);

// An int for a record of the C interface: sizes beyond it stay beyond every range.
std::int32_t Clamped(std::ptrdiff_t size);

}  // namespace Python
