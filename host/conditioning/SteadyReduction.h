// What are the block planes of a picture of a camera that may shake?
#pragma once

#include <cstdint>

#include "BlockReducer.h"
#include "conditioning/ShiftedReduction.h"
#include "conditioning/Stabiliser.h"

namespace Host {

// What a shaking camera's pictures are moved back by.
enum class Stabilise {
    Auto,  // as soon as it is seen to shake
    On,    // every picture
    Off    // none
};

// A Stabiliser with a ShiftedReduction, and when the one is asked for the other. One thread at a time.
class SteadyReduction {
public:
    // wish: not Off, for which a BlockReducer is enough. Stops the process where the format breaks one of its bounds.
    SteadyReduction(const PictureFormat& format, Stabilise wish);

    // Fills Ycbcr(); the blocks that a moved picture does not cover keep what they were.
    void Reduce(const PictureView& picture);

    int Columns() const { return _reduction.Columns(); }
    int Rows() const { return _reduction.Rows(); }
    int BlockCount() const { return _reduction.BlockCount(); }

    const std::uint8_t* Ycbcr() const { return _reduction.Ycbcr(); }  // three [block] planes

    // Of the newest picture.
    Shift Measured() const { return _measured; }
    Shift TakenBack() const { return _takenBack; }

private:
    bool IsShaking() const;

    const Stabilise _wish;
    Stabiliser _stabiliser;
    ShiftedReduction _reduction;
    Shift _measured = {}, _takenBack = {};
    std::uint32_t _shifted = 0;  // bit i: the picture i before the newest one was shifted
};

}  // namespace Host
