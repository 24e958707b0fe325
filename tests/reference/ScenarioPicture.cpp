// What does the camera see?  The picture of each step: a scene that changes now and then, something that moves before it,
// and noise. Amounts lie around the limits of the detection, so that a limit off by one shows.
#include "Scenario.h"

#include <algorithm>
#include <cstdlib>

namespace Reference {

void Scenario::BeginEpisode() {
    const bool isFirst = _frame == 0 || _hasNewGrid;
    const bool wasPartial = _episode.isPartial;
    _episode = Episode();
    Episode& e = _episode;
    e.framesLeft = _random.OneIn(8) ? _random.Between(100, 220) : _random.Between(8, 60);
    ChooseTempo();
    e.isPartial = _stream == Stream::Partial || (_stream == Stream::Mixed && (_random.OneIn(3) ? !wasPartial : wasPartial));
    static constexpr int distances[] = {1, 1, 2, 2, 3, 5, 12, 30, 0};
    static constexpr int shares[] = {1, 2, 3, 12};
    e.iFrameDistance = isFirst ? _random.Between(1, 2) : _random.Pick(distances);
    e.iFrameShare = _random.Pick(shares);
    e.referenceKind = _random.Below(4);
    e.noisyBlocks = _random.Between(1, 4);
    e.driftPeriod = _random.Between(1, 15);

    const int kind = isFirst ? 0 : _random.Below(100);
    e.motion = kind < 25   ? Motion::Still
               : kind < 55 ? Motion::Marks
               : kind < 72 ? Motion::Rectangles
               : kind < 84 ? Motion::Shadows
               : kind < 90 ? Motion::Storm
                           : Motion::Drift;
    static constexpr int storms[] = {6, 30, 255};
    static constexpr int amplitudes[] = {0, 0, 0, 0, 1, 1, 2, 3, 9};
    e.noise = e.motion == Motion::Storm ? _random.Pick(storms) : isFirst ? _random.Below(2) : _random.Pick(amplitudes);
    if (e.isPartial && !isFirst && _random.OneIn(4)) {  // long enough for the I/P-frame machine to turn
        e.framesLeft = _random.Between(130, 240);
        e.motion = _random.OneIn(2) ? Motion::Rectangles : Motion::Marks;
    } else if (e.isPartial && !isFirst && _random.OneIn(4)) {
        e.framesLeft = 4 * _random.Between(1, 3);
        e.motion = Motion::Waking;
        e.noise = 0;
    }
    if (!isFirst && _random.OneIn(5)) ChangeScene();
    if (e.motion == Motion::Marks || e.motion == Motion::Waking) DrawMarks();
    if (e.motion == Motion::Rectangles || e.motion == Motion::Shadows) DrawRectangles(e.motion == Motion::Shadows);
}

// Steps that divide the time limits exactly, and their neighbours.
void Scenario::ChooseTempo() {
    static constexpr std::int64_t steps[] = {400'000,    400'000,    400'001,     333'333,    1'000'000,  2'000'000,
                                             2'000'000,  2'000'001,  2'500'000,   5'000'000,  5'000'000,  9'999'999,
                                             10'000'000, 10'000'000, 10'000'001,  20'000'000, 25'000'000, 49'999'999,
                                             50'000'000, 70'000'000, 100'000'000, 0,          1};
    static constexpr std::int64_t partialSteps[] = {20'000'000,  50'000'000,  80'000'000,  80'000'000,
                                                    100'000'000, 100'000'000, 200'000'000, 400'000'000};
    const bool isSlow = _stream == Stream::Partial && _random.OneIn(2);
    _episode.ticks = isSlow ? _random.Pick(partialSteps) : _random.Pick(steps);
    _episode.jitter = _random.OneIn(2) ? 0 : isSlow ? 1 : _random.Between(1, 3);
}

// -------------------------------------------------------------------------------------------------------------- scene

void Scenario::PaintScene() {
    _luma.assign(BlockCount(), 0);
    _cb.assign(BlockCount(), 128);
    _cr.assign(BlockCount(), 128);
    const int kind = _random.Below(5);
    const int level = _random.Between(20, 230), chroma = _random.OneIn(2) ? 20 : 127;
    static constexpr int borders[] = {0, 1, 38, 39, 40, 41, 100, 189, 190, 191, 192, 254, 255};
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        _luma[i] = kind == 0   ? level
                   : kind == 1 ? std::clamp(level + _random.Between(-8, 8), 0, 255)
                   : kind == 2 ? _random.Pick(borders)
                               : _random.Below(256);
        _cb[i] = 128 + _random.Between(-chroma, chroma);
        _cr[i] = 128 + _random.Between(-chroma, chroma);
    }
}

