// Where do leaves grow, and where does the wind take them?  See Foliage.h.
#include "Foliage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "SceneRandom.h"

namespace MdScene {
namespace {

constexpr Colour leafGreen = ColourOfRgb(78, 108, 48);

// The higher, the denser: large bushes at the picture's sides, with an outline of leaves.
double GrowthAt(std::uint64_t seed, double x, double y, double pictureWidth) {
    const double fromMiddle = std::abs(2 * x / pictureWidth - 1);
    const double bushes = Landscape(seed, x * 2.3, y * 2.3), twigs = Landscape(seed + 1, x * 19, y * 19);
    return bushes + 0.5 * fromMiddle + 0.12 * twigs + 0.08 * Landscape(seed + 2, x * 60, y * 60);
}

}  // namespace

Foliage::Foliage(int width, int height, std::uint64_t seed, double share, double wind)
    : _wind(wind), _width(width), _height(height) {
    if (share <= 0) return;
    const std::uint64_t growthSeed = Scramble(seed, 'F');
    const double pictureWidth = static_cast<double>(width) / height;
    std::vector<double> growth;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            growth.push_back(GrowthAt(growthSeed, (x + 0.5) / height, (y + 0.5) / height, pictureWidth));

    std::vector<double> sorted = growth;  // so that the share is exact
    const auto bare = static_cast<std::ptrdiff_t>((1 - share) * static_cast<double>(sorted.size() - 1));
    std::nth_element(sorted.begin(), sorted.begin() + bare, sorted.end());
    const double threshold = sorted[static_cast<std::size_t>(bare)];

    _leaf.reserve(growth.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double realX = (x + 0.5) / height, realY = (y + 0.5) / height;
            const double inside =
                growth[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] -
                threshold;
            const double blades = Landscape(growthSeed + 3, realX * 75, realY * 75);
            const double depth = Landscape(growthSeed + 4, realX * 24, realY * 24);
            _leaf.push_back({.colour = Scaled(leafGreen, static_cast<float>(0.3 + 0.8 * blades + 0.4 * depth)),
                             .cover = static_cast<float>(std::clamp(0.5 + inside * 60, 0.0, 1.0)),
                             .bough = static_cast<float>(Landscape(growthSeed + 5, realX * 7, realY * 7)),
                             .phase = static_cast<float>(Landscape(growthSeed + 6, realX * 50, realY * 50))});
        }
}

// Every pixel looks up where its leaf came from.  Gusts run through the picture, boughs swing by themselves, leaves turn
// their lighter side.
void Foliage::Paint(double seconds, Canvas& canvas) const {
    if (_leaf.empty()) return;
    const double reach = _wind * 0.007 * _height;  // pixels
    const double flutter = std::min(0.35, 0.12 * _wind);
    const auto at = [this](int x, int y) -> const Leaf& {
        return _leaf[static_cast<std::size_t>(y) * static_cast<std::size_t>(_width) + static_cast<std::size_t>(x)];
    };
    const auto mix = [](const Leaf& a, const Leaf& b, float share) {
        return Leaf{Mix(a.colour, b.colour, share), a.cover + (b.cover - a.cover) * share, 0, 0};
    };
    for (int y = 0; y < _height; ++y)
        for (int x = 0; x < _width; ++x) {
            const double bough = at(x, y).bough;
            const double gust = 0.5 + 0.5 * Swing(seconds / 4.1 - 0.4 * x / _height) * Swing(seconds / 9.7);
            const double right = gust * (0.6 * Swing(seconds / 1.9 + bough) + 0.4 * Swing(seconds / 0.83 + 3 * bough));
            const double down = gust * 0.5 * Swing(seconds / 1.3 + 2 * bough);
            const double fromX = std::clamp(x - reach * right, 0.0, _width - 1.001);
            const double fromY = std::clamp(y - reach * down, 0.0, _height - 1.001);
            const int column = static_cast<int>(fromX), row = static_cast<int>(fromY);
            const float partX = static_cast<float>(fromX - column), partY = static_cast<float>(fromY - row);
            const Leaf leaf = mix(mix(at(column, row), at(column + 1, row), partX),
                                  mix(at(column, row + 1), at(column + 1, row + 1), partX), partY);
            if (leaf.cover <= 0) continue;
            const double turned = flutter * gust * Swing(seconds / 0.47 + 4 * at(column, row).phase);
            Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
            pixel = Mix(pixel, Scaled(leaf.colour, static_cast<float>(1 + turned)), leaf.cover);
        }
}

}  // namespace MdScene
