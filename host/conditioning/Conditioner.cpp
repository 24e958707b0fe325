// How is a detector conditioned?
#include "conditioning/Conditioner.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "conditioning/kernels/LumaCounts.h"
#include "conditioning/kernels/ObjectLabels.h"

namespace Host {

namespace {

// The slower the detector's time, the longer it takes until what stopped becomes background.
constexpr Ticks timeDivisor = 2;

// What stopped is told for so long after it moved last.
constexpr Ticks longestHold = 30 * ticksPerSecond;

// For so long it is motion: who has left a place where he stood leaves what he hid behind, which looks like him.
constexpr Ticks longestMotion = ticksPerSecond / 2;

// Of an object's blocks, confirmed by the gate: of a new one, and of one that goes on from the picture before. What stands
// still for long is taken for background by the gate, too, but not from one picture to the next.
constexpr int confirmedNew = 60;
constexpr int confirmedOld = 25;

// In the first seconds: this far from the background a block is elsewhere, and so often it leaves where it is restless.
constexpr int farLevels = 10;
constexpr int restlessDepartures = 5;

// What is seen so often after a scene has changed for good is its background from then on: a second.
constexpr int newScenePictures = 6;

// Hardly any contrast is left, and nobody says that the lens is covered: after so long, that is what it looks like there.
constexpr Ticks longestDoubt = 10 * ticksPerSecond;

// Dark is a picture of which less than one block in so many is further from black.
constexpr int darkLevels = 16;
constexpr std::size_t darkShare = 50;

constexpr std::size_t mostLabels = std::numeric_limits<std::uint16_t>::max();

}  // namespace

int DimmingOf(Sensitivity sensitivity) {
    switch (sensitivity) {
        case Sensitivity::Low: return 5;
        case Sensitivity::Normal: return 7;
        case Sensitivity::High: return 10;
    }
    return 10;
}

Conditioner::Conditioner(int columns, int rows, ColourRange range, Sensitivity sensitivity)
    : _blockCount(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)),
      _black(range == ColourRange::Limited ? 16 : 0),
      _dimming(DimmingOf(sensitivity)),
      _balanced(3 * _blockCount),
      _dimmed(3 * _blockCount),
      _learned(3 * _blockCount),
      _withStopped(_blockCount),
      _spots(_blockCount),
      _isObject(_blockCount),
      _wasObject(_blockCount),
      _wasTold(_blockCount),
      _isOld(mostLabels + 1),
      _balance(columns, rows, range),
      _gate(columns, rows),
      _hold(columns, rows, longestHold),
      _motion(columns, rows, longestMotion),
      _holes(columns, rows),
      _disturbances(columns, rows),
      _newScene(columns, rows, newScenePictures) {}

const std::uint8_t* Conditioner::Dimmed(const std::uint8_t* ycbcr) {
    Kernels::DimLuma(ycbcr, static_cast<std::uint8_t>(_dimming), _dimmed.data(), _blockCount);
    std::copy(ycbcr + _blockCount, ycbcr + 3 * _blockCount, _dimmed.begin() + static_cast<std::ptrdiff_t>(_blockCount));
    return _dimmed.data();
}

void Conditioner::Prime(const std::vector<std::uint8_t>& background, const Show& show) {
    _learned = background;
    ShowLearned(show);
}

void Conditioner::ShowLearned(const Show& show) {
    _balance.Reset();
    _balance.Balance(_learned.data());  // its reference from now on
    const auto showDimmed = [&](const std::uint8_t* ycbcr, Ticks stamp) { show(Dimmed(ycbcr), stamp); };
    _offset = ShowBackground(_learned.data(), 0, showDimmed);  // a detector that has seen others starts afresh
    _hold.EndHold();
    _motion.EndHold();
    _isPrimed = true;
    _first.reset();
}

