// How is each disturbance seen in one picture, and what is remembered of the earlier ones?  See Disturbances.h.
#include <algorithm>
#include <array>
#include <cstring>

#include "conditioning/Disturbances.h"
#include "conditioning/kernels/EdgeComparison.h"
#include "conditioning/kernels/LumaMeasures.h"
#include "conditioning/kernels/ObjectLabels.h"

namespace Host {
namespace {

using Kernels::BlockBox;
using Kernels::EdgeCounts;

constexpr Ticks anchorInterval = ticksPerSecond / 2;
constexpr int fastestStep = 8;   // grey levels by which a fresh reference follows, half of it four steps later, ...
constexpr int leastGrid = 8;     // blocks either way: below, a ninth says nothing
constexpr int leastSpread = 24;  // grey levels of a reference that can collapse
constexpr int leastColour = 32;  // 16ths of a level: of a picture that has colours
constexpr int leastEdges = 8;    // blocks of a ninth that tell whether it moved
constexpr int jump = 8;          // 16ths of a pixel
constexpr int lightLimit = 8;    // 64ths: the light changes by an eighth; automatic exposure does so by a tenth
constexpr std::uint32_t leastDrops = 16;
constexpr int scatteredNinths = 4;          // at least: rain is seen before what is dark
constexpr std::size_t blocksPerDrop = 300;  // a drop takes at most one of so many blocks

using Ninths = std::array<BlockBox, 9>;

// Without the last column and row: edges look at the next one.
Ninths NinthsOf(int columns, int rows) {
    Ninths ninths;
    for (int i = 0; i < 9; ++i) {
        const int column = i % 3, row = i / 3;
        ninths[static_cast<std::size_t>(i)] = {column * (columns - 1) / 3, row * (rows - 1) / 3,
                                               (column + 1) * (columns - 1) / 3, (row + 1) * (rows - 1) / 3};
    }
    return ninths;
}

// The last block of a row and the last row have no next one, so that the ninths are all that can be compared.
std::array<EdgeCounts, 9> CompareNinths(const std::uint8_t* luma, const std::uint8_t* reference, const Ninths& ninths,
                                        int columns) {
    std::array<EdgeCounts, 9> counts;
    for (std::size_t i = 0; i < 9; ++i) counts[i] = Kernels::CompareEdges(luma, reference, columns, ninths[i]);
    return counts;
}

EdgeCounts SumOf(const std::array<EdgeCounts, 9>& parts) {
    EdgeCounts sum;
    for (const EdgeCounts& part : parts) sum.Add(part);
    return sum;
}

// Most edges are gone from where they were, in all parts of the picture that have any but one, and about as many are
// elsewhere: whoever stands before the lens has few.
bool AreMoved(const std::array<EdgeCounts, 9>& parts, const EdgeCounts& sum) {
    int withEdges = 0, kept = 0;
    for (const EdgeCounts& part : parts) {
        const bool hasEdges = part.structured >= leastEdges;
        withEdges += hasEdges;
        kept += hasEdges && 2 * part.another < part.structured;
    }
    const bool areMostGone = 10 * sum.another >= 6 * sum.structured,
               areElsewhere = 4 * sum.structuredNow >= 3 * sum.structured;
    return withEdges >= 5 && kept <= 1 && areMostGone && areElsewhere;
}

// Are the steps correlated by less than a half?  Powers are halved together until their product fits.
bool IsUncorrelated(Kernels::StepPowers steps) {
    if (steps.product <= 0) return true;
    while (steps.power > 1 << 30 || steps.reference > 1 << 30) {
        steps.power /= 2;
        steps.reference /= 2;
        steps.product /= 2;
    }
    return 4 * steps.product * steps.product < steps.power * steps.reference;
}

}  // namespace

// What hardly ever is so is asked last, and only where all else speaks for it.
Disturbances::Appearance Disturbances::AppearanceOf(const std::uint8_t* ycbcr) const {
    if (_columns < leastGrid || _rows < leastGrid) return {};
    const Ninths ninths = NinthsOf(_columns, _rows);
    const Kernels::StepPowers steps =
        Kernels::CompareSteps(ycbcr, _reference.data(), _columns, {0, 0, _columns - 1, _rows - 1});
    const auto spread = [&] { return Kernels::LumaSpread(ycbcr, _blockCount); };

    std::array<int, 9> colours;
    for (std::size_t i = 0; i < 9; ++i)
        colours[i] = Kernels::Colourfulness(ycbcr + _blockCount, ycbcr + 2 * _blockCount, _columns, ninths[i]);
    std::sort(colours.begin(), colours.end());
    const int least = colours[2], most = colours[6];  // of seven ninths it holds: no bus takes that many

    const bool canCollapse = _referenceSpread >= leastSpread;
    const auto hasContrast = [&] { return 4 * steps.power >= steps.reference && 2 * spread() >= _referenceSpread; };
    const auto areMoved = [&] {
        const std::array<EdgeCounts, 9> parts = CompareNinths(ycbcr, _reference.data(), ninths, _columns);
        return AreMoved(parts, SumOf(parts));
    };
    const bool lostColour = _colour >= leastColour && 4 * most < _colour;
    const bool gotColour = least >= leastColour && 4 * _colour < least;
    return {.isCollapsed = canCollapse && 16 * steps.power < steps.reference && 4 * spread() < _referenceSpread,
            .isOtherColour = (lostColour || gotColour) && hasContrast(),
            .isElsewhere = IsUncorrelated(steps) && hasContrast() && areMoved(),
            .colour = most};
}

// Is the picture much the same as half a second ago?
bool Disturbances::IsSteady(const std::uint8_t* luma) const {
    const BlockBox all = {0, 0, _columns - 1, _rows - 1};
    const EdgeCounts edges = Kernels::CompareEdges(luma, _anchor[0].data(), _columns, all);
    return 10 * edges.another <= 3 * edges.structured;
}

// All over the picture it is brighter, or all over it is darker, and edges are where they were.
bool Disturbances::IsLight(const std::uint8_t* luma) const {
    if (_anchors < 2) return false;
    // Half of them are not that bright, and half not that dark: most pictures.
    const Kernels::RatioTails tails = Kernels::CountRatioTails(luma, _anchor[0].data(), Kernels::evenRatio - lightLimit,
                                                               Kernels::evenRatio + lightLimit, _blockCount);
    if (tails.compared - tails.high > tails.compared / 2 && tails.low <= tails.compared / 2) return false;
    const Kernels::RatioQuartiles ratios = Kernels::CompareBrightness(luma, _anchor[0].data(), _blockCount);
    if (ratios.compared < _blockCount / Kernels::ratioStep / 4) return false;
    const bool isBrighter =
        ratios.middle >= Kernels::evenRatio + lightLimit && ratios.low > Kernels::evenRatio + lightLimit / 2;
    const bool isDarker =
        ratios.middle <= Kernels::evenRatio - lightLimit && ratios.high < Kernels::evenRatio - lightLimit / 2;
    if (!isBrighter && !isDarker) return false;
    const BlockBox all = {0, 0, _columns - 1, _rows - 1};
    const EdgeCounts edges = Kernels::CompareEdges(luma, _anchor[0].data(), _columns, all);
    return 10 * edges.another <= 4 * edges.structured;
}

bool Disturbances::IsShaking(const PictureSigns& signs) {
    const int right = signs.shiftX16 - _lastShiftX16, down = signs.shiftY16 - _lastShiftY16;
    const bool jumped = right >= jump || right <= -jump || down >= jump || down <= -jump;
    _jumpiness += ((jumped ? 256 : 0) - _jumpiness) / 8;
    _lastShiftX16 = signs.shiftX16;
    _lastShiftY16 = signs.shiftY16;
    return _jumpiness >= 128;
}

// Many small objects in many ninths of the picture, hardly any where there was one in the picture before.
bool Disturbances::IsRain(const std::uint16_t* labels) {
    if (labels == nullptr || _columns < leastGrid || _rows < leastGrid) return false;
    const std::size_t places = std::min(std::size_t{Kernels::LargestPlace(labels, _blockCount)} + 1, _objectSize.size());
    std::fill_n(_objectSize.begin(), places, 0u);
    std::array<bool, 9> isHit = {};
    std::size_t labelled = 0, again = 0;
    Kernels::ForEachLabelled(labels, _blockCount, [&](std::size_t i) {
        const std::uint16_t label = labels[i];
        again += _wasLabelled[i] != 0;
        if (label >= _objectSize.size()) return;
        ++labelled;
        ++_objectSize[label];
        const std::size_t column = i % static_cast<std::size_t>(_columns), row = i / static_cast<std::size_t>(_columns);
        isHit[row * 3 / static_cast<std::size_t>(_rows) * 3 + column * 3 / static_cast<std::size_t>(_columns)] = true;
    });
    Kernels::MarkLabelled(labels, _wasLabelled.data(), _blockCount);
    std::uint32_t objects = 0, largest = 0;
    for (std::size_t label = 1; label < places; ++label) {
        objects += _objectSize[label] > 0;
        largest = std::max(largest, _objectSize[label]);
    }
    const bool isLarge = largest > std::max<std::size_t>(4, _blockCount / blocksPerDrop);
    const bool isScattered = std::count(isHit.begin(), isHit.end(), true) >= scatteredNinths;
    const bool looksLikeRain = objects >= leastDrops && isScattered && 3 * again < labelled && !isLarge;
    _raininess += ((looksLikeRain ? 256 : 0) - _raininess) / 8;
    return _raininess >= 128;
}

// The picture is the reference from now on, whoever stands in it; it is soon corrected.
void Disturbances::Adopt(const std::uint8_t* ycbcr) {
    std::memcpy(_reference.data(), ycbcr, _blockCount);
    _referenceSpread = Kernels::LumaSpread(ycbcr, _blockCount);
    _learned = 0;
    _colour = AppearanceOf(ycbcr).colour;
}

// A step towards the picture, however far that is: what is seen most of the time prevails, not what stands out most.
void Disturbances::LearnLuma(const std::uint8_t* luma) {
    const int step = std::max(1, fastestStep >> std::min(_learned++ / 4, 3));
    Kernels::StepTowards(luma, _reference.data(), static_cast<std::uint8_t>(step), _blockCount);
}

void Disturbances::KeepAnchors(const std::uint8_t* luma, Ticks time) {
    if (_anchors == 2 && time - _anchorTime < anchorInterval) return;
    _anchor[0].swap(_anchor[1]);
    std::memcpy(_anchor[1].data(), luma, _blockCount);
    if (_anchors == 0) _anchor[0] = _anchor[1];
    _anchors = 2;
    _anchorTime = time;
}

}  // namespace Host
