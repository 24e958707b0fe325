// What is analysed of a picture?
#pragma once

#include <cstdint>

#include "conditioning/Stabiliser.h"

namespace Video {

// A picture reduced to blocks, borrowed from whoever reduced it.
struct BlockPicture {
    const std::uint8_t* ycbcr;  // three [block] planes
    Host::Shift shift = {};     // that was taken back: what is found in a block is to be seen so much further
};

}  // namespace Video
