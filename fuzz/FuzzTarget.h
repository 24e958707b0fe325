// What is a fuzz target?  One function, called once per input by libFuzzer or by driver.cpp.  Returns 0.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
