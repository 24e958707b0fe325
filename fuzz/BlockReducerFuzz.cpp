// Is every block's value the mean of its samples?  Pictures of any size, format, stride and block size, compared with sums
// sample by sample.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "BlockReducer.h"
#include "ByteSource.h"
#include "Claim.h"
#include "FuzzTarget.h"
#include "PaddedPlane.h"

namespace {

using Fuzz::ByteSource;
using Fuzz::PaddedPlane;
using Host::PixelFormat;

struct Layout {
    bool halvedColumns, halvedRows, interleaved;
    std::size_t planes;
    int bytes, shift;  // of a sample
};

Layout LayoutOf(PixelFormat format) {
    switch (format) {
        case PixelFormat::Yuv420: return {true, true, false, 3, 1, 0};
        case PixelFormat::Yuv422: return {true, false, false, 3, 1, 0};
        case PixelFormat::Nv12: return {true, true, true, 2, 1, 0};
        case PixelFormat::Grey: return {false, false, false, 1, 1, 0};
        case PixelFormat::P010: return {true, true, true, 2, 2, 6};
        case PixelFormat::Yuv420P10: return {true, true, false, 3, 2, 0};
        case PixelFormat::Yuv444: break;
    }
    return {false, false, false, 3, 1, 0};
}

int Extent(int size, bool halved) { return halved ? (size + 1) / 2 : size; }

struct Range {
    int first, end;
};

// The samples of one block on one axis.
Range SamplesOf(int block, int blockSize, int pictureSize, bool halved) {
    const int first = block * blockSize, end = std::min(first + blockSize, pictureSize);
    return halved ? Range{first / 2, (end + 1) / 2} : Range{first, end};
}

// Component 0..2: Y, Cb, Cr.
class Picture {
public:
    Picture(ByteSource& bytes, const Host::PictureFormat& format) : _format(format), _layout(LayoutOf(format.format)) {
        for (std::size_t i = 0; i < _layout.planes; ++i) {
            const int chromaBytes = Extent(format.width, _layout.halvedColumns) * (_layout.interleaved ? 2 : 1);
            const int columns = (i == 0 ? format.width : chromaBytes) * _layout.bytes;
            const int rows = i == 0 ? format.height : Extent(format.height, _layout.halvedRows);
            const std::uint8_t shape = bytes.Byte();
            _planes[i].emplace(static_cast<std::size_t>(columns), static_cast<std::size_t>(rows), shape % 64u, shape >= 128);
        }
        Paint(bytes);
    }

    void Paint(ByteSource& bytes) {
        for (std::optional<PaddedPlane>& plane : _planes)
            if (plane) plane->Paint(bytes);
    }

    Host::PictureView View() const {
        Host::PictureView view;
        for (std::size_t i = 0; i < _layout.planes; ++i) {
            view.plane[i] = _planes[i]->TopRow();
            view.stride[i] = _planes[i]->Stride();
        }
        return view;
    }

    int Mean(std::size_t component, int blockColumn, int blockRow) const {
        const bool isChroma = component > 0;
        if (isChroma && _layout.planes == 1) return 128;
        const Range columns = SamplesOf(blockColumn, _format.blockSize, _format.width, isChroma && _layout.halvedColumns);
        const Range rows = SamplesOf(blockRow, _format.blockSize, _format.height, isChroma && _layout.halvedRows);
        int sum = 0, count = 0;
        for (int row = rows.first; row < rows.end; ++row)
            for (int column = columns.first; column < columns.end; ++column, ++count) sum += Sample(component, column, row);
        if (_layout.bytes == 2) return std::min((sum + 2 * count) / (4 * count), 255);
        return (sum + count / 2) / count;
    }

private:
    int Sample(std::size_t component, int column, int row) const {
        const bool isAlternating = _layout.interleaved && component > 0;
        const std::size_t plane = isAlternating ? 1 : component;
        const std::size_t x =
            static_cast<std::size_t>(column) * (isAlternating ? 2 : 1) + (isAlternating ? component - 1 : 0);
        const auto y = static_cast<std::size_t>(row);
        if (_layout.bytes == 1) return _planes[plane]->At(x, y);
        return ((_planes[plane]->At(2 * x, y) + 256 * _planes[plane]->At(2 * x + 1, y)) >> _layout.shift) % 1024;
    }

