// How is the most frequent value of every block found?  Tile by tile: a histogram of each block, then the samples in its
// heaviest window. Each picture is read in rows of a tile, which is what makes the cost linear in what memory delivers.
#include "conditioning/Priming.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "BlockReducer.h"
#include "conditioning/kernels/FrequentValue.h"

namespace Host {
namespace {

static_assert(Priming::largestPictures * Kernels::stillWeight <= UINT16_MAX, "a histogram's weights fit 16 bits");

std::size_t CheckedBlockCount(int columns, int rows) {
    assert(columns > 0 && columns <= largestGridSize);
    assert(rows > 0 && rows <= largestGridSize);
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
}

std::size_t CheckedPictures(int mostPictures) {
    assert(mostPictures > 0 && mostPictures <= Priming::largestPictures);
    return static_cast<std::size_t>(mostPictures);
}

// So that a jump in time does not run the stamps out of their range: 28 years.
constexpr Ticks longestQuick = Ticks{1} << 53;
static_assert(longestQuick <= (Ticks{1} << 61) / (QuickStart::speed * QuickStart::quickPictures));

// What is found out about the blocks of one tile.
struct Tile {
    std::array<Kernels::LumaHistogram, Kernels::tileLength> histogram;
    std::array<std::uint8_t, Kernels::tileLength> lowest;  // luma of the heaviest window
    std::array<std::uint32_t, Kernels::tileLength> weight, y, cb, cr;
};

}  // namespace

Priming::Priming(int columns, int rows, int mostPictures)
    : _blockCount(CheckedBlockCount(columns, rows)),
      _mostPictures(mostPictures),
      _planes(new std::uint8_t[CheckedPictures(mostPictures) * 3 * _blockCount]) {}

void Priming::Add(const std::uint8_t* ycbcr) {
    assert(_pictures < _mostPictures);
    std::copy_n(ycbcr, 3 * _blockCount, _planes.get() + static_cast<std::size_t>(_pictures) * 3 * _blockCount);
    ++_pictures;
}

const std::uint8_t* Priming::Picture(int index) const {
    assert(index >= 0 && index < _pictures);
    return _planes.get() + static_cast<std::size_t>(index) * 3 * _blockCount;
}

const std::uint8_t* Priming::PictureToCompare(int index, int ahead) const {
    if (ahead < _pictures - index) return Picture(index + ahead);
    return Picture(ahead < index ? index - ahead : 0);
}

void Priming::MostFrequent(int ahead, std::uint8_t* ycbcr) const {
    assert(ahead > 0);
    assert(_pictures > 0);
    Tile tile;
    for (std::size_t first = 0; first < _blockCount; first += Kernels::tileLength) {
        const std::size_t count = std::min(Kernels::tileLength, _blockCount - first);
        tile = {};
        for (int index = 0; index < _pictures; ++index)
            Kernels::AddToHistograms(Picture(index) + first, PictureToCompare(index, ahead) + first, tile.histogram.data(),
                                     count);
        for (std::size_t i = 0; i < count; ++i)
            tile.lowest[i] = static_cast<std::uint8_t>(Kernels::HeaviestWindow(tile.histogram[i]));
        for (int index = 0; index < _pictures; ++index) {
            const std::uint8_t* const luma = Picture(index) + first;
            Kernels::AddInWindow({.luma = luma,
                                  .cb = luma + _blockCount,
                                  .cr = luma + 2 * _blockCount,
                                  .later = PictureToCompare(index, ahead) + first,
                                  .lowest = tile.lowest.data()},
                                 {tile.weight.data(), tile.y.data(), tile.cb.data(), tile.cr.data()}, count);
        }
        for (std::size_t i = 0; i < count; ++i) {
            std::uint8_t* const block = ycbcr + first + i;
            block[0] = Kernels::WeightedMean(tile.y[i], tile.weight[i]);
            block[_blockCount] = Kernels::WeightedMean(tile.cb[i], tile.weight[i]);
            block[2 * _blockCount] = Kernels::WeightedMean(tile.cr[i], tile.weight[i]);
        }
    }
}

Ticks QuickStart::Stamp(Ticks time) {
    if (_pictures == 0) {
        _stamp = time;
    } else {
        const Ticks passed = time > _time ? time - _time : 1;
        _stamp += _pictures <= quickPictures ? speed * std::min(passed, longestQuick) : passed;
    }
    _time = time;
    _pictures = std::min(_pictures, quickPictures) + 1;
    return _stamp;
}

}  // namespace Host
