// What does the module _native consist of?
#include <pybind11/pybind11.h>

#include "Bindings.h"
#include "coreMD.hpp"

PYBIND11_MODULE(_native, module) {
    module.doc() = "The compiled part of coremd; import coremd instead.";
    const coremd::Version version = coremd::LibraryVersion();
    module.attr("library_version") = pybind11::make_tuple(version.major, version.minor, version.patch);
    Python::AddDetector(module);
    Python::AddMemories(module);
    Python::AddBlockReducer(module);
    Python::AddConditioning(module);
}