// Something stays different: a part of the scene, by a little or by a lot.
void Scenario::ChangeScene() {
    const int share = _random.Between(1, 4);
    static constexpr int amounts[] = {1, 2, 5, 12, 16, 22, 37, 90};
    const int amount = _random.Pick(amounts), sign = _random.OneIn(2) ? 1 : -1;
    for (std::size_t i = 0; i < BlockCount(); ++i)
        if (_random.OneIn(share)) {
            _luma[i] = std::clamp(_luma[i] + sign * amount, 0, 255);
            if (amount > 30) _cb[i] = _random.Below(256);
        }
}

// ------------------------------------------------------------------------------------------------------------- motion

void Scenario::DrawMarks() {
    Episode& e = _episode;
    e.luma.assign(BlockCount(), 0);
    e.cb.assign(BlockCount(), 0);
    e.cr.assign(BlockCount(), 0);
    static constexpr int lumaAmounts[] = {0,  0,  1,  2,  5,  7,  8,  9,  10, 11, 12, 13,
                                          14, 15, 16, 21, 22, 31, 32, 36, 37, 60, 120};
    static constexpr int chromaAmounts[] = {0, 0, 5, 6, 7, 9, 10, 11, 12, 30};
    const int kind = e.motion == Motion::Waking ? 7 : _random.Below(8), share = _random.Between(1, 6);
    const int columns = _random.Between(2, 5), rows = _random.Between(1, 4), strong = _random.Between(25, 120);
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        const int x = static_cast<int>(i) % _width, y = static_cast<int>(i) / _width;
        const int sign = _random.OneIn(2) ? 1 : -1;
        const bool isChosen = _random.OneIn(share);
        switch (kind) {
            case 0:  // around the limits
            case 1: e.luma[i] = isChosen ? sign * _random.Pick(lumaAmounts) : 0; break;
            case 2:  // around the limits of stability
                e.luma[i] = isChosen ? sign * _random.Between(0, 3) : 0;
                break;
            case 3:  // colour alone
                e.cb[i] = isChosen ? sign * _random.Pick(chromaAmounts) : 0;
                e.cr[i] = _random.OneIn(3) ? sign * _random.Pick(chromaAmounts) : 0;
                break;
            case 4:  // checkerboard
                e.luma[i] = (x + y) % 2 == 0 ? strong : 0;
                break;
            case 5:  // lattice
                e.luma[i] = x % columns == 0 && y % rows == 0 ? -strong : 0;
                break;
            case 6:  // lines
                e.luma[i] = x % columns == 0 ? strong : 0;
                break;
            default:  // scattered
                e.luma[i] = isChosen ? sign * strong : 0;
                break;
        }
    }
    const int period = _random.Between(5, 13);
    const struct {
        int period, duty;
    } patterns[] = {
        {1, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 3}, {10, 5}, {period, 1}, {period, period - 1}, {4 * period, 3 * period}};
    const auto& pattern = _random.Pick(patterns);
    e.period = pattern.period;
    e.duty = pattern.duty;
    e.shift = _random.OneIn(3) ? 1 : 0;
}

