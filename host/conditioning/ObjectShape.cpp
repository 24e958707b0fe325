// How are holes filled and things that stop held?  See ObjectShape.h.
#include "conditioning/ObjectShape.h"

#include <algorithm>
#include <cassert>

#include "conditioning/kernels/ChangeTimes.h"
#include "conditioning/kernels/LabelGaps.h"
#include "conditioning/kernels/ObjectLabels.h"

namespace Host {
namespace {

constexpr int largestGrid = 9999;  // blocks, in either direction: as the detector
constexpr std::size_t mostPlaces = 65535;
constexpr std::size_t stretchLength = 64;  // blocks that are left alone together where nothing is held
constexpr Ticks earliestTime = -(Ticks{1} << 62);

std::size_t CheckedSize(int size) {
    assert(size > 0 && size <= largestGrid);
    return static_cast<std::size_t>(size);
}

// ticks; earlier is not later than time, but may be so far from it that a signed difference overflows
std::uint64_t Elapsed(Ticks earlier, Ticks time) {
    return static_cast<std::uint64_t>(time) - static_cast<std::uint64_t>(earlier);
}

}  // namespace

HoleFill::HoleFill(int columns, int rows)
    : _columns(CheckedSize(columns)),
      _rows(CheckedSize(rows)),
      _gaps(new Kernels::LabelGap[1 + (_columns + 1) / 2 * _rows]) {}

HoleFill::~HoleFill() = default;

int HoleFill::Fill(std::uint16_t* labels) {
    assert(labels);
    const auto isEmpty = [&](std::size_t row) { return Kernels::LargestPlace(labels + row * _columns, _columns) == 0; };
    std::size_t top = 0, bottom = _rows;  // all objects lie in rows top to bottom - 1
    while (top < bottom && isEmpty(top)) ++top;
    while (bottom > top && isEmpty(bottom - 1)) --bottom;

    Kernels::LabelGap* const gaps = _gaps.get();
    const std::uint32_t columns = static_cast<std::uint32_t>(_columns);
    gaps[0] = {0, 0, 0, 0};  // the outside: first of all, so that whatever hangs together with it is known by it
    std::size_t above = 1, count = 1;
    for (std::size_t row = top; row < bottom; ++row) {
        const std::size_t first = count;
        count = Kernels::AppendGaps(labels + row * _columns, row, _columns, gaps, count);
        for (std::size_t i = first; i < count; ++i)
            if (row == top || row == bottom - 1 || gaps[i].first == 0 || gaps[i].last == columns)
                Kernels::JoinGaps(gaps, 0, i);
        Kernels::JoinRows(gaps, above, first, count);
        above = first;
    }

    int filled = 0;
    for (std::size_t i = 1; i < count; ++i) {
        const std::size_t hole = Kernels::FirstGap(gaps, i);
        if (hole == 0) continue;
        const std::uint16_t owner = labels[gaps[hole].row * _columns + gaps[hole].first - 1];
        std::uint16_t* const row = labels + gaps[i].row * _columns;
        std::fill(row + gaps[i].first, row + gaps[i].last, owner);
        filled += static_cast<int>(gaps[i].last - gaps[i].first);
    }
    return filled;
}

ObjectHold::ObjectHold(int columns, int rows, Ticks hold)
    : _blockCount(CheckedSize(columns) * CheckedSize(rows)),
      _hold(hold),
      _luma(picturesKept * _blockCount),
      _isChanged(_blockCount),
      _lastChange(_blockCount, Kernels::noChange),
      _latest(std::min(_blockCount, mostPlaces) + 1),
      _isHeld((_blockCount + stretchLength - 1) / stretchLength) {
    assert(hold >= 0);
}

const std::uint8_t* ObjectHold::LumaOfAge(std::size_t age) const {
    return _luma.data() + (_next + picturesKept - age) % picturesKept * _blockCount;
}

int ObjectHold::Hold(const std::uint8_t* luma, Ticks time, std::uint16_t* labels) {
    assert(luma && labels);
    assert(time > earliestTime);
    const std::size_t largest = Kernels::LargestPlace(labels, _blockCount);
    assert(largest < _latest.size());
    if (_known > 0 && time < _time) EndHold();
    _time = time;
    // What is not there yet is like the picture itself: nothing changed.
    const auto earlier = [&](std::size_t age) { return age <= _known ? LumaOfAge(age) : luma; };
    if (largest > 0) Kernels::MarkChanges(luma, {earlier(1), earlier(2), earlier(4)}, _isChanged.data(), _blockCount);
    std::copy_n(luma, _blockCount, _luma.data() + _next * _blockCount);
    _next = (_next + 1) % picturesKept;
    _known = std::min(_known + 1, picturesKept);

    std::fill_n(_latest.begin(), largest + 1, Kernels::noObject);
    _latest[0] = Kernels::noChange;
    if (largest > 0)
        Kernels::CollectChanges(labels, _isChanged.data(), _lastChange.data(), time, _latest.data(), _blockCount);
    const int dropped = DropExpired(time, largest);
    Spread(labels);
    return dropped;
}

// What belonged to nobody and still does has no time to lose.
void ObjectHold::Spread(std::uint16_t* labels) {
    for (std::size_t stretch = 0; stretch < _isHeld.size(); ++stretch) {
        const std::size_t first = stretch * stretchLength, count = std::min(stretchLength, _blockCount - first);
        const bool isNobodys = Kernels::LargestPlace(labels + first, count) == 0;
        if (!isNobodys || _isHeld[stretch])
            Kernels::SpreadChanges(labels + first, _latest.data(), _lastChange.data() + first, count);
        _isHeld[stretch] = !isNobodys;
    }
}

int ObjectHold::DropExpired(Ticks time, std::size_t largest) {
    int dropped = 0;
    for (std::size_t place = 1; place <= largest; ++place) {
        Ticks& latest = _latest[place];
        if (latest == Kernels::noObject) continue;
        if (latest != Kernels::noChange && Elapsed(latest, time) < static_cast<std::uint64_t>(_hold)) continue;
        latest = Kernels::noChange;
        ++dropped;
    }
    return dropped;
}

void ObjectHold::EndHold() {
    _known = 0;
    std::fill(_lastChange.begin(), _lastChange.end(), Kernels::noChange);
}

}  // namespace Host
