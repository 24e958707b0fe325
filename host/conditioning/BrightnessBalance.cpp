// In which order is a picture's brightness judged?  Covered first, for then nothing else can be told; a switch of colours
// next; then the ratio.
#include "conditioning/BrightnessBalance.h"

#include <cassert>

#include "conditioning/kernels/Brightness.h"

namespace Host {
namespace {

static_assert(BrightnessBalance::unit == Kernels::ratioUnit);

constexpr int limitedBlack = 16;  // luma of black in the usual video range

std::size_t CheckedBlockCount(int columns, int rows) {
    assert(columns > 0 && columns <= largestGridSize);
    assert(rows > 0 && rows <= largestGridSize);
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
}

// What luma and reference have in common. Variances in 1/16 of a squared level: 0..260100.
struct Likeness {
    std::int64_t variance;           // of the picture
    std::int64_t referenceVariance;  // likewise
    std::int64_t covariance;

    // Correlation below one half.
    bool IsLost() const { return covariance <= 0 || 4 * covariance * covariance < variance * referenceVariance; }
    // Less than a quarter of the reference's deviation, which was 4 levels or more.
    bool IsFlat() const { return referenceVariance >= std::int64_t{16} * 4 * 4 && 16 * variance < referenceVariance; }
};

// 16 * (mean of products - product of means). Of up to 10^8 blocks no product here exceeds 2^51.
std::int64_t Covariance(std::uint64_t products, std::uint64_t a, std::uint64_t b, std::size_t blocks) {
    const auto count = static_cast<std::int64_t>(blocks);
    const auto meanOf = [&](std::uint64_t sum) { return static_cast<std::int64_t>(sum << 16) / count; };
    return static_cast<std::int64_t>(16 * products) / count - (meanOf(a) * meanOf(b) >> 28);
}

Likeness LikenessOf(const Kernels::LumaSums& sums, std::size_t count) {
    return {Covariance(sums.yy, sums.y, sums.y, count), Covariance(sums.rr, sums.r, sums.r, count),
            Covariance(sums.yr, sums.y, sums.r, count)};
}

bool IsBeyond(int ratio, int band) {
    return ratio > BrightnessBalance::unit + band || ratio < BrightnessBalance::unit - band;
}

}  // namespace

BrightnessBalance::BrightnessBalance(int columns, int rows, ColourRange range)
    : _blockCount(CheckedBlockCount(columns, rows)),
      _black(range == ColourRange::Limited ? limitedBlack : 0),
      _reference(_blockCount),
      _histogram(Kernels::ratioBins) {}

PictureState BrightnessBalance::Balance(std::uint8_t* ycbcr) {
    if (_hasReference) {
        _state = Examine(ycbcr);
    } else {
        TakeAsReference(ycbcr);
        _colours = ColoursOf(ycbcr);
        _hasReference = true;
        _settling = 0;
        _ratio = unit;
        _state = PictureState::Normal;
    }
    return _state;
}

PictureState BrightnessBalance::Examine(std::uint8_t* ycbcr) {
    const int direction = IsBeyond(_ratio, deadBand) ? (_ratio > unit ? 1 : -1) : 0;
    const Likeness likeness = LikenessOf(Kernels::SumLuma(ycbcr, _reference.data(), _blockCount), _blockCount);
    if (likeness.IsFlat() && likeness.IsLost()) {  // what is left alone keeps the reference, too
        _ratio = unit;
        return PictureState::Covered;
    }
    if (direction != 0) Kernels::RelaxReference(_reference.data(), _black, direction, _blockCount);
    const int measured = MeasuredRatio(ycbcr);

    // Colours that go with most of the light, or come back with it, are the light's.
    const Colours colours = ColoursOf(ycbcr);
    const bool isKnown = _colours != Colours::Unclear && colours != Colours::Unclear;
    const bool isOfLight = measured < unit / 2 || measured > 2 * unit;
    if (isKnown && colours != _colours && !isOfLight) _settling = settlingPictures;
    if (colours != Colours::Unclear) _colours = colours;
    const bool isSwitched = _settling > 0;

    _ratio = IsBeyond(measured, deadBand) && !(isSwitched && likeness.IsLost()) ? measured : unit;
    if (isSwitched) {
        if (_ratio != unit) Kernels::BalanceLuma(ycbcr, _ratio, _black, _blockCount);
        TakeAsReference(ycbcr);
        --_settling;
        return PictureState::Infrared;
    }
    if (_ratio == unit) {
        Kernels::FollowLuma(_reference.data(), ycbcr, _blockCount);
        return PictureState::Normal;
    }
    Kernels::FollowBalancedLuma(_reference.data(), ycbcr, _ratio, _black, _blockCount);
    Kernels::BalanceLuma(ycbcr, _ratio, _black, _blockCount);
    return IsBeyond(_ratio, lightBand) ? PictureState::Light : PictureState::Normal;
}

// A picture without colours has hardly a block with one; a picture with them has some, however grey the scene.
BrightnessBalance::Colours BrightnessBalance::ColoursOf(const std::uint8_t* ycbcr) const {
    const std::size_t coloured = Kernels::CountColoured(ycbcr + _blockCount, ycbcr + 2 * _blockCount, _blockCount);
    if (16 * coloured >= _blockCount) return Colours::Present;
    return 256 * coloured <= _blockCount ? Colours::Absent : Colours::Unclear;
}

// unit for whatever lies within the dead band, as it does in most pictures: nobody asks where.
int BrightnessBalance::MeasuredRatio(const std::uint8_t* luma) {
    const Kernels::RatioCounts counts =
        Kernels::CountRatiosUpTo(luma, _reference.data(), _black, unit - deadBand - 1, unit + deadBand, _blockCount);
    if (counts.low <= _blockCount / 2 && counts.high > _blockCount / 2) return unit;
    Kernels::CountRatios(luma, _reference.data(), _black, _histogram.data(), _blockCount);
    return Kernels::MedianRatio(_histogram.data(), _blockCount);
}

void BrightnessBalance::TakeAsReference(const std::uint8_t* luma) {
    Kernels::TakeReference(_reference.data(), luma, _blockCount);
}

}  // namespace Host
