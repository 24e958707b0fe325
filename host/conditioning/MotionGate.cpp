// In which order does the gate learn a picture?  Match, replace samples, adjust, filter: see MotionGate.h.
#include "conditioning/MotionGate.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <limits>

#include "conditioning/kernels/GateFeedback.h"
#include "conditioning/kernels/GateSamples.h"
#include "conditioning/kernels/MaskMedian.h"
#include "conditioning/kernels/ObjectLabels.h"

namespace Host {
namespace {

constexpr int largestGrid = 9999;  // blocks, in either direction: as the detector
constexpr std::size_t mostPlaces = 65535;

// Rows draw the beginning of their bytes with 12 bits.
constexpr std::size_t drawStarts = 4096;

std::size_t CheckedSize(int size) {
    assert(size > 0 && size <= largestGrid);
    return static_cast<std::size_t>(size);
}

// splitmix64: any state is a good one.
std::uint64_t NextDraw(std::uint64_t& state) {
    state += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
}

// `bits` of a draw, from the lowest on, which are used up.
std::uint32_t Take(std::uint64_t& draw, int bits) {
    const std::uint32_t taken = static_cast<std::uint32_t>(draw & ((std::uint64_t{1} << bits) - 1));
    draw >>= bits;
    return taken;
}

// 0 to choices - 1, of `bits` of a draw.
std::uint32_t Choose(std::uint64_t& draw, int bits, std::uint32_t choices) { return Take(draw, bits) * choices >> bits; }

}  // namespace

MotionGate::MotionGate(int columns, int rows, std::uint32_t seed)
    : _columns(CheckedSize(columns)),
      _rows(CheckedSize(rows)),
      _blockCount(_columns * _rows),
      _drawState(seed),
      _draws(drawStarts + _columns),
      _rowDraws(_rows),
      _samples(sampleCount * 3 * _blockCount),
      _distance(_blockCount),
      _limit(_blockCount, Kernels::smallestLimit),
      _interval(_blockCount, Kernels::firstInterval),
      _step(_blockCount),
      _wholeLimit(_blockCount, Kernels::WholeLimit(Kernels::smallestLimit)),
      _isMoving(_blockCount),
      _nearest(_blockCount),
      _isOwnTurn(_blockCount),
      _isNeighboursTurn(_blockCount),
      _rowSums(_columns + 2 * Kernels::medianReach),
      _mask(_blockCount),
      _isCalm(_blockCount, std::uint8_t{255}),
      _objectBlocks(std::min(_blockCount, mostPlaces) + 1),
      _confirmedBlocks(_objectBlocks.size()) {
    for (std::uint8_t& draw : _draws) draw = static_cast<std::uint8_t>(NextDraw(_drawState) >> 56);
}

void MotionGate::Learn(const std::uint8_t* ycbcr) {
    assert(ycbcr);
    const std::size_t known = std::min<std::size_t>(sampleCount, static_cast<std::size_t>(_pictures));
    if (known < sampleCount) std::copy_n(ycbcr, 3 * _blockCount, SamplePlane(known, 0));
    if (_pictures < std::numeric_limits<int>::max()) ++_pictures;
    if (known == 0) return;
    Match(ycbcr);
    ReplaceSamples(ycbcr);
    Adjust();
    FilterMask();
}

MotionGate::RowDraws MotionGate::DrawRow() {
    std::uint64_t draw = NextDraw(_drawState);
    RowDraws row;
    row.ownSample = static_cast<std::uint16_t>(Choose(draw, 16, sampleCount));
    row.neighbourSample = static_cast<std::uint16_t>(Choose(draw, 16, sampleCount));
    const int place = static_cast<int>(Choose(draw, 8, 9));
    row.columnsAway = static_cast<std::int8_t>(place % 3 - 1);
    row.rowsAway = static_cast<std::int8_t>(place / 3 - 1);
    row.ownDraws = static_cast<std::uint16_t>(Take(draw, 12));
    row.neighbourDraws = static_cast<std::uint16_t>(Take(draw, 12));
    return row;
}

void MotionGate::Match(const std::uint8_t* ycbcr) {
    const std::size_t known = std::min<std::size_t>(sampleCount, static_cast<std::size_t>(_pictures));
    Kernels::FindMatches({ycbcr, ycbcr + _blockCount, ycbcr + 2 * _blockCount}, {_samples.data(), _blockCount, known},
                         _wholeLimit.data(), _nearest.data(), _isMoving.data(), _blockCount);
}

void MotionGate::ReplaceSamples(const std::uint8_t* ycbcr) {
    for (std::size_t row = 0; row < _rows; ++row) _rowDraws[row] = DrawRow();
    // While the first samples are taken, every still block learns from every picture, and none is replaced.
    if (_pictures < static_cast<int>(sampleCount)) {
        std::transform(_isMoving.begin(), _isMoving.end(), _isOwnTurn.begin(),
                       [](std::uint8_t isMoving) { return static_cast<std::uint8_t>(~isMoving); });
        return;
    }
    for (std::size_t row = 0; row < _rows; ++row) {
        const std::size_t first = row * _columns;
        const RowDraws& draws = _rowDraws[row];
        Kernels::DrawTurns(_isMoving.data() + first, _draws.data() + draws.ownDraws, _interval.data() + first,
                           _isOwnTurn.data() + first, _columns);
        Kernels::DrawTurns(_isMoving.data() + first, _draws.data() + draws.neighbourDraws, _interval.data() + first,
                           _isNeighboursTurn.data() + first, _columns);
    }
    for (std::size_t row = 0; row < _rows; ++row) {
        const std::size_t first = row * _columns;
        const RowDraws& draws = _rowDraws[row];
        ReplaceRow(ycbcr, draws.ownSample, _isOwnTurn.data() + first, first, _columns);
        const std::size_t neighbourRow = row + static_cast<std::size_t>(std::ptrdiff_t{draws.rowsAway});  // may wrap
        if (neighbourRow >= _rows) continue;
        const std::size_t left = draws.columnsAway < 0 ? 1 : 0, right = draws.columnsAway > 0 ? 1 : 0;
        if (_columns < left + right + 1) continue;
        const std::uint8_t* const turns = _isNeighboursTurn.data() + neighbourRow * _columns;
        ReplaceRow(ycbcr, draws.neighbourSample, turns + left + draws.columnsAway, first + left, _columns - left - right);
    }
}

void MotionGate::ReplaceRow(const std::uint8_t* ycbcr, std::size_t sample, const std::uint8_t* isTaken, std::size_t first,
                            std::size_t count) {
    for (std::size_t plane = 0; plane < 3; ++plane)
        Kernels::ReplaceTaken(isTaken, ycbcr + plane * _blockCount + first, SamplePlane(sample, plane) + first, count);
}

void MotionGate::Adjust() {
    // The average of so many distances, and of 20 at most: the second picture's is the first there is.
    const int known = std::min(_pictures, static_cast<int>(sampleCount));
    Kernels::AverageTaken(_isOwnTurn.data(), _nearest.data(), Kernels::shareOfOneIn(static_cast<std::uint32_t>(known)),
                          _distance.data(), _blockCount);
    Kernels::AdjustLimits(_distance.data(), _limit.data(), _wholeLimit.data(), _isCalm.data(), _blockCount);
    Kernels::FindSteps(_distance.data(), _step.data(), _blockCount);
    for (std::size_t row = 0; row < _rows; ++row) {
        const std::size_t first = row * _columns;
        Kernels::AdjustIntervals(_isMoving.data() + first, _step.data() + first, _draws.data() + _rowDraws[row].ownDraws,
                                 _interval.data() + first, _columns);
    }
}

void MotionGate::FilterMask() {
    using Kernels::medianReach;
    std::uint8_t* const sums = _rowSums.data() + medianReach;
    for (std::size_t row = 0; row < _rows; ++row) {
        // Rows and columns beyond the border are like the border's.
        std::array<const std::uint8_t*, Kernels::medianRows> rows;
        for (std::size_t i = 0; i < Kernels::medianRows; ++i) {
            const std::size_t wanted = std::max(row + i, medianReach) - medianReach;
            rows[i] = _isMoving.data() + std::min(wanted, _rows - 1) * _columns;
        }
        Kernels::CountSet(rows, sums, _columns);
        std::fill_n(sums - medianReach, medianReach, sums[0]);
        std::fill_n(sums + _columns, medianReach, sums[_columns - 1]);
        Kernels::MarkMedian(_rowSums.data(), _mask.data() + row * _columns, _columns);
    }
}

int MotionGate::Confirm(std::uint16_t* labels, int confirmedPercent) {
    assert(labels);
    assert(confirmedPercent >= 0 && confirmedPercent <= 100);
    const std::uint16_t largest = Kernels::LargestPlace(labels, _blockCount);
    assert(largest < _objectBlocks.size());
    if (largest == 0) return 0;
    std::fill_n(_objectBlocks.begin(), std::size_t{largest} + 1, 0u);
    std::fill_n(_confirmedBlocks.begin(), std::size_t{largest} + 1, 0u);
    Kernels::CountConfirmed(labels, _mask.data(), _isCalm.data(), _objectBlocks.data(), _confirmedBlocks.data(),
                            _blockCount);
    const std::uint32_t percent = static_cast<std::uint32_t>(confirmedPercent);
    const auto isDropped = [&](std::size_t place) {
        return !Kernels::IsConfirmed(_objectBlocks[place], _confirmedBlocks[place], percent);
    };
    int dropped = 0;
    for (std::size_t place = 1; place <= largest; ++place) dropped += isDropped(place) ? 1 : 0;
    if (dropped > 0) Kernels::DropObjects(labels, _blockCount, isDropped);
    return dropped;
}

bool MotionGate::WouldConfirm(std::uint16_t place, int confirmedPercent) const {
    assert(place < _objectBlocks.size());
    assert(confirmedPercent >= 0 && confirmedPercent <= 100);
    return Kernels::IsConfirmed(_objectBlocks[place], _confirmedBlocks[place], static_cast<std::uint32_t>(confirmedPercent));
}

}  // namespace Host
