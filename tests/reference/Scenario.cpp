// What is the detector told?  Zones, setters, times, flags and the grid of each step.
#include "Scenario.h"

#include <algorithm>
#include <limits>

namespace Reference {

static constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
static constexpr std::int64_t minTime = std::numeric_limits<std::int64_t>::min();
static constexpr std::int64_t maxTime = std::numeric_limits<std::int64_t>::max();

MDZoneInfo ZoneSetting::Info() { return {mask.data(), width, height, value, minWidth, minHeight}; }

DetectionInfo Step::Info() {
    static std::uint8_t pixel;  // the BGR picture is demanded but not read: one byte will do
    DetectionInfo info = frame;
    info.bgr24ForEachBlock = &pixel;
    info.ycbcrForEachBlock = planes.data();
    info.mpeg4ReferenceLuma = reference.empty() ? nullptr : reference.data();
    return info;
}

Scenario::Scenario(std::uint64_t seed) : _random(seed) {
    static constexpr Stream streams[] = {Stream::Standard, Stream::Standard, Stream::Standard, Stream::Mpeg4, Stream::Mpeg4,
                                         Stream::Partial,  Stream::Partial,  Stream::Partial,  Stream::Mixed, Stream::Mixed};
    static constexpr Grids grids[] = {Grids::One,    Grids::Row,    Grids::Row,    Grids::Column, Grids::Column,
                                      Grids::Tiny,   Grids::Tiny,   Grids::Tiny,   Grids::Tiny,   Grids::Small,
                                      Grids::Small,  Grids::Small,  Grids::Small,  Grids::Small,  Grids::Small,
                                      Grids::Medium, Grids::Medium, Grids::Medium, Grids::Medium, Grids::Large};
    _stream = _random.Pick(streams);
    _grids = _random.Pick(grids);
    _hasWildTimes = _random.OneIn(8);
    _hasRestarts = _random.OneIn(3);
    _hasRemovals = _random.OneIn(3);
    _mayDropAll = _grids >= Grids::Tiny && _random.OneIn(4);
    _frames = _grids == Grids::Large                                  ? _random.Between(60, 160)
              : _grids == Grids::Medium || _stream == Stream::Partial ? _random.Between(150, 500)
                                                                      : _random.Between(300, 1200);
    static constexpr std::int64_t starts[] = {0, 1, -1, 10'000'000, 638'000'000'000'000'000, -700'000'000};
    static constexpr std::int64_t wildStarts[] = {minTime, minTime + 5, maxTime - 700'000'000, maxTime, 0};
    _time = _hasWildTimes ? _random.Pick(wildStarts) : _random.Pick(starts);
}

Step Scenario::Next() {
    Step step;
    _hasNewGrid = false;
    _lastTime = _time;
    if (_frame == 0) ChooseGrid();
    if (_episode.framesLeft == 0) BeginEpisode();
    if (_frame > 0) PrepareTime();
    PrepareZones(step);
    PrepareSetters(step);
    PrepareFlags(step);
    Paint(step);
    static constexpr Reading rare[] = {Reading::Twice, Reading::WithoutSummary, Reading::FirstObject, Reading::Nothing};
    step.reading = _random.OneIn(12) ? _random.Pick(rare) : Reading::Everything;
    --_episode.framesLeft;
    ++_frame;
    return step;
}

// ------------------------------------------------------------------------------------------------- grid, time, restarts

void Scenario::ChooseGrid() {
    const int oldWidth = _width, oldHeight = _height;
    const int least = _mayDropAll ? 2 : 1;
    do {
        switch (_grids) {
            case Grids::One:
                _width = _random.Between(1, 8) / 8 + 1;
                _height = _random.Between(1, 8) / 8 + 1;
                break;
            case Grids::Row:
                _width = _random.Between(1, 40);
                _height = 1;
                break;
            case Grids::Column:
                _width = 1;
                _height = _random.Between(1, 40);
                break;
            case Grids::Tiny:
                _width = _random.Between(least, 9);
                _height = _random.Between(least, 9);
                break;
            case Grids::Small:
                _width = _random.Between(6, 20);
                _height = _random.Between(6, 20);
                break;
            case Grids::Medium:
                _width = _random.Between(16, 40);
                _height = _random.Between(12, 30);
                break;
            case Grids::Large:
                _width = _random.Between(60, 96);
                _height = _random.Between(40, 64);
                break;
        }
    } while (_width == oldWidth && _height == oldHeight);
    PaintScene();
}

void Scenario::PrepareTime() {
    static constexpr std::int64_t jumps[] = {20'000'000,  50'000'000,  50'000'001,  100'000'000, 100'000'001, 150'000'001,
                                             300'000'000, 400'000'000, 400'000'001, 600'000'000, 600'000'001, 610'000'000};
    std::int64_t ticks = _episode.ticks;
    if (_episode.jitter == 1) ticks = std::max<std::int64_t>(0, ticks + _random.Between(-1, 1));
    else if (_episode.jitter == 2)
        ticks = static_cast<std::int64_t>(_random.Next() % static_cast<std::uint64_t>(2 * ticks + 1));
    else if (_episode.jitter == 3 && _random.OneIn(12)) ticks = _random.Pick(jumps);
    if (_episode.motion == Motion::Waking) ticks = WakingTicks();
    if (_hasWildTimes && _random.OneIn(60))
        ticks = _random.OneIn(3) ? maxTime : static_cast<std::int64_t>(_random.Next() >> _random.Between(1, 20));
    if (_time <= maxTime - ticks) _time += ticks;
    else if (_hasRestarts && _zones > 0) _time = minTime;  // as if the host's clock wrapped around
}

// To the limits of the I/P-frame machine, or a tick beside them.
std::int64_t Scenario::WakingTicks() {
    const std::int64_t limit = _episode.Beat() == 1 ? 400'000'000 : _random.OneIn(3) ? 100'000'000 : 10'000'000;
    return limit + _random.Between(-1, 1);
}

// Another grid or an earlier time makes the detector give up what it has learned: needed where zones were added.
void Scenario::StartAfresh() {
    static constexpr std::int64_t backs[] = {1, 2, 400'000, 10'000'000, 600'000'001, 1'000'000'000};
    if (_random.OneIn(2) || _lastTime < minTime + 1'000'000'000) {
        _hasNewGrid = true;
        ChooseGrid();
        BeginEpisode();
    } else {
        _time = _lastTime - _random.Pick(backs);
    }
}

// -------------------------------------------------------------------------------------------------------------- zones

void Scenario::PrepareZones(Step& step) {
    if (_frame == 0) {
        AddZones(step, _random.Between(1, 4));
    } else if (_zones == 0) {
        if (--_framesWithoutZones > 0) return;
        AddZones(step, _random.Between(1, 4));
        StartAfresh();
    } else if (_hasRemovals && _random.OneIn(150)) {
        step.removeZones = true;
        _zones = 0;
        if (StartsAfresh() || _random.OneIn(2)) {
            AddZones(step, _random.Between(1, 4));
            StartAfresh();
        } else {
            _framesWithoutZones = _random.Between(1, 8);
        }
    } else if (_hasRemovals && _zones < 4 && _random.OneIn(200)) {
        AddZones(step, 1);
        StartAfresh();
    } else if (_hasRestarts && _random.OneIn(150)) {
        StartAfresh();
    }
}

void Scenario::AddZones(Step& step, int count) {
    _zones += count;
    for (int i = 0; i < count; ++i) step.addZones.push_back(DrawZone());
}

// Minimum sizes beyond the grid go with masks of half the grid: an object that fills the grid must not be small.
ZoneSetting Scenario::DrawZone() {
    ZoneSetting zone;
    zone.value = static_cast<float>(_random.Below(100)) / 100.0f;
    const bool mayDropAll = _mayDropAll && _random.OneIn(2);
    if (mayDropAll) {
        const bool isLeft = _random.OneIn(2);
        zone.width = isLeft ? 2 : 1;
        zone.height = isLeft ? 1 : 2;
        zone.mask = {1, 0};
    } else {
        switch (_random.Below(6)) {
            case 0: break;  // one cell for everything
            case 1:
                zone.width = _width;
                zone.height = _height;
                break;
            case 2:
                zone.width = std::min(3 * _width, 120);
                zone.height = std::min(2 * _height, 90);
                break;
            case 3:
                zone.width = _width + 1;
                zone.height = _height + 3;
                break;
            default:
                zone.width = _random.Between(1, 12);
                zone.height = _random.Between(1, 12);
                break;
        }
        zone.mask = DrawMask(zone.width, zone.height);
    }
    if (_random.OneIn(2)) {
        zone.minWidth = DrawMinimum(_width, mayDropAll);
        zone.minHeight = DrawMinimum(_height, mayDropAll);
    }
    return zone;
}

std::vector<std::uint8_t> Scenario::DrawMask(int width, int height) {
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
    const int kind = _random.Below(10);
    const int cut = _random.Between(0, width);
    std::size_t i = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, ++i) {
            bool isSet = true;  // half of the masks are full
            if (kind == 0) isSet = false;
            else if (kind <= 2) isSet = x < cut;
            else if (kind == 3) isSet = x >= cut;
            else if (kind == 4) isSet = _random.OneIn(3);
            mask[i] = isSet ? static_cast<std::uint8_t>(_random.Between(1, 255)) : std::uint8_t{0};
        }
    return mask;
}

float Scenario::DrawMinimum(int blocks, bool mayDropAll) {
    static constexpr float odd[] = {static_cast<float>(notANumber), -0.0f, -0.5f, -1e30f, 1e-30f, 1.0f};
    static constexpr float huge[] = {1.5f, 3.0f, 1e9f, 1e30f, std::numeric_limits<float>::infinity()};
    if (mayDropAll && _random.OneIn(3)) return _random.Pick(huge);
    switch (_random.Below(5)) {
        case 0: return 0.0f;
        case 1: return _random.Pick(odd);
        case 2: return static_cast<float>(_random.Below(1001)) / 1000.0f;
        default:  // a whole number of blocks, mostly few
            return static_cast<float>(std::min(blocks, _random.Between(1, 4))) / static_cast<float>(blocks);
    }
}

// -------------------------------------------------------------------------------------------------- setters and flags

void Scenario::PrepareSetters(Step& step) {
    static constexpr int limits[] = {0, 1, 1, 1, 2, 3, 255, 256, 257, -1, -255, 0x7FFFFF01};
    static constexpr int longTimes[] = {0, 1, 1, 2, 255, 256, -1, -256, 0x100, 0x7FFFFF01};
    const int cases = _frame == 0 ? 3 : 80;
    if (_random.OneIn(cases)) step.limit = _random.Pick(limits);
    if (_random.OneIn(cases)) step.longTimes = _random.Pick(longTimes);
}

// Any value but zero is true.
int Scenario::Flag(bool value) {
    static constexpr int trues[] = {1, 1, 1, 2, 256, -1, std::numeric_limits<int>::min()};
    return value ? _random.Pick(trues) : 0;
}

void Scenario::PrepareFlags(Step& step) {
    static constexpr double rates[] = {25.0, 25.0, 5.0, 5.0, 10.0, 1.0, 30.0, 12.5, 2.0, 0.5, 1000.0};
    static constexpr double oddRates[] = {0.0, -1.0, notANumber, std::numeric_limits<double>::infinity(), 1e-9};
    const bool isOdd = _random.OneIn(8);
    const double rate = isOdd ? _random.Pick(oddRates) : _random.Pick(rates);
    const bool shadow = _random.OneIn(3);
    const bool mpeg4 = _stream == Stream::Mpeg4 || (_stream == Stream::Mixed && _random.OneIn(2)) || _random.OneIn(10);
    const bool startsAfresh = StartsAfresh();
    if (startsAfresh) {
        _fps = rate;
        _shadow = shadow;
        _mpeg4 = mpeg4;
    }
    const bool tellsOther = !startsAfresh && _random.OneIn(25);  // without effect until the detector starts afresh
    if (_episode.isPartial && _episode.iFrameDistance > 0) _sinceIFrame = (_sinceIFrame + 1) % _episode.iFrameDistance;

    DetectionInfo& frame = step.frame;
    frame.width = _width;
    frame.height = _height;
    frame.bgr24stride = _random.Between(1, 3 * _width);
    frame.timestamp = _time;
    frame.extraFlag1 = Flag(_random.OneIn(2));
    frame.isIFrame = Flag(_random.OneIn(_episode.iFrameShare));
    frame.fps = tellsOther ? rate : _fps;
    frame.passThroughFlag = Flag(_random.OneIn(2));
    frame.detectShadow = Flag(tellsOther ? shadow : _shadow);
    frame.extraFlag2 = Flag(_random.OneIn(2));
    frame.reserved = _random.Between(-5, 5);
    frame.isMPEG4 = Flag(tellsOther ? mpeg4 : _mpeg4);
    frame.isH264Partly = Flag(_episode.isPartial);
    frame.isH264PartlyIFrame = Flag(_episode.motion == Motion::Waking ? _episode.Beat() >= 2
                                    : _episode.isPartial              ? _episode.iFrameDistance > 0 && _sinceIFrame == 0
                                                                      : _random.OneIn(2));
}

}  // namespace Reference
