// How are pixels counted by blocks?
#include "BlockMasks.h"

#include <algorithm>
#include <cstddef>

namespace Accuracy {

namespace {

// Calls use(first column, end column, first row, end row) with the pixels of one scored block after another.
template <typename Use>
void ForEachBlock(int width, int height, const Use& use) {
    for (int y = 0; y < height; y += scoredBlock) {
        for (int x = 0; x < width; x += scoredBlock) {
            use(x, std::min(x + scoredBlock, width), y, std::min(y + scoredBlock, height));
        }
    }
}

}  // namespace

std::vector<Truth> TruthOf(const GreyPicture& labels) {
    std::vector<Truth> truth;
    ForEachBlock(labels.width, labels.height, [&](int left, int right, int top, int bottom) {
        int known = 0, moving = 0;
        for (int y = top; y < bottom; ++y) {
            const std::uint8_t* row = labels.values.data() + std::ptrdiff_t{y} * labels.width;
            for (int x = left; x < right; ++x) {
                const Label label = LabelOf(row[x]);
                known += IsKnown(label);
                moving += label == Label::Moving;
            }
        }
        truth.push_back(TruthOfBlock((right - left) * (bottom - top), known, moving));
    });
    return truth;
}

std::vector<std::uint8_t> Reduced(const Mask& mask, double share) {
    std::vector<std::uint8_t> reduced;
    const auto columns = static_cast<std::size_t>(mask.Columns());
    ForEachBlock(mask.width, mask.height, [&](int left, int right, int top, int bottom) {
        int covered = 0;
        for (int y = top; y < bottom; ++y) {
            const std::uint8_t* row = mask.moving.data() + static_cast<std::size_t>(y / mask.blockSize) * columns;
            for (int x = left; x < right; ++x) {
                covered += row[x / mask.blockSize] != 0;
            }
        }
        reduced.push_back(covered >= share * ((right - left) * (bottom - top)));
    });
    return reduced;
}

}  // namespace Accuracy