    Host::PictureFormat _format;
    Layout _layout;
    std::array<std::optional<PaddedPlane>, 3> _planes;
};

// BT.601; the reducer's whole numbers stay within one level of it.
void ClaimColour(const std::uint8_t* bgr, int y, int cb, int cr, Host::ColourRange range) {
    const bool isFull = range == Host::ColourRange::Full;
    const double luma = isFull ? y : (y - 16) * 255.0 / 219, scale = isFull ? 1 : 255.0 / 224;
    const double blue = luma + 1.772 * scale * (cb - 128), red = luma + 1.402 * scale * (cr - 128);
    const double green = luma - 0.344136 * scale * (cb - 128) - 0.714136 * scale * (cr - 128);
    FUZZ_CLAIM(std::abs(std::clamp(blue, 0.0, 255.0) - bgr[0]) <= 1);
    FUZZ_CLAIM(std::abs(std::clamp(green, 0.0, 255.0) - bgr[1]) <= 1);
    FUZZ_CLAIM(std::abs(std::clamp(red, 0.0, 255.0) - bgr[2]) <= 1);
}

void ClaimReduced(const Host::BlockReducer& reducer, const Picture& picture, Host::ColourRange range) {
    const std::size_t blockCount = static_cast<std::size_t>(reducer.BlockCount());
    for (int row = 0; row < reducer.Rows(); ++row)
        for (int column = 0; column < reducer.Columns(); ++column) {
            const auto block = static_cast<std::size_t>(row * reducer.Columns() + column);
            std::array<int, 3> reduced{};
            for (std::size_t component = 0; component < 3; ++component) {
                reduced[component] = reducer.Ycbcr()[component * blockCount + block];
                FUZZ_CLAIM(reduced[component] == picture.Mean(component, column, row));
            }
            const std::uint8_t* const pixels = reducer.Bgr() + row * static_cast<std::ptrdiff_t>(reducer.BgrStride());
            ClaimColour(pixels + 3 * static_cast<std::ptrdiff_t>(column), reduced[0], reduced[1], reduced[2], range);
        }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr PixelFormat formats[] = {PixelFormat::Yuv420,   PixelFormat::Yuv422, PixelFormat::Yuv444,
                                              PixelFormat::Nv12,     PixelFormat::Grey,   PixelFormat::P010,
                                              PixelFormat::Yuv420P10};
    ByteSource bytes(data, size);
    Host::PictureFormat format;
    format.format = bytes.Pick(formats);
    format.width = bytes.Between(1, 200);
    format.height = bytes.Between(1, 200);
    format.blockSize = bytes.Between(1, 64);
    const std::uint8_t shape = bytes.Byte();
    format.range = shape & 1 ? Host::ColourRange::Full : Host::ColourRange::Limited;
    if (shape == 254) format.width = std::min(format.width * 47, Host::largestGridSize);    // wide and low
    if (shape == 255) format.height = std::min(format.height * 47, Host::largestGridSize);  // narrow and high
    if (shape == 254) format.height = 1 + format.height % 5;
    if (shape == 255) format.width = 1 + format.width % 5;

    Host::BlockReducer reducer(format);
    FUZZ_CLAIM(reducer.Columns() == (format.width + format.blockSize - 1) / format.blockSize);
    FUZZ_CLAIM(reducer.Rows() == (format.height + format.blockSize - 1) / format.blockSize);
    Picture picture(bytes, format);
    const int pictures = bytes.AtEnd() ? 1 : 2;  // the second finds the first one's sums in the scratch
    for (int i = 0; i < pictures; ++i) {
        reducer.Reduce(picture.View());
        reducer.PaintBgr();
        ClaimReduced(reducer, picture, format.range);
        picture.Paint(bytes);
    }
    return 0;
}
