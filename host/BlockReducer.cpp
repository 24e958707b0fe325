// In which order is a picture reduced?  Plane by plane, one block row at a time: see BlockReducer.h.
#include "BlockReducer.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "kernels/BlockColor.h"

namespace Host {
namespace {

constexpr std::uint8_t neutralChroma = 128;

std::size_t Length(Kernels::SampleRange range) { return range.last - range.first; }

// Address of a row; strides are signed.
const std::uint8_t* RowOf(const std::uint8_t* samples, std::ptrdiff_t stride, std::size_t row) {
    return samples + static_cast<std::ptrdiff_t>(row) * stride;
}

// Lets the format's bounds stop the process before anything is computed from it.
const PictureFormat& Checked(const PictureFormat& format) {
    assert(format.width > 0 && format.height > 0);
    assert(format.blockSize > 0 && format.blockSize <= static_cast<int>(Kernels::largestBlockSize));
    assert(BlocksAcross(format.width, format.blockSize) <= largestGridSize);
    assert(BlocksAcross(format.height, format.blockSize) <= largestGridSize);
    return format;
}

}  // namespace

BlockReducer::ChromaLayout BlockReducer::ChromaOf(PixelFormat format) {
    switch (format) {
    case PixelFormat::Yuv420: return {.halvedColumns = true, .halvedRows = true, .interleaved = false};
    case PixelFormat::Yuv422: return {.halvedColumns = true, .halvedRows = false, .interleaved = false};
    case PixelFormat::Nv12: return {.halvedColumns = true, .halvedRows = true, .interleaved = true};
    case PixelFormat::Yuv444:
    case PixelFormat::Grey: break;
    }
    return {.halvedColumns = false, .halvedRows = false, .interleaved = false};
}

BlockReducer::BlockReducer(const PictureFormat& format)
    : _format(Checked(format)),
      _chroma(ChromaOf(format.format)),
      _width(static_cast<std::size_t>(format.width)),
      _height(static_cast<std::size_t>(format.height)),
      _blockSize(static_cast<std::size_t>(format.blockSize)),
      _columns(BlocksAcross(format.width, format.blockSize)),
      _rows(BlocksAcross(format.height, format.blockSize)),
      _blockCount(static_cast<std::size_t>(_columns) * static_cast<std::size_t>(_rows)),
      _ycbcr(3 * _blockCount),
      _bgr(3 * _blockCount) {
    const std::size_t paddedColumns = static_cast<std::size_t>(_columns) * _blockSize;
    _columnSum.resize(paddedColumns + 1); // interleaved chroma of an odd width has one more than luma
    if (_chroma.interleaved) {
        _cbSum.resize(paddedColumns);
        _crSum.resize(paddedColumns);
    }
    _sum.resize(paddedColumns);
    _nextSum.resize(paddedColumns);
}

void BlockReducer::Reduce(const PictureView& picture) {
    ReducePlane(picture, 0, false, false);
    if (_format.format == PixelFormat::Grey) {
        std::fill(PlaneOfBlocks(1), PlaneOfBlocks(3), neutralChroma);
    } else if (_chroma.interleaved) {
        ReduceInterleavedChroma(picture);
    } else {
        ReducePlane(picture, 1, _chroma.halvedColumns, _chroma.halvedRows);
        ReducePlane(picture, 2, _chroma.halvedColumns, _chroma.halvedRows);
    }
    Kernels::ColorBlocks(PlaneOfBlocks(0), PlaneOfBlocks(1), PlaneOfBlocks(2),
                         _format.range == ColorRange::Full ? Kernels::fullRangeMatrix : Kernels::limitedRangeMatrix,
                         _bgr.data(), _blockCount);
}

std::size_t BlockReducer::ChromaColumns() const { return _chroma.halvedColumns ? (_width + 1) / 2 : _width; }

void BlockReducer::ReducePlane(const PictureView& picture, std::size_t plane, bool halvedColumns, bool halvedRows) {
    const std::uint8_t* samples = picture.plane[plane];
    assert(samples);
    const std::size_t sampleColumns = plane == 0 ? _width : ChromaColumns();
    std::uint8_t* mean = PlaneOfBlocks(plane);
    for (int blockRow = 0; blockRow < _rows; ++blockRow, mean += _columns) {
        const Kernels::SampleRange rows =
            Kernels::SamplesOfBlock(static_cast<std::size_t>(blockRow), _blockSize, _height, halvedRows);
        SumRows(samples, picture.stride[plane], sampleColumns, rows);
        StoreMeans(_columnSum.data(), halvedColumns, Length(rows), mean);
    }
}

void BlockReducer::ReduceInterleavedChroma(const PictureView& picture) {
    const std::uint8_t* samples = picture.plane[1];
    assert(samples);
    const std::size_t chromaColumns = ChromaColumns();
    std::uint8_t* cbMean = PlaneOfBlocks(1);
    std::uint8_t* crMean = PlaneOfBlocks(2);
    for (int blockRow = 0; blockRow < _rows; ++blockRow, cbMean += _columns, crMean += _columns) {
        const Kernels::SampleRange rows =
            Kernels::SamplesOfBlock(static_cast<std::size_t>(blockRow), _blockSize, _height, _chroma.halvedRows);
        SumRows(samples, picture.stride[1], 2 * chromaColumns, rows);
        Kernels::SeparateColumns(_columnSum.data(), _cbSum.data(), _crSum.data(), chromaColumns);
        StoreMeans(_cbSum.data(), _chroma.halvedColumns, Length(rows), cbMean);
        StoreMeans(_crSum.data(), _chroma.halvedColumns, Length(rows), crMean);
    }
}

void BlockReducer::SumRows(const std::uint8_t* samples, std::ptrdiff_t stride, std::size_t sampleColumns,
                           Kernels::SampleRange rows) {
    std::fill(_columnSum.begin(), _columnSum.end(), std::uint16_t{0});
    std::size_t row = rows.first;
    for (; row + 1 < rows.last; row += 2)
        Kernels::AddTwoRows(RowOf(samples, stride, row), RowOf(samples, stride, row + 1), _columnSum.data(),
                            {0, sampleColumns});
    if (row < rows.last) Kernels::AddRow(RowOf(samples, stride, row), _columnSum.data(), {0, sampleColumns});
}

const std::uint32_t* BlockReducer::SumBlocks(const std::uint16_t* columnSum, bool halvedColumns) {
    const std::size_t columns = static_cast<std::size_t>(_columns);
    std::uint32_t* sum = _sum.data();
    std::uint32_t* next = _nextSum.data();
    if (halvedColumns && _blockSize % 2 != 0) {
        Kernels::SumHalvedRanges(columnSum, _blockSize, _width, sum, columns);
        return sum;
    }
    std::size_t groupSize = halvedColumns ? _blockSize / 2 : _blockSize;
    if (groupSize == 1) {
        Kernels::WidenSums(columnSum, sum, columns);
        return sum;
    }
    if (groupSize % 2 != 0) {
        Kernels::SumGroups(columnSum, groupSize, sum, columns);
        return sum;
    }
    // Even groups shrink in passes that vectorise; what is odd in the group size is left to the end.
    groupSize /= 2;
    Kernels::SumPairs(columnSum, sum, columns * groupSize);
    for (; groupSize % 2 == 0; std::swap(sum, next)) {
        groupSize /= 2;
        Kernels::SumPairs(sum, next, columns * groupSize);
    }
    if (groupSize == 1) return sum;
    Kernels::SumGroups(sum, groupSize, next, columns);
    return next;
}

void BlockReducer::StoreMeans(const std::uint16_t* columnSum, bool halvedColumns, std::size_t sampleRows,
                              std::uint8_t* mean) {
    const auto samplesOf = [&](std::size_t block) {
        const std::size_t sampleColumns = Length(Kernels::SamplesOfBlock(block, _blockSize, _width, halvedColumns));
        return Kernels::SampleCount(static_cast<std::uint32_t>(sampleColumns * sampleRows));
    };
    const std::uint32_t* sum = SumBlocks(columnSum, halvedColumns);
    const std::size_t last = static_cast<std::size_t>(_columns) - 1; // the only block of a row that may be cut off
    Kernels::DivideSums(sum, samplesOf(0), mean, last);              // all others have as many samples as the first
    Kernels::DivideSums(sum + last, samplesOf(last), mean + last, 1);
}

}  // namespace Host
