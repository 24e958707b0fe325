// When is a shift taken back?
#include "video/watch/SteadyReduction.h"

#include <bit>
#include <cstdint>

#include "video/watch/Conditioning.h"

namespace Video {

namespace {

// A camera shakes where so many of its newest 32 pictures are shifted. A large thing that crosses a still picture may be
// taken for a shift in one or two.
constexpr int fewestShifted = 4;

}  // namespace

SteadyReduction::SteadyReduction(const Host::PictureFormat& format, Stabilise wish)
    : _wish(wish), _stabiliser(format), _reduction(format) {}

bool SteadyReduction::IsShaking() const { return std::popcount(_shifted) >= fewestShifted; }

void SteadyReduction::Reduce(const Host::PictureView& picture) {
    _measured = _stabiliser.Measure(picture);
    _shifted = _shifted << 1 | (_measured.IsNone() ? 0 : 1);
    _takenBack = _wish == Stabilise::On || IsShaking() ? _measured : Host::Shift{};
    _reduction.Reduce(picture, _takenBack);
}

}  // namespace Video
