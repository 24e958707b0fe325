// How does a decoded picture become what the detector is fed with?  One mean of Y, Cb and Cr per block, and for those who
// want to look at them a small BGR picture of one pixel per block.  Used by hosts between their decoder and h13.
//
//     Host::BlockReducer reducer({.width = 1920, .height = 1080, .format = Host::PixelFormat::Yuv420,
//                                 .blockSize = Host::ChooseBlockSize(1920, 1080)});
//     reducer.Reduce({.plane = {frame->data[0], frame->data[1], frame->data[2]}, .stride = {...}});
//     info.width = reducer.Columns();                 info.height = reducer.Rows();
//     info.ycbcrForEachBlock = reducer.Ycbcr();
//     info.bgr24ForEachBlock = reducer.Bgr();         info.bgr24stride = reducer.BgrStride();
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels/BlockMean.h"

namespace Host {

// Layout of a picture.  Halved planes of odd pictures are rounded up: 5 columns of luma have 3 of chroma.  A sample is one
// byte, or, with ten bits, two of them, the lower one first on every machine.
enum class PixelFormat {
    Yuv420,  // three planes, chroma halved in both directions
    Yuv422,  // three planes, chroma halved horizontally
    Yuv444,  // three planes of the same size
    Nv12,    // two planes: luma; Cb and Cr in turn, halved in both directions
    Grey,    // one plane; chroma is 128 everywhere
    P010,    // Nv12 of ten bits, the upper ones of two bytes, as hardware decodes; what the six lower ones hold is left out
    Yuv420P10,  // Yuv420 of ten bits, the lower ones of two bytes; what the six upper ones hold is left out
};

// What of a format matters to addresses.
struct SampleLayout {
    int planes = 3;
    int columnsPerChroma = 1;    // columns of luma for one of chroma
    int rowsPerChroma = 1;       // likewise rows
    int bytes = 1;               // of a sample
    bool isAlternating = false;  // Cb and Cr in turn, in one plane

    constexpr int ChromaBytes() const { return isAlternating ? 2 * bytes : bytes; }  // of one column of chroma
};
constexpr SampleLayout SampleLayoutOf(PixelFormat format) {
    switch (format) {
        case PixelFormat::Yuv420: return {.columnsPerChroma = 2, .rowsPerChroma = 2};
        case PixelFormat::Yuv422: return {.columnsPerChroma = 2};
        case PixelFormat::Nv12: return {.planes = 2, .columnsPerChroma = 2, .rowsPerChroma = 2, .isAlternating = true};
        case PixelFormat::Grey: return {.planes = 1};
        case PixelFormat::P010:
            return {.planes = 2, .columnsPerChroma = 2, .rowsPerChroma = 2, .bytes = 2, .isAlternating = true};
        case PixelFormat::Yuv420P10: return {.columnsPerChroma = 2, .rowsPerChroma = 2, .bytes = 2};
        case PixelFormat::Yuv444: break;
    }
    return {};
}

// How far up in its two bytes a sample of ten bits lies.
constexpr int TenBitShift(PixelFormat format) { return format == PixelFormat::P010 ? 6 : 0; }

// What black and white are.  Matters to the BGR picture only: the means are the decoder's own values.
enum class ColourRange {
    Full,    // luma 0..255
    Limited  // luma 16..235, chroma 16..240: the usual video range
};

struct PictureFormat {
    int width = 0;   // pixels, at least 1
    int height = 0;  // pixels, at least 1
    PixelFormat format = PixelFormat::Yuv420;
    int blockSize = 0;  // pixels along one side of a block, 1..64
    ColourRange range = ColourRange::Limited;
};

// A decoded picture, borrowed.  As many planes count as the format has.
struct PictureView {
    std::array<const std::uint8_t*, 3> plane = {};  // first sample of the top row
    std::array<std::ptrdiff_t, 3> stride = {};  // bytes from a row to the one below; negative in pictures stored bottom up
};

// The largest grid that the detector takes, in either direction.
inline constexpr int largestGridSize = 9999;  // blocks

constexpr int BlocksAcross(int pictureSize, int blockSize) { return (pictureSize + blockSize - 1) / blockSize; }

// A block size for a picture: the smallest power of two that gives at most so many columns, 240 unless told otherwise.  With
// 240, pictures of 120 to 15360 columns get 120 to 240 of them and narrower ones a block per pixel.  Wider pictures get 64,
// the largest size there is.  Extremely tall ones get larger blocks until their rows fit the detector's grid.
constexpr int ChooseBlockSize(int pictureWidth, int pictureHeight, int mostColumns = 240) {
    int size = 1;
    while (size < static_cast<int>(Kernels::largestBlockSize) &&
           (BlocksAcross(pictureWidth, size) > mostColumns || BlocksAcross(pictureHeight, size) > largestGridSize))
        size *= 2;
    return size;
}

// Reduces pictures of one format.  Blocks at the right and bottom edge cover the pixels that exist; every mean is exact,
// (sum + count / 2) / count in integers.  Of samples with ten bits it is (sum + 2 * count) / (4 * count), 255 at most:
// rounded once, a tie upwards, and the same as of bytes where every sample is a multiple of 4.  The mean of a halved chroma
// plane covers the chroma columns [floor(x0 / 2), ceil(x1 / 2)) of a block with the luma columns [x0, x1), rows likewise:
// never empty; blocks of odd size share a chroma sample with their neighbour.
//
// Memory is taken by the constructor only, and all addresses stay for the reducer's life.  One thread at a time.
class BlockReducer {
public:
    // Stops the process when the format breaks a bound given above, or when the grid is larger than 9999 blocks either way.
    explicit BlockReducer(const PictureFormat& format);