// Leaves leave and come back many times within seconds, whoever walks by leaves a place once or twice: what stands where
// nothing is restless is not shown to the gate, which would take it for background.
void Conditioner::LearnRestlessness(const Priming& seconds) {
    std::vector<int> departures(_blockCount);
    std::vector<bool> isAway(_blockCount);
    for (int i = 0; i < seconds.Pictures(); ++i) {
        const std::uint8_t* const luma = seconds.Picture(i);
        for (std::size_t block = 0; block < _blockCount; ++block) {
            const bool isFar = std::abs(luma[block] - _learned[block]) > farLevels;
            departures[block] += isFar && !isAway[block] ? 1 : 0;
            isAway[block] = isFar;
        }
    }
    std::vector<std::uint8_t> picture = _learned;
    for (int i = 0; i < seconds.Pictures(); ++i) {
        const std::uint8_t* const planes = seconds.Picture(i);
        for (std::size_t block = 0; block < _blockCount; ++block) {
            if (departures[block] >= restlessDepartures) {
                for (std::size_t sample = block; sample < 3 * _blockCount; sample += _blockCount) {
                    picture[sample] = planes[sample];
                }
            }
        }
        _gate.Learn(picture.data());
    }
}

// Stream time begins at 0 with the first picture.
Ticks Conditioner::StampOf(Ticks time) {
    const Ticks slowed = (time - *_first) / timeDivisor;
    return _isPrimed ? slowed + _offset : _quick.Stamp(slowed);
}

// Nothing that a picture shows now is worth learning: what was there before will be there again. But nobody may be blind for
// long unless that is told.
bool Conditioner::IsBlind(Ticks time) {
    if (_disturbances.IsRunning(Disturbance::Covered)) {
        _doubtfulSince.reset();
        return true;
    }
    if (_balance.State() != PictureState::Covered) {
        _doubtfulSince.reset();
        return false;
    }
    _doubtfulSince = _doubtfulSince.value_or(time);
    if (time - *_doubtfulSince < longestDoubt) {
        return true;
    }
    if (!_isNewScene) {
        BeginNewScene();
    }
    return false;
}

// What differs from the background has changed, also in the first picture. It may be the earliest one: no time comes before.
void Conditioner::BeginHold(Ticks time) {
    if (_isPrimed) {
        std::fill(_spots.begin(), _spots.end(), std::uint16_t{0});
        _hold.Hold(_learned.data(), time, _spots.data());
        _motion.Hold(_learned.data(), time, _spots.data());
    }
}

void Conditioner::BeginNewScene() {
    _isNewScene = true;
    _newScene.Clear();
}

void Conditioner::OnPicture(const std::uint8_t* ycbcr, Shift shift, Ticks time, const Show& show) {
    _picture = ycbcr;
    _shift = shift;
    const auto darkest = static_cast<std::uint8_t>(_black + darkLevels);
    _isDark = Kernels::CountBrighter(ycbcr, darkest, _blockCount) < _blockCount / darkShare;
    std::copy(ycbcr, ycbcr + 3 * _blockCount, _balanced.begin());
    const bool isSwitching = _balance.Balance(_balanced.data()) == PictureState::Infrared;
    _isAnswered = !IsBlind(time) && (_isNewScene || !isSwitching);  // a red car may pass for a switch, for a second
    if (!_isAnswered) {
        return;
    }
    if (_isNewScene) {
        _newScene.Add(ycbcr);
        if (_newScene.Pictures() < newScenePictures) {
            _isAnswered = false;
            return;
        }
        _newScene.MostFrequent(1, _learned.data());
        _newScene.Clear();  // should show throw, pictures are kept anew and the scene is learned from them
        ShowLearned(show);
        _isNewScene = false;
        std::copy(ycbcr, ycbcr + 3 * _blockCount, _balanced.begin());
        _balance.Balance(_balanced.data());
    }
    if (!_first) {
        _first = time;
        BeginHold(time);
    }
    _gate.Learn(_balanced.data());
    show(Dimmed(_balanced.data()), StampOf(time));
}

