// What are the block planes of a picture whose shift is taken back?  Used by hosts with a Stabiliser, in the place of a
// BlockReducer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "BlockReducer.h"
#include "conditioning/Stabiliser.h"

namespace Host {

// Reduces a picture as if its content had been moved back by the shift. Whole pixels are exact: the same means as
// BlockReducer's of the moved picture. Fractions are blended linearly between up to four neighbouring reductions, chroma at
// its own resolution. Without a shift it is BlockReducer::Reduce, to the bit.
//
// Blocks at the border that the moved picture does not cover keep the values that they had: a detector sees nothing there.
// They form a frame of equal width, as wide as the shift and two pixels need.
//
// The constructor takes all memory: that of a BlockReducer for each width of the frame, which are 15 pixels in blocks, and
// 16 * [block] bytes. One thread at a time.
class ShiftedReduction {
public:
    static constexpr int largestShift = (Stabiliser::radius + 1) * Stabiliser::unit;  // sixteenths, either way

    // Stops the process where the format breaks a bound of BlockReducer's.
    explicit ShiftedReduction(const PictureFormat& format);

    // Fills Ycbcr() and Uncovered(). The first picture is reduced where it is, whatever its shift, and so is every picture
    // that is so small that nothing would be covered. Stops the process where the shift is larger than largestShift.
    void Reduce(const PictureView& picture, Shift shift);

    int Columns() const { return _whole.Columns(); }
    int Rows() const { return _whole.Rows(); }
    int BlockCount() const { return _whole.BlockCount(); }

    std::uint8_t* Ycbcr() { return _whole.Ycbcr(); }  // three [block] planes, as BlockReducer's
    const std::uint8_t* Ycbcr() const { return _whole.Ycbcr(); }

    // [block] {0,255}; 255: kept what it was, because the moved picture does not reach it.
    const std::uint8_t* Uncovered() const { return _uncovered.data(); }

    // For hosts that change Ycbcr() in place after Reduce: gives uncovered blocks the values back that they had before
    // Reduce, which are those shown last. Otherwise what is done to them would add up from picture to picture.
    void RestoreUncovered();

private:
    // The inner part of the picture, whole blocks of the same grid, for one width of the frame.
    struct Inner {
        Inner(const PictureFormat& format, int margin, int columns, int rows);

        int margin;  // blocks on the left and above
        BlockReducer reducer;
    };

    const Inner* InnerFor(Shift shift) const;
    void Blend(Inner& inner, const PictureView& picture, Shift shift);
    void Store(const Inner& inner);
    void MarkUncovered(const Inner* inner);

    const PictureFormat _format;
    BlockReducer _whole;
    std::vector<std::unique_ptr<Inner>> _inner;  // by margin
    std::vector<std::uint32_t> _sum;             // 3 * [block of the inner part]
    std::vector<std::uint8_t> _shown;            // 3 * [block] Ycbcr() before Reduce, while a shift is taken back
    std::vector<std::uint8_t> _uncovered;        // [block] {0,255}
    const Inner* _marked = nullptr;              // whose frame _uncovered shows
    bool _hasPicture = false;
};

}  // namespace Host
