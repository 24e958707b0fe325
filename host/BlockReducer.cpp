// In which order is a picture reduced?  Plane by plane, one block row at a time: see BlockReducer.h.
#include "BlockReducer.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "kernels/BlockColour.h"

namespace Host {
namespace {

constexpr std::uint8_t neutralChroma = 128;

std::size_t Length(Kernels::SampleRange range) { return range.last - range.first; }

// Lets the format's bounds stop the process before anything is computed from it.
const PictureFormat& Checked(const PictureFormat& format) {
    assert(format.width > 0 && format.height > 0);
    assert(format.blockSize > 0 && format.blockSize <= static_cast<int>(Kernels::largestBlockSize));
    assert(BlocksAcross(format.width, format.blockSize) <= largestGridSize);
    assert(BlocksAcross(format.height, format.blockSize) <= largestGridSize);
    return format;
}

}  // namespace

BlockReducer::PlaneLayout BlockReducer::LayoutOf(bool isChroma) const {
    const SampleLayout samples = SampleLayoutOf(_format.format);
    const bool halvedColumns = isChroma && samples.columnsPerChroma == 2;
    const bool interleaved = isChroma && samples.isAlternating, isDeep = samples.bytes == 2;
    const bool sharesColumns = halvedColumns && _blockSize % 2 != 0;
    const std::size_t columnsPerBlock = halvedColumns ? _blockSize / 2 : _blockSize;
    const std::size_t columns = halvedColumns ? (_width + 1) / 2 : _width;
    const bool inPairs = !isDeep && !interleaved && !sharesColumns && columnsPerBlock % 2 == 0;
    const std::size_t columnsPerPart = inPairs ? 2 : 1;
    return {.halvedColumns = halvedColumns,
            .halvedRows = isChroma && samples.rowsPerChroma == 2,
            .interleaved = interleaved,
            .isDeep = isDeep,
            .columns = columns,
            .columnsPerBlock = sharesColumns ? 0 : columnsPerBlock,
            .columnsPerPart = columnsPerPart,
            .parts = sharesColumns ? columns : static_cast<std::size_t>(_columns) * columnsPerBlock / columnsPerPart};
}

BlockReducer::BlockReducer(const PictureFormat& format)
    : _format(Checked(format)),
      _width(static_cast<std::size_t>(format.width)),
      _height(static_cast<std::size_t>(format.height)),
      _blockSize(static_cast<std::size_t>(format.blockSize)),
      _columns(BlocksAcross(format.width, format.blockSize)),
      _rows(BlocksAcross(format.height, format.blockSize)),
      _blockCount(static_cast<std::size_t>(_columns) * static_cast<std::size_t>(_rows)),
      _luma(LayoutOf(false)),
      _chroma(LayoutOf(true)),
      _ycbcr(3 * _blockCount),
      _bgr(3 * _blockCount) {
    const std::size_t parts = std::max(_luma.parts, _chroma.parts);
    _part.resize(parts);
    if (_chroma.interleaved) _secondPart.resize(parts);
    if (_chroma.interleaved && _chroma.isDeep) _alternating.resize(2 * parts);
    _sum.resize(parts);
    _nextSum.resize(parts);
}

void BlockReducer::Reduce(const PictureView& picture, std::uint8_t* ycbcr) {
    std::uint8_t* const chroma = ycbcr + _blockCount;
    ReducePlane(picture, 0, _luma, ycbcr);
    if (_format.format == PixelFormat::Grey) {
        std::fill(chroma, chroma + 2 * _blockCount, neutralChroma);
        return;
    }
    ReducePlane(picture, 1, _chroma, chroma);
    if (!_chroma.interleaved) ReducePlane(picture, 2, _chroma, chroma + _blockCount);
}

void BlockReducer::PaintBgr() {
    Kernels::ColourBlocks(PlaneOfBlocks(0), PlaneOfBlocks(1), PlaneOfBlocks(2),
                          _format.range == ColourRange::Full ? Kernels::fullRangeMatrix : Kernels::limitedRangeMatrix,
                          _bgr.data(), _blockCount);
}

void BlockReducer::ReducePlane(const PictureView& picture, std::size_t plane, const PlaneLayout& layout,
                               std::uint8_t* mean) {
    const std::uint8_t* const samples = picture.plane[plane];
    const std::ptrdiff_t stride = picture.stride[plane];
    assert(samples);
    const auto rowsOf = [&](int blockRow) {
        return Kernels::SamplesOfBlock(static_cast<std::size_t>(blockRow), _blockSize, _height, layout.halvedRows);
    };
    // All block rows but the last have as many sample rows as the first.
    RowSamples rowSamples = SamplesOfRow(Length(rowsOf(0)), layout);
    for (int blockRow = 0; blockRow < _rows; ++blockRow, mean += _columns) {
        const Kernels::SampleRange rows = rowsOf(blockRow);
        if (blockRow > 0 && blockRow == _rows - 1) rowSamples = SamplesOfRow(Length(rows), layout);
        const std::uint8_t* const top = samples + static_cast<std::ptrdiff_t>(rows.first) * stride;  // strides are signed
        SumRows({top, stride, Length(rows)}, layout);
        StoreMeans(SumBlocks(_part.data(), layout), rowSamples, mean);
        if (layout.interleaved) StoreMeans(SumBlocks(_secondPart.data(), layout), rowSamples, mean + _blockCount);
    }
}

BlockReducer::RowSamples BlockReducer::SamplesOfRow(std::size_t sampleRows, const PlaneLayout& layout) const {
    const auto samplesOf = [&](int column) {
        const Kernels::SampleRange columns =
            Kernels::SamplesOfBlock(static_cast<std::size_t>(column), _blockSize, _width, layout.halvedColumns);
        return static_cast<std::uint32_t>(Length(columns) * sampleRows);
    };
    const std::uint32_t block = samplesOf(0), lastBlock = samplesOf(_columns - 1);
    return {Kernels::SampleCount(block), Kernels::SampleCount(lastBlock), Kernels::DeepSampleCount(block),
            Kernels::DeepSampleCount(lastBlock), block == lastBlock};
}

void BlockReducer::SumRows(Kernels::RowStack rows, const PlaneLayout& layout) {
    const std::size_t parts = layout.columns / layout.columnsPerPart, rest = layout.columns % layout.columnsPerPart;
    // Columns that do not exist count as 0, so that the last block is summed like the others.
    const auto clearBehind = [&](std::vector<std::uint16_t>& part) {
        std::fill(part.data() + parts + rest, part.data() + layout.parts, std::uint16_t{0});
    };
    clearBehind(_part);
    if (layout.interleaved) clearBehind(_secondPart);
    if (layout.isDeep) {
        SumDeepRows(rows, layout);
    } else if (layout.interleaved) {
        Kernels::SumAlternatingColumns(rows, _part.data(), _secondPart.data(), parts);
    } else if (layout.columnsPerPart == 1) {
        Kernels::SumColumns(rows, _part.data(), parts);
    } else {
        Kernels::SumColumnPairs(rows, _part.data(), parts);
        rows.top += 2 * parts;
        if (rest != 0) Kernels::SumColumns(rows, _part.data() + parts, rest);
    }
}

void BlockReducer::SumDeepRows(Kernels::RowStack rows, const PlaneLayout& layout) {
    const int shift = TenBitShift(_format.format);
    if (!layout.interleaved) {
        Kernels::SumDeepColumns(rows, shift, _part.data(), layout.columns);
        return;
    }
    Kernels::SumDeepColumns(rows, shift, _alternating.data(), 2 * layout.columns);
    Kernels::PartAlternatingSums(_alternating.data(), _part.data(), _secondPart.data(), layout.columns);
}

const std::uint32_t* BlockReducer::SumBlocks(const std::uint16_t* part, const PlaneLayout& layout) {
    const std::size_t columns = static_cast<std::size_t>(_columns);
    std::uint32_t* sum = _sum.data();
    std::uint32_t* next = _nextSum.data();
    if (layout.columnsPerBlock == 0) {
        Kernels::SumHalvedRanges(part, _blockSize, _width, sum, columns);
        return sum;
    }
    std::size_t groupSize = layout.columnsPerBlock / layout.columnsPerPart;
    if (groupSize == 1) {
        Kernels::WidenSums(part, sum, columns);
        return sum;
    }
    if (groupSize % 2 != 0) {
        Kernels::SumGroups(part, groupSize, sum, columns);
        return sum;
    }
    // Even groups shrink in passes that vectorise; what is odd in the group size is left to the end.
    const bool fitsQuads = !layout.isDeep || _blockSize <= Kernels::mostDeepRowsOfQuads;
    if (groupSize % 4 == 0 && fitsQuads) {
        groupSize /= 4;
        Kernels::SumQuads(part, sum, columns * groupSize);
    } else {
        groupSize /= 2;
        Kernels::SumPairs(part, sum, columns * groupSize);
    }
    for (; groupSize % 2 == 0; std::swap(sum, next)) {
        groupSize /= 2;
        Kernels::SumPairs(sum, next, columns * groupSize);
    }
    if (groupSize == 1) return sum;
    Kernels::SumGroups(sum, groupSize, next, columns);
    return next;
}

void BlockReducer::StoreMeans(const std::uint32_t* sum, const RowSamples& samples, std::uint8_t* mean) const {
    const std::size_t last = static_cast<std::size_t>(_columns) - 1, whole = samples.areEqual ? last + 1 : last;
    const auto divide = [&](auto block, auto lastBlock) {
        Kernels::DivideSums(sum, block, mean, whole);
        Kernels::DivideSums(sum + whole, lastBlock, mean + whole, last + 1 - whole);
    };
    if (_luma.isDeep) divide(samples.deepBlock, samples.deepLastBlock);
    else divide(samples.block, samples.lastBlock);
}

}  // namespace Host
