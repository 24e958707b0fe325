// Who may use a detector now?  One thread at a time, and only what was shown last is there to be read.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>

#include <pybind11/pybind11.h>

#include "coreMD.hpp"

namespace Python {

// A detector as Python holds it. All members are read and written with the interpreter's lock held; it is given up only
// while a frame is worked on, and isBusy says so.
struct HeldDetector {
    std::unique_ptr<coremd::Detector> detector = std::make_unique<coremd::Detector>();  // null: closed
    std::uint64_t generation = 0;  // counts what ends the life of results: frames, loaded states, other zones, the end
    bool isBusy = false;
};

// Access for the time of one call. ValueError where the detector is closed, RuntimeError where another thread is in a call.
class DetectorAccess {
public:
    explicit DetectorAccess(HeldDetector& held) : _held(held) {
        if (held.isBusy) {
            throw std::runtime_error("another thread is using this detector");
        }
        if (!held.detector) {
            throw pybind11::value_error("the detector is closed");
        }
        held.isBusy = true;
    }
    ~DetectorAccess() { _held.isBusy = false; }
    DetectorAccess(const DetectorAccess&) = delete;
    DetectorAccess& operator=(const DetectorAccess&) = delete;

    coremd::Detector& operator*() const { return *_held.detector; }
    coremd::Detector* operator->() const { return _held.detector.get(); }

private:
    HeldDetector& _held;
};

// What a coremd.Detector holds. TypeError where it is none.
std::shared_ptr<HeldDetector> HeldBy(pybind11::handle detector);

}  // namespace Python
