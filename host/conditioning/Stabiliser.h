// By how much does the camera shake?
//
//     Host::Stabiliser stabiliser(format);
//     Host::ShiftedReduction reduction(format);
//     reduction.Reduce(picture, stabiliser.Measure(picture));                  // then Detect on reduction.Ycbcr()
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BlockReducer.h"

namespace Host {

// Where a picture's content lies beside the reference's, in sixteenths of a pixel: dx16 further right, dy16 further down.
// What is found at a place of the stabilised picture is to be seen at that place plus the shift.
struct Shift {
    int dx16 = 0;
    int dy16 = 0;

    constexpr bool operator==(const Shift&) const = default;
    constexpr bool IsNone() const { return dx16 == 0 && dy16 == 0; }
};

// Compares the sums of every picture's luma over rows and over columns with a slow reference.
//
// Derivatives of the sums are compared, so that brightness does not matter, and large differences are bounded, so that
// objects matter little. A shift counts if it makes the difference clearly smaller than none does: for a camera that
// stands still the answer is {0, 0} exactly. The reference follows by 3 % a picture, moved back: a camera that was turned
// a little stays where it was, one that was moved further than the radius is where it is now after a few seconds.
//
// Of large pictures some samples are enough: about 320 of each row and 240 of each column are summed. The constructor takes
// all memory, 24 bytes a row and column. One thread at a time.
class Stabiliser {
public:
    static constexpr int radius = 12;      // pixels to either side
    static constexpr int unit = 16;        // of a pixel
    static constexpr int leastMotion = 4;  // of unit: what the parabola makes of a third of a pixel; less is no shift

    // Stops the process where the format breaks a bound of BlockReducer's.
    explicit Stabiliser(const PictureFormat& format);

    // Shift of a picture, 12 1/2 pixels at most either way. Only luma is read, of ten bits the upper eight.
    // The first picture is the reference. A picture of fewer than 64 rows or columns is never shifted in that direction.
    Shift Measure(const PictureView& picture);

    // Starts anew: the next picture is the reference.
    void Reset() { _hasReference = false; }

private:
    // Derivatives of the sums along one direction.
    struct Profile {
        explicit Profile(int size);

        int Shift16() const;
        void TakeAsReference();
        void Follow(int whole);

        std::size_t elements;                 // of the derivative
        std::vector<std::uint32_t> sum;       // one more
        std::vector<std::int16_t> current;    // [element] 1/64 level
        std::vector<std::int16_t> rounded;    // [element] the reference, likewise
        std::vector<std::int32_t> reference;  // [element] 1/16384 level
    };

    void SumColumns(const std::uint8_t* luma, std::ptrdiff_t stride);
    void SumRows(const std::uint8_t* luma, std::ptrdiff_t stride);
    const std::uint8_t* BytesOf(const std::uint8_t* row);

    const PixelFormat _format;
    const std::size_t _width, _height;       // pixels
    const std::size_t _rowStep, _chunkStep;  // every so many rows; every so many chunks of columns
    std::vector<std::uint16_t> _part;        // [pixel of a row] sums over some rows
    std::vector<std::uint8_t> _row;          // [pixel of a row] in bytes, of formats with ten bits
    Profile _columns, _rows;
    bool _hasReference = false;
};

}  // namespace Host
