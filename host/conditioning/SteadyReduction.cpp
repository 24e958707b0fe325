// When is a shift taken back?
#include "conditioning/SteadyReduction.h"

#include <bit>
#include <cstdint>

namespace Host {

namespace {

// A camera shakes where so many of its newest 32 pictures are shifted. A large thing that crosses a still picture may be
// taken for a shift in one or two.
constexpr int fewestShifted = 4;

}  // namespace

SteadyReduction::SteadyReduction(const PictureFormat& format, Stabilise wish)
    : _wish(wish), _stabiliser(format), _reduction(format) {}

bool SteadyReduction::IsShaking() const { return std::popcount(_shifted) >= fewestShifted; }

void SteadyReduction::Reduce(const PictureView& picture) {
    _measured = _stabiliser.Measure(picture);
    _shifted = _shifted << 1 | (_measured.IsNone() ? 0 : 1);
    _takenBack = _wish == Stabilise::On || IsShaking() ? _measured : Shift{};
    _reduction.Reduce(picture, _takenBack);
}

}  // namespace Host
