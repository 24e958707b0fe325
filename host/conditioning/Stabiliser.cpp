// How is a shift found?  Sums, derivatives, the best of all whole shifts, a fraction by the parabola through its
// neighbours.
#include "conditioning/Stabiliser.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "conditioning/kernels/Profile.h"

namespace Host {
namespace {

constexpr std::size_t wantedRows = 240, wantedColumns = 320;  // samples that are summed
constexpr int shortestSide = 64;                              // pixels: below, too little is left to compare

std::size_t StepFor(std::size_t size, std::size_t wanted) { return std::max<std::size_t>((size + wanted / 2) / wanted, 1); }

std::size_t CheckedSide(int side) {
    assert(side > 0 && side <= largestGridSize * static_cast<int>(Kernels::largestBlockSize));
    return static_cast<std::size_t>(side);
}

bool IsDeep(PixelFormat format) { return SampleLayoutOf(format).bytes == 2; }

std::int64_t RoundedQuotient(std::int64_t dividend, std::int64_t divisor) {
    return (dividend >= 0 ? dividend + divisor / 2 : dividend - divisor / 2) / divisor;
}

// Whether one error exceeds another by more than noise makes it. Errors of n elements each that are noise differ by some
// mean / sqrt(n) an element between shifts: it takes so many times that, and a step of the profiles' unit. No product here
// exceeds 2^64.
bool IsDistinct(std::uint64_t error, std::uint64_t least, std::uint64_t n, std::uint64_t times) {
    if (error < least + n) return false;
    const std::uint64_t gain = error - least;
    return gain * gain / n >= times * times * (least * least / n / n);
}

// Sixteenths from the middle to the vertex of the parabola through three errors, half a pixel at most either way, for
// the middle one is the least.
int Fraction16(std::uint64_t before, std::uint64_t least, std::uint64_t behind) {
    const auto left = static_cast<std::int64_t>(before - least), right = static_cast<std::int64_t>(behind - least);
    if (left + right == 0) return 0;
    constexpr std::int64_t half = Stabiliser::unit / 2;
    return static_cast<int>(RoundedQuotient(half * (left - right), left + right));
}

}  // namespace

Stabiliser::Profile::Profile(int size)
    : elements(static_cast<std::size_t>(size) - 1),
      sum(elements + 1),
      current(elements),
      rounded(elements),
      reference(elements) {}

int Stabiliser::Profile::Shift16() const {
    if (elements + 1 < shortestSide) return 0;
    const std::size_t count = elements - std::size_t{2} * radius;
    std::array<std::uint32_t, 2 * radius + 1> error;
    for (std::size_t shift = 0; shift < error.size(); ++shift)
        error[shift] = Kernels::ProfileError(rounded.data() + radius, current.data() + shift, count);
    const std::uint64_t none = error[radius];
    auto best = static_cast<int>(std::min_element(error.begin(), error.end()) - error.begin());
    const auto at = [&](int shift) { return std::uint64_t{error[static_cast<std::size_t>(shift)]}; };
    const bool isClear = 10 * none >= 11 * at(best) && IsDistinct(none, at(best), count, 5);
    if (!isClear && std::abs(best - radius) > 1) return 0;  // half a pixel may lie on either side of none
    const int whole = unit * (best - radius);
    if (best == 0 || best == 2 * radius) return whole;
    const int shift = whole + Fraction16(at(best - 1), at(best), at(best + 1));
    if (isClear) return shift;
    const auto [nearer, farther] = std::minmax({at(best - 1), at(best + 1)});
    const bool isLopsided = IsDistinct(farther, at(best), count, 6) && IsDistinct(farther, nearer, count, 5);
    return isLopsided && std::abs(shift) >= leastMotion ? shift : 0;
}

void Stabiliser::Profile::TakeAsReference() {
    for (std::size_t i = 0; i < elements; ++i) reference[i] = current[i] * Kernels::referenceFraction;
    rounded = current;
}

// What lies beyond the picture after the shift is kept.
void Stabiliser::Profile::Follow(int whole) {
    const std::size_t left = whole < 0 ? static_cast<std::size_t>(-whole) : 0;
    const std::size_t right = whole > 0 ? static_cast<std::size_t>(whole) : 0;
    if (left + right >= elements) return;
    Kernels::FollowProfile(current.data() + right, reference.data() + left, rounded.data() + left, elements - left - right);
}

Stabiliser::Stabiliser(const PictureFormat& format)
    : _format(format.format),
      _width(CheckedSide(format.width)),
      _height(CheckedSide(format.height)),
      _rowStep(StepFor(_height, wantedRows)),
      _chunkStep(StepFor(_width, wantedColumns)),
      _part(_width),
      _row(IsDeep(format.format) ? _width : 0),
      _columns(format.width),
      _rows(format.height) {}

void Stabiliser::SumColumns(const std::uint8_t* luma, std::ptrdiff_t stride) {
    std::fill(_columns.sum.begin(), _columns.sum.end(), std::uint32_t{0});
    const std::size_t rows = (_height + _rowStep - 1) / _rowStep;
    const std::ptrdiff_t step = stride * static_cast<std::ptrdiff_t>(_rowStep);
    const std::size_t most = IsDeep(_format) ? 1 : Kernels::largestBlockSize;  // rows at once
    for (std::size_t row = 0; row < rows; row += most) {
        const std::size_t count = std::min(most, rows - row);
        const std::uint8_t* const top = luma + static_cast<std::ptrdiff_t>(row) * step;
        Kernels::SumColumns({BytesOf(top), step, count}, _part.data(), _width);
        Kernels::AddSums(_part.data(), _columns.sum.data(), _width);
    }
    Kernels::TakeDerivative(_columns.sum.data(), static_cast<std::uint32_t>(rows), _columns.current.data(),
                            _columns.elements);
}

void Stabiliser::SumRows(const std::uint8_t* luma, std::ptrdiff_t stride) {
    const std::size_t step = Kernels::sampleChunk * _chunkStep;
    const std::size_t chunks = _width >= Kernels::sampleChunk ? (_width - Kernels::sampleChunk) / step + 1 : 0;
    const std::size_t rest = chunks * step < _width ? _width - chunks * step : 0;  // of a chunk that is cut off
    for (std::size_t row = 0; row < _height; ++row, luma += stride) {
        const std::uint8_t* const bytes = BytesOf(luma);
        const std::uint32_t ofRest = rest > 0 ? Kernels::SumOfSamples(bytes + chunks * step, rest) : 0;
        _rows.sum[row] = Kernels::SumOfChunks(bytes, step, chunks) + ofRest;
    }
    Kernels::TakeDerivative(_rows.sum.data(), static_cast<std::uint32_t>(chunks * Kernels::sampleChunk + rest),
                            _rows.current.data(), _rows.elements);
}

// A row of luma: where it is, or narrowed.
const std::uint8_t* Stabiliser::BytesOf(const std::uint8_t* row) {
    if (!IsDeep(_format)) return row;
    Kernels::NarrowSamples(row, TenBitShift(_format), _row.data(), _width);
    return _row.data();
}

Shift Stabiliser::Measure(const PictureView& picture) {
    const std::uint8_t* const luma = picture.plane[0];
    assert(luma);
    SumColumns(luma, picture.stride[0]);
    SumRows(luma, picture.stride[0]);
    if (!_hasReference) {
        _columns.TakeAsReference();
        _rows.TakeAsReference();
        _hasReference = true;
        return {};
    }
    const Shift shift = {_columns.Shift16(), _rows.Shift16()};
    _columns.Follow(static_cast<int>(RoundedQuotient(shift.dx16, unit)));
    _rows.Follow(static_cast<int>(RoundedQuotient(shift.dy16, unit)));
    return shift;
}

}  // namespace Host