void Scenario::DrawRectangles(bool shadows) {
    static constexpr int chroma[] = {0, 0, 0, 5, 6, 7, 8, -6, -7, 12};
    for (int count = _random.Between(1, 4); count > 0; --count) {
        Rectangle r{};
        r.width = _random.Between(1, std::max(1, _width / 2));
        r.height = _random.Between(1, std::max(1, _height / 2));
        r.x = _random.Below(_width);
        r.y = _random.Below(_height);
        r.stepX = _random.OneIn(4) ? 0 : _random.Between(-2, 2);
        r.stepY = _random.OneIn(2) ? 0 : _random.Between(-1, 1);
        r.percent = shadows ? _random.Between(30, 97) : 100;
        r.luma = shadows ? 0 : (_random.OneIn(2) ? 1 : -1) * _random.Between(10, 120);
        r.cb = _random.OneIn(2) ? _random.Pick(chroma) : 0;
        r.cr = _random.OneIn(2) ? _random.Pick(chroma) : 0;
        _episode.rectangles.push_back(r);
    }
}

// ------------------------------------------------------------------------------------------------------------ picture

void Scenario::Paint(Step& step) {
    const Episode& e = _episode;
    if (e.motion == Motion::Drift && _frame % e.driftPeriod == 0) {
        const int sign = _random.OneIn(3) ? -1 : 1;
        for (int& luma : _luma) luma = std::clamp(luma + (_random.OneIn(e.noisyBlocks) ? sign : 0), 0, 255);
    }
    std::vector<int> luma = _luma, cb = _cb, cr = _cr;
    if (ShowsMarks())
        for (std::size_t i = 0; i < BlockCount(); ++i) {
            const std::size_t from = (i + static_cast<std::size_t>(e.shift * _frame)) % BlockCount();
            luma[i] += e.luma[from];
            cb[i] += e.cb[from];
            cr[i] += e.cr[from];
        }
    PaintRectangles(luma, cb, cr);
    AddNoise(luma, e.noise);
    if (e.noise > 1 && e.noisyBlocks == 2) {
        AddNoise(cb, e.noise);
        AddNoise(cr, e.noise);
    }
    for (const std::vector<int>* plane : {&luma, &cb, &cr})
        for (const int value : *plane) step.planes.push_back(static_cast<std::uint8_t>(std::clamp(value, 0, 255)));
    PaintReference(step);
}

bool Scenario::ShowsMarks() const {
    const Episode& e = _episode;
    return e.motion == Motion::Waking ? e.Beat() % 2 == 0 : e.motion == Motion::Marks && _frame % e.period < e.duty;
}

// Rectangles that leave the grid on one side come back on the other.
void Scenario::PaintRectangles(std::vector<int>& luma, std::vector<int>& cb, std::vector<int>& cr) const {
    const auto wrap = [](int value, int limit) { return ((value % limit) + limit) % limit; };
    for (const Rectangle& r : _episode.rectangles)
        for (int row = 0; row < r.height; ++row)
            for (int column = 0; column < r.width; ++column) {
                const int x = wrap(r.x + r.stepX * _frame, _width + r.width) - r.width + column;
                const int y = wrap(r.y + r.stepY * _frame, _height + r.height) - r.height + row;
                if (x < 0 || x >= _width || y < 0 || y >= _height) continue;
                const std::size_t i = static_cast<std::size_t>(y * _width + x);
                luma[i] = luma[i] * r.percent / 100 + r.luma;
                cb[i] += r.cb;
                cr[i] += r.cr;
            }
}

void Scenario::AddNoise(std::vector<int>& plane, int amplitude) {
    if (amplitude == 0) return;
    for (int& value : plane)
        if (_random.OneIn(_episode.noisyBlocks)) value += _random.Between(-amplitude, amplitude);
}

// What an MPEG-4 decoder gives beside the picture: nothing, the scene, or something around the limits.
void Scenario::PaintReference(Step& step) {
    const bool isGiven = _mpeg4 || _random.OneIn(10);
    if (!isGiven || _episode.referenceKind == 0 || _random.OneIn(20)) return;
    static constexpr int amounts[] = {0, 0, 0, 9, 10, 11, 12, 13, 20, 21, 22, 80};
    for (std::size_t i = 0; i < BlockCount(); ++i) {
        const int sign = _random.OneIn(2) ? 1 : -1;
        const int value = _episode.referenceKind == 1 ? _luma[i] : step.planes[i] + sign * _random.Pick(amounts);
        step.reference.push_back(static_cast<std::uint8_t>(std::clamp(value, 0, 255)));
    }
}

}  // namespace Reference
