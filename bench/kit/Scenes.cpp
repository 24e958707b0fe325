// What does the camera see while a pass is measured?
#include "Scenes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <memory>

namespace Bench {
namespace {

// One second of 25 frames; less on large grids, where the frames would fill the memory.
constexpr int cycleLength = 25;
constexpr int cycleLengthOnLargeGrid = 10;

// A frame's noise is a piece of one table, from a random place on: fresh in every frame, and quickly added.
constexpr std::size_t noisePlaces = 8191;

// A zone holds 32767 objects at most: on large grids, what makes many objects is kept to this part in the middle.
constexpr int widestObjectArea = 480, highestObjectArea = 270;

// A luma that changes with period 3 is never quiet: it differs from the frames before, and no two windows have equal sums.
constexpr int FlickerPhase(int n) { return n % 3; }

std::int8_t AsNoise(int value) { return static_cast<std::int8_t>(value); }

std::uint8_t AsByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace

std::string NameOf(SceneKind kind) {
    switch (kind) {
        case SceneKind::Still: return "still";
        case SceneKind::Noise: return "noise";
        case SceneKind::Moving: return "moving";
        case SceneKind::Random: return "random";
        case SceneKind::Lattice: return "lattice";
        case SceneKind::Cover: return "cover";
        case SceneKind::ShadowOnFew: return "shadow5";
        case SceneKind::ShadowEverywhere: return "shadow100";
    }
    std::abort();
}

Scene::Scene(SceneKind kind, GridSize grid) : _kind(kind), _grid(grid), _random(grid.Blocks()), _ground(RenderGround()) {
    if (kind == SceneKind::Still) {
        _events = {_ground};
        return;
    }
    RenderNoise();
    const int length = IsLarge(grid) ? cycleLengthOnLargeGrid : cycleLength;
    for (int n = 0; n < length; ++n) {
        _events.push_back(WithNoise());
        DrawEvent(_events.back(), n);
    }
    if (HasObjects(kind)) CountThings();
}

Scene::Frame Scene::RenderGround() {
    const std::size_t blocks = _grid.Blocks();
    Frame frame(3 * blocks);
    for (std::size_t i = 0; i < blocks; ++i) {
        const std::uint64_t random = _random.Next();
        frame[i] = static_cast<std::uint8_t>(80 + random % 70);
        frame[blocks + i] = static_cast<std::uint8_t>(118 + (random >> 16) % 20);
        frame[2 * blocks + i] = static_cast<std::uint8_t>(118 + (random >> 32) % 20);
    }
    return frame;
}

// The number of ones among some random bits is a small normal distribution.
void Scene::RenderNoise() {
    _noise.resize(_ground.size() + noisePlaces);
    for (std::size_t i = 0; i < _noise.size(); ++i)
        _noise[i] = i < _grid.Blocks() + noisePlaces ? AsNoise(std::popcount(_random.Next() >> 60) - 2)
                                                     : AsNoise(std::popcount(_random.Next() >> 62) - 1);
}

Scene::Frame Scene::WithNoise() {
    Frame frame = _ground;
    if (_noise.empty()) return frame;
    const std::int8_t* const noise = _noise.data() + _random.Next() % noisePlaces;
    for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<std::uint8_t>(frame[i] + noise[i]);
    return frame;
}

void Scene::DrawEvent(Frame& frame, int n) {
    switch (_kind) {
        case SceneKind::Still:
        case SceneKind::Noise: break;
        case SceneKind::Moving: DrawSquares(frame, n, 0.01, true); break;
        case SceneKind::Random: DrawRandom(frame); break;
        case SceneKind::Lattice: DrawLattice(frame, n); break;
        case SceneKind::Cover:
            ChangeLuma(frame, {0, 0, _grid.columns, _grid.rows}, [n](int luma) { return luma + 40 + 25 * FlickerPhase(n); });
            break;
        case SceneKind::ShadowOnFew: DrawSquares(frame, n, 0.05, false); break;
        case SceneKind::ShadowEverywhere: {
            const int middle = _grid.columns / 2;
            ChangeLuma(frame, {0, 0, middle, _grid.rows},
                       [n](int luma) { return luma * (50 + 12 * FlickerPhase(n)) / 100; });
            ChangeLuma(frame, {middle, 0, _grid.columns, _grid.rows}, [this, n](int) {
                return static_cast<int>(150 + _random.Next() % 50 + 25 * static_cast<unsigned>(FlickerPhase(n)));
            });
            break;
        }
    }
}

// Five squares side by side. Those in motion are bright and go to and fro; the others flicker in place, their left halves
// as shadows do.
void Scene::DrawSquares(Frame& frame, int n, double share, bool areInMotion) {
    constexpr int squares = 5;
    const int side =
        std::max(1, static_cast<int>(std::lround(std::sqrt(share * static_cast<double>(_grid.Blocks()) / squares))));
    const int length = IsLarge(_grid) ? cycleLengthOnLargeGrid : cycleLength;
    const int step = std::max(1, side / 8);
    const int offset = areInMotion ? step * std::min(n, length - n) : 0;
    for (int square = 0; square < squares; ++square) {
        const int left = _grid.columns * (2 * square + 1) / (2 * squares) - side / 2 + (square % 2 ? offset / 4 : 0);
        const int top = areInMotion ? _grid.rows / 8 + offset : (_grid.rows - side) / 2;
        const Area area{left, top, left + side, std::min(top + side, _grid.rows)};
        if (areInMotion) {
            ChangeLuma(frame, area, [this](int) { return static_cast<int>(190 + _random.Next() % 60); });
            continue;
        }
        const int middle = left + side / 2;
        ChangeLuma(frame, {area.left, area.top, middle, area.bottom},
                   [n](int luma) { return luma * (50 + 12 * FlickerPhase(n)) / 100; });
        ChangeLuma(frame, {middle, area.top, area.right, area.bottom}, [this, n](int) {
            return static_cast<int>(150 + _random.Next() % 50 + 25 * static_cast<unsigned>(FlickerPhase(n)));
        });
    }
}

void Scene::DrawRandom(Frame& frame) {
    ChangeLuma(frame, ObjectArea(), [this](int luma) {
        const std::uint64_t random = _random.Next();
        return random % 10 == 0 ? luma + 60 + static_cast<int>((random >> 32) % 40) : luma;
    });
}

// Neighbours in a row are 4 columns apart, rows are shifted by 2: one step closer in any direction would join them. Without
// a margin that grows with the grid, more than 32767 of them would lie on 512x256 blocks.
void Scene::DrawLattice(Frame& frame, int n) {
    const Area area = ObjectArea();
    const int margin = (area.bottom - area.top) / 64;
    for (int y = area.top + margin; y < area.bottom - margin; ++y)
        for (int x = area.left + margin + y % 2 * 2; x < area.right - margin; x += 4)
            frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(_grid.columns) + static_cast<std::size_t>(x)] =
                AsByte(180 + 25 * FlickerPhase(n));
}

// As the detector joins blocks: across a gap of one column, but not of one row.
void Scene::CountThings() {
    std::vector<std::uint8_t> isThing(_grid.Blocks());
    std::vector<int> queue;
    std::size_t things = 0;
    const auto take = [&](int x, int y) {
        if (x < 0 || y < 0 || x >= _grid.columns || y >= _grid.rows) return false;
        const int block = y * _grid.columns + x;
        if (!isThing[static_cast<std::size_t>(block)]) return false;
        isThing[static_cast<std::size_t>(block)] = 0;
        queue.push_back(block);
        return true;
    };
    for (const Frame& frame : _events) {
        for (std::size_t i = 0; i < isThing.size(); ++i) isThing[i] = std::abs(frame[i] - _ground[i]) > 24;
        for (int y = 0; y < _grid.rows; ++y)
            for (int x = 0; x < _grid.columns; ++x) {
                if (!take(x, y)) continue;
                for (++things; !queue.empty();) {
                    const int column = queue.back() % _grid.columns, row = queue.back() / _grid.columns;
                    queue.pop_back();
                    for (int step = -2; step <= 2; ++step) take(column + step, row);
                    for (int step = -1; step <= 1; ++step) {
                        take(column + step, row - 1);
                        take(column + step, row + 1);
                    }
                }
            }
    }
    _thingsPerFrame = static_cast<double>(things) / static_cast<double>(_events.size());
}

template <class Change>
void Scene::ChangeLuma(Frame& frame, Area area, Change change) {
    for (int y = area.top; y < area.bottom; ++y)
        for (int x = area.left; x < area.right; ++x) {
            std::uint8_t& luma =
                frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(_grid.columns) + static_cast<std::size_t>(x)];
            luma = AsByte(change(luma));
        }
}

Scene::Area Scene::ObjectArea() const {
    const int columns = std::min(_grid.columns, widestObjectArea), rows = std::min(_grid.rows, highestObjectArea);
    const int left = (_grid.columns - columns) / 2, top = (_grid.rows - rows) / 2;
    return {left, top, left + columns, top + rows};
}

Scene& SceneFor(SceneKind kind, GridSize grid) {
    static std::unique_ptr<Scene> scene;
    if (!scene || scene->Kind() != kind || !(scene->Grid() == grid)) {
        scene.reset();
        scene = std::make_unique<Scene>(kind, grid);
    }
    return *scene;
}

}  // namespace Bench
