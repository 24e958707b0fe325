// How is a shift taken back?  The inner part of the picture is read from moved places, once for each whole sample beside the
// true one, and blended.
#include "conditioning/ShiftedReduction.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>

#include "conditioning/kernels/WeightedPlanes.h"

namespace Host {
namespace {

constexpr int unit = Stabiliser::unit;
// Beside the shift itself: one pixel of the neighbour to blend with, one that halved chroma may need.
constexpr int besidesShift = 2;  // pixels
constexpr int farthest = ShiftedReduction::largestShift / unit + besidesShift;

constexpr int FloorQuotient(int dividend, int divisor) {
    return dividend >= 0 ? dividend / divisor : -((-dividend + divisor - 1) / divisor);
}

int FrameFor(int shift16) { return (std::abs(shift16) + unit - 1) / unit + besidesShift; }

// Blocks that are left between a margin and what lies opposite: a last block that is cut off counts as margin, too.
int InnerBlocks(int blocks, int margin, int size, int blockSize) {
    return blocks - 2 * margin - (size % blockSize != 0 ? 1 : 0);
}

PictureFormat InnerFormat(PictureFormat format, int columns, int rows) {
    format.width = columns * format.blockSize;
    format.height = rows * format.blockSize;
    return format;
}

// One direction of one plane: the whole samples at and beside the true place, and their weights.
struct Place {
    Place(int shift16, bool isHalved) : parts(isHalved ? 2 * unit : unit), first(FloorQuotient(shift16, parts)) {
        const int fraction = shift16 - first * parts;
        weight = {static_cast<std::uint32_t>(parts - fraction), static_cast<std::uint32_t>(fraction)};
    }