    BlockReducer(const BlockReducer&) = delete;
    BlockReducer& operator=(const BlockReducer&) = delete;

    // Fills Ycbcr().  Reads exactly the samples that the format has, no byte of padding behind a row.
    // Planes that the format has must not be null.
    void Reduce(const PictureView& picture) { Reduce(picture, Ycbcr()); }

    // The same into three [block] planes of the caller's; Ycbcr() stays as it was.
    void Reduce(const PictureView& picture, std::uint8_t* ycbcr);

    // Fills Bgr() with the colours of Ycbcr().  For people to look at: a detector wants the address and reads no pixel, so
    // that most hosts never call this.  Without it the picture is black.
    void PaintBgr();

    int Columns() const { return _columns; }
    int Rows() const { return _rows; }
    int BlockCount() const { return _columns * _rows; }

    std::uint8_t* Ycbcr() { return _ycbcr.data(); }  // three [block] planes one after another: Y, Cb, Cr
    const std::uint8_t* Ycbcr() const { return _ycbcr.data(); }
    std::uint8_t* Bgr() { return _bgr.data(); }  // 3 * [block]: one BGR pixel per block, as PaintBgr left it
    const std::uint8_t* Bgr() const { return _bgr.data(); }
    int BgrStride() const { return 3 * _columns; }  // bytes per row of Bgr()

private:
    // How the samples of one plane lie to the blocks.
    struct PlaneLayout {
        bool halvedColumns;
        bool halvedRows;
        bool interleaved;             // samples of two components in turn
        bool isDeep;                  // ten bits a sample
        std::size_t columns;          // samples per row, of each component
        std::size_t columnsPerBlock;  // of a whole block; 0 where blocks share columns
        std::size_t columnsPerPart;   // 2 where columns are summed in pairs, else 1
        std::size_t parts;            // of one row of whole blocks; the columns that exist where blocks share them
    };
    PlaneLayout LayoutOf(bool isChroma) const;

    // How many samples the blocks of one row have: the last one may be cut off.
    struct RowSamples {
        Kernels::SampleCount block;
        Kernels::SampleCount lastBlock;
        Kernels::DeepSampleCount deepBlock;
        Kernels::DeepSampleCount deepLastBlock;
        bool areEqual;
    };
    RowSamples SamplesOfRow(std::size_t sampleRows, const PlaneLayout& layout) const;

    std::uint8_t* PlaneOfBlocks(std::size_t plane) { return _ycbcr.data() + plane * _blockCount; }

    void ReducePlane(const PictureView& picture, std::size_t plane, const PlaneLayout& layout, std::uint8_t* mean);

    // One block row: rows of samples -> sums of parts -> sums of blocks -> means.
    void SumRows(Kernels::RowStack rows, const PlaneLayout& layout);
    void SumDeepRows(Kernels::RowStack rows, const PlaneLayout& layout);
    const std::uint32_t* SumBlocks(const std::uint16_t* part, const PlaneLayout& layout);
    void StoreMeans(const std::uint32_t* sum, const RowSamples& samples, std::uint8_t* mean) const;

    const PictureFormat _format;
    const std::size_t _width;       // pixels
    const std::size_t _height;      // pixels
    const std::size_t _blockSize;   // pixels
    const int _columns;             // blocks per row
    const int _rows;                // block rows
    const std::size_t _blockCount;  // _columns * _rows
    const PlaneLayout _luma;
    const PlaneLayout _chroma;         // Grey: not used
    std::vector<std::uint8_t> _ycbcr;  // 3 * [block]
    std::vector<std::uint8_t> _bgr;    // 3 * [block]

    // Scratch of one block row: as many elements as whole blocks have.
    std::vector<std::uint16_t> _part;         // sums over rows, of one column or two
    std::vector<std::uint16_t> _secondPart;   // of the second component, interleaved formats only
    std::vector<std::uint16_t> _alternating;  // of both in turn, interleaved formats of ten bits only
    std::vector<std::uint32_t> _sum;          // sums of 2, 4, 8, ... parts, at last of whole blocks
    std::vector<std::uint32_t> _nextSum;      // takes turns with _sum
};

}  // namespace Host
