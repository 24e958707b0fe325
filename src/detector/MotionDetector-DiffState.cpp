// How restless is a rectangle of blocks?  Called by hosts only; means something once the ring is filled.
#include "detector/MotionDetector.h"
#include "detector/kernels/DiffState.h"
#include "utils/Assert.h"

namespace MD {

double MotionDetector::GetDiffState(unsigned char* mask, int maskWidthStep, int x0, int x1, int y0, int y1) {
    constexpr double tooBusy = 255.0;
    static_assert(Kernels::framesOfRing == FrameStatistics::secondPartEndIndex + 2);  // the windows, and the frame that left
    assert(mask);
    assert(maskWidthStep);
    if (y1 <= y0) return tooBusy;
    assert(_frameStatistics._blockCount == blockCount);

    const unsigned char* lumaOfAge[Kernels::framesOfRing];
    for (int age = 0; age < Kernels::framesOfRing; ++age) lumaOfAge[age] = _frameStatistics.FrameOfAge(age);

    // 8 grey levels for every block of the rectangle, one column and one row more; modulo 2^32, whatever the bounds are.
    const auto extent = [](int from, int to) {
        return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from) + 1u;
    };
    const std::int64_t bound = static_cast<std::int32_t>(extent(x0, x1) * extent(y0, y1) * 8u);
    std::int64_t sum = 0;
    int count = 0;
    for (int y = y0; y < y1; ++y) {
        const std::ptrdiff_t rowStart = static_cast<std::ptrdiff_t>(y) * blockCountX;
        const std::ptrdiff_t firstBlock = rowStart + x0, endBlock = rowStart + x1;
        if (firstBlock >= endBlock) continue;
        assert(firstBlock >= 0 && endBlock <= blockCount);
        const Kernels::RowVariation row = Kernels::VariationOfRow(lumaOfAge, mask, firstBlock, endBlock);
        sum += row.sum;
        count += row.count;
        if (sum > bound) return tooBusy;  // looked at after whole rows only
    }
    return count == 0 ? tooBusy : static_cast<double>(sum) / count;
}

}  // namespace MD