    int parts;  // of a sample
    int first;  // samples, may be negative
    std::array<std::uint32_t, 2> weight;
};

int ShiftOf(int parts) { return parts == unit ? 4 : 5; }
static_assert(2 * 5 == Kernels::largestWeightShift && 1 << 5 == 2 * unit);

}  // namespace

ShiftedReduction::Inner::Inner(const PictureFormat& format, int ofMargin, int columns, int rows)
    : margin(ofMargin), reducer(InnerFormat(format, columns, rows)) {}

ShiftedReduction::ShiftedReduction(const PictureFormat& format)
    : _format(format),
      _whole(format),
      _shown(3 * static_cast<std::size_t>(_whole.BlockCount())),
      _uncovered(static_cast<std::size_t>(_whole.BlockCount())) {
    // Halved chroma: the inner part begins at an even pixel.
    const int step = format.blockSize % 2 != 0 ? 2 : 1;
    for (int margin = step; (margin - step) * format.blockSize < farthest; margin += step) {
        const int columns = InnerBlocks(_whole.Columns(), margin, format.width, format.blockSize);
        const int rows = InnerBlocks(_whole.Rows(), margin, format.height, format.blockSize);
        if (columns < 1 || rows < 1) break;
        _inner.push_back(std::make_unique<Inner>(format, margin, columns, rows));
    }
    if (!_inner.empty()) _sum.resize(3 * static_cast<std::size_t>(_inner.front()->reducer.BlockCount()));
}

const ShiftedReduction::Inner* ShiftedReduction::InnerFor(Shift shift) const {
    if (shift.IsNone() || !_hasPicture) return nullptr;
    const int frame = std::max(FrameFor(shift.dx16), FrameFor(shift.dy16));
    for (const auto& inner : _inner)
        if (inner->margin * _format.blockSize >= frame) return inner.get();
    return nullptr;
}

void ShiftedReduction::Reduce(const PictureView& picture, Shift shift) {
    assert(std::abs(shift.dx16) <= largestShift && std::abs(shift.dy16) <= largestShift);
    const Inner* const wanted = InnerFor(shift);
    MarkUncovered(wanted);
    if (wanted) std::copy_n(_whole.Ycbcr(), _shown.size(), _shown.begin());
    for (const auto& inner : _inner)
        if (inner.get() == wanted) {
            Blend(*inner, picture, shift);
            Store(*inner);
        }
    if (!wanted) _whole.Reduce(picture);
    _hasPicture = true;
}

// Four times a reduction at most; one where luma and chroma lie on whole samples.
void ShiftedReduction::Blend(Inner& inner, const PictureView& picture, Shift shift) {
    const SampleLayout samples = SampleLayoutOf(_format.format);
    const Place lumaX(shift.dx16, false), lumaY(shift.dy16, false);
    const Place chromaX(shift.dx16, samples.columnsPerChroma == 2), chromaY(shift.dy16, samples.rowsPerChroma == 2);
    const auto blocks = static_cast<std::size_t>(inner.reducer.BlockCount());
    std::fill_n(_sum.begin(), 3 * blocks, std::uint32_t{0});
    const int start = inner.margin * _format.blockSize;  // pixels
    for (const std::size_t below : {0u, 1u})
        for (const std::size_t beside : {0u, 1u}) {
            const std::uint32_t lumaWeight = lumaX.weight[beside] * lumaY.weight[below];
            const std::uint32_t chromaWeight = chromaX.weight[beside] * chromaY.weight[below];
            if (lumaWeight == 0 && chromaWeight == 0) continue;
            PictureView moved = picture;
            const auto move = [&](std::size_t plane, const Place& x, const Place& y, int bytesPerColumn) {
                if (!picture.plane[plane]) return;
                const int column = start * unit / x.parts + x.first + static_cast<int>(beside);
                const int row = start * unit / y.parts + y.first + static_cast<int>(below);
                moved.plane[plane] += row * picture.stride[plane] + std::ptrdiff_t{column} * bytesPerColumn;
            };
            move(0, lumaX, lumaY, samples.bytes);
            move(1, chromaX, chromaY, samples.ChromaBytes());
            move(2, chromaX, chromaY, samples.ChromaBytes());
            inner.reducer.Reduce(moved);
            Kernels::AddWeighted(inner.reducer.Ycbcr(), lumaWeight, _sum.data(), blocks);
            Kernels::AddWeighted(inner.reducer.Ycbcr() + blocks, chromaWeight, _sum.data() + blocks, 2 * blocks);
        }
    std::uint8_t* const planes = inner.reducer.Ycbcr();
    Kernels::StoreWeighted(_sum.data(), ShiftOf(lumaX.parts) + ShiftOf(lumaY.parts), planes, blocks);
    Kernels::StoreWeighted(_sum.data() + blocks, ShiftOf(chromaX.parts) + ShiftOf(chromaY.parts), planes + blocks,
                           2 * blocks);
}

void ShiftedReduction::Store(const Inner& inner) {
    const std::ptrdiff_t columns = inner.reducer.Columns(), rows = inner.reducer.Rows();
    const std::ptrdiff_t margin = inner.margin, wholeColumns = Columns();
    for (std::ptrdiff_t plane = 0; plane < 3; ++plane)
        for (std::ptrdiff_t row = 0; row < rows; ++row)
            std::copy_n(inner.reducer.Ycbcr() + plane * inner.reducer.BlockCount() + row * columns, columns,
                        _whole.Ycbcr() + plane * BlockCount() + (margin + row) * wholeColumns + margin);
}

void ShiftedReduction::RestoreUncovered() {
    if (!_marked) return;
    const std::size_t blocks = _uncovered.size();
    std::uint8_t* const planes = _whole.Ycbcr();
    for (std::size_t i = 0; i < 3 * blocks; ++i) planes[i] = _uncovered[i % blocks] != 0 ? _shown[i] : planes[i];
}

void ShiftedReduction::MarkUncovered(const Inner* inner) {
    if (inner == _marked) return;
    _marked = inner;
    std::fill(_uncovered.begin(), _uncovered.end(), inner ? std::uint8_t{255} : std::uint8_t{0});
    if (!inner) return;
    const std::ptrdiff_t margin = inner->margin, columns = Columns();
    for (std::ptrdiff_t row = 0; row < inner->reducer.Rows(); ++row)
        std::fill_n(_uncovered.begin() + (margin + row) * columns + margin, inner->reducer.Columns(), std::uint8_t{0});
}

}  // namespace Host
