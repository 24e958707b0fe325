// What are the block planes of a picture of a camera that may shake?
#pragma once

#include <cstdint>

#include "conditioning/ShiftedReduction.h"
#include "conditioning/Stabiliser.h"
#include "video/watch/Conditioning.h"

namespace Video {

class SteadyReduction {
public:
    // wish: not Off.
    SteadyReduction(const Host::PictureFormat& format, Stabilise wish);

    void Reduce(const Host::PictureView& picture);

    const std::uint8_t* Ycbcr() const { return _reduction.Ycbcr(); }  // three [block] planes

    // Of the newest picture.
    Host::Shift Measured() const { return _measured; }
    Host::Shift TakenBack() const { return _takenBack; }

private:
    bool IsShaking() const;

    const Stabilise _wish;
    Host::Stabiliser _stabiliser;
    Host::ShiftedReduction _reduction;
    Host::Shift _measured = {}, _takenBack = {};
    std::uint32_t _shifted = 0;  // bit i: the picture i before the newest one was shifted
};

}  // namespace Video
