// Which blocks of 8x8 pixels move, by a label picture and by a mask of any block size?
#pragma once

#include <cstdint>
#include <vector>

#include "LabelRules.h"

namespace Accuracy {

// Values of pixels, row after row.
struct GreyPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> values;  // [pixel]
};

// What a subject says of one picture, in square blocks. The last column and row may reach beyond the picture.
struct Mask {
    int width = 0;   // pixels; of the picture
    int height = 0;  // pixels
    int blockSize = 1;
    std::vector<std::uint8_t> moving;  // [block] 0: not

    int Columns() const { return (width + blockSize - 1) / blockSize; }
    int Rows() const { return (height + blockSize - 1) / blockSize; }
};

// [scored block] Blocks at the right and lower border have the pixels that they have within the picture.
std::vector<Truth> TruthOf(const GreyPicture& labels);

// [scored block] 1: the mask covers at least this share of the block's pixels within the picture. share: above 0, to 1.
std::vector<std::uint8_t> Reduced(const Mask& mask, double share);

}  // namespace Accuracy
