// Which parts does the module have?  One function each, in a source of its own.
#pragma once

#include <pybind11/pybind11.h>

namespace Python {

void AddDetector(pybind11::module_& module);      // Detector, Frame, BlockMap, Object
void AddConditioning(pybind11::module_& module);  // Priming, Conditioner, ConditionedFrame, Disturbance, outline_labels
void AddMemories(pybind11::module_& module);      // Grid, BackgroundMemory, polygon_mask
void AddBlockReducer(pybind11::module_& module);  // BlockReducer

}  // namespace Python
