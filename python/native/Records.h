// How do records of the C interface and values of Python become each other?
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "coreMD-host.h"

namespace Python {

inline const std::map<std::string, std::int32_t> ranges = {{"limited", COREMD_LIMITED_RANGE}, {"full", COREMD_FULL_RANGE}};

// The value of a word. ValueError with all of them where it is none.
template <class Value>
const Value& Choice(const std::map<std::string, Value>& choices, const std::string& name, const std::string& argument) {
    const auto found = choices.find(name);
    if (found != choices.end()) {
        return found->second;
    }
    std::string known;
    for (const auto& [word, value] : choices) {
        known += (known.empty() ? "" : ", ") + word;
    }
    throw pybind11::value_error(argument + " is one of " + known);
}

// ValueError with the library's words, MemoryError where that ran out.
void Demand(std::int32_t status);

// Seconds as ticks. ValueError beyond what ticks can count.
std::int64_t TicksOf(double seconds);
double SecondsOf(std::int64_t ticks);

// Of an array [3, rows, columns], contiguous, which is kept alive and not copied. columns, rows: that it must have; 0: any.
struct WholePlanes {
    pybind11::array owner;
    const std::uint8_t* first = nullptr;
    std::int64_t size = 0;  // bytes
    std::int32_t columns = 0, rows = 0;
};
WholePlanes PlanesOf(const pybind11::object& object, std::int32_t columns = 0, std::int32_t rows = 0);

// Planes of so many rows and columns for the library to fill.
pybind11::array_t<std::uint8_t> NewPlanes(std::int32_t columns, std::int32_t rows);

}  // namespace Python
