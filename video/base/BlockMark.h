// What is one block of the newest analysed frame?
#pragma once

#include <cstdint>

namespace Video {

enum class BlockMark : std::uint8_t {
    None,
    Object,  // belongs to an object
    Shadow   // differed from the background, but only as a shadow does
};

}  // namespace Video