// Objects, and every block that differed but belongs to none, as an object of its own: what is too small to be told is what
// rain is made of.
const std::uint16_t* Conditioner::EverySpot(const std::uint16_t* labels, const std::uint8_t* states) {
    std::uint16_t last = Kernels::LargestPlace(labels, _blockCount);
    std::copy(labels, labels + _blockCount, _spots.begin());
    const auto examine = [&](std::size_t first, std::size_t end) {
        for (std::size_t i = first; i < end; ++i) {
            const bool isSpot = labels[i] == 0 && states[i] == stateMotion && last < mostLabels;
            _spots[i] = isSpot ? ++last : labels[i];
        }
    };
    constexpr std::size_t together = 2 * sizeof(std::uint64_t);  // blocks, of which none differs in most places
    std::size_t first = 0;
    for (; _blockCount - first >= together; first += together) {
        std::uint64_t eight[2];
        std::memcpy(eight, states + first, sizeof eight);
        if ((eight[0] | eight[1]) != 0) {
            examine(first, first + together);
        }
    }
    examine(first, _blockCount);
    return _spots.data();
}

void Conditioner::Confirm(std::uint16_t* labels) {
    _gate.Confirm(labels, confirmedOld);
    const std::uint16_t largest = Kernels::LargestPlace(labels, _blockCount);
    for (std::size_t label = 1; label <= largest; ++label) {
        _isOld[label] = _gate.WouldConfirm(static_cast<std::uint16_t>(label), confirmedNew) ? 1 : 0;
    }
    DropUnless(_wasTold, labels);
    Kernels::MarkLabelled(labels, _wasTold.data(), _blockCount);
}

// Drops all that have no block where there was one before, but for those that are known to be old.
void Conditioner::DropUnless(const std::vector<std::uint8_t>& was, std::uint16_t* labels) {
    Kernels::ForEachLabelled(labels, _blockCount, [&](std::size_t i) { _isOld[labels[i]] |= was[i]; });
    Kernels::DropObjects(labels, _blockCount, [&](std::uint16_t label) { return _isOld[label] == 0; });
}

// Edges flash up where pictures cannot quite be moved back, and drops everywhere: an object counts where there was one in
// the picture before.
void Conditioner::DropNew(std::uint16_t* labels) {
    std::fill(_isOld.begin(), _isOld.end(), std::uint8_t{0});
    DropUnless(_wasObject, labels);
}

void Conditioner::OnAnswer(std::uint16_t* labels, const std::uint8_t* states, Ticks time) {
    if (!_isAnswered) {
        std::fill(labels, labels + _blockCount, std::uint16_t{0});
    }
    _disturbances.Look({.ycbcr = _picture,
                        .time = time,
                        .shiftX16 = _shift.dx16,
                        .shiftY16 = _shift.dy16,
                        .isStabilised = true,
                        .labels = _isAnswered && states ? EverySpot(labels, states) : nullptr});
    if (_disturbances.Began(Disturbance::Moved) || _disturbances.Began(Disturbance::Infrared)) {
        BeginNewScene();
    }
    if (_disturbances.Suppresses()) {
        std::fill(labels, labels + _blockCount, std::uint16_t{0});
        _hold.EndHold();
        _motion.EndHold();
    }
    Kernels::MarkLabelled(labels, _isObject.data(), _blockCount);
    if (_disturbances.IsRunning(Disturbance::Shaking) || _disturbances.IsRunning(Disturbance::Rain)) {
        DropNew(labels);
    }
    std::swap(_isObject, _wasObject);
    _hold.Hold(_balanced.data(), time, labels);
    _holes.Fill(labels);
    Confirm(labels);
    std::copy(labels, labels + _blockCount, _withStopped.begin());
    _motion.Hold(_balanced.data(), time, labels);
}

void Conditioner::Brighten(std::uint8_t* bgr, const std::int32_t* isKnown) const {
    for (std::size_t i = 0; i < _blockCount; ++i, bgr += 3) {
        const int luma = (29 * bgr[0] + 150 * bgr[1] + 77 * bgr[2]) / 256;
        const int missing = isKnown[i] != 0 ? luma * (10 - _dimming) / _dimming : 0;
        std::transform(bgr, bgr + 3, bgr,
                       [=](int value) { return static_cast<std::uint8_t>(std::min(value + missing, 255)); });
    }
}

}  // namespace Host
