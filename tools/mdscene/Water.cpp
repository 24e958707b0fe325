// How bright is a point of the water?  See Water.h.
#include "Water.h"

#include <algorithm>

#include "SceneRandom.h"

namespace MdScene {
namespace {

constexpr Colour deep = ColourOfRgb(62, 82, 88), sky = ColourOfRgb(176, 190, 202), glint = ColourOfRgb(244, 244, 236);

}  // namespace

Water::Water(std::uint64_t seed, double share, double wind) : _seed(Scramble(seed, 'W')), _share(share), _wind(wind) {}

void Water::Paint(double seconds, Canvas& canvas) const {
    const int shore = canvas.height - static_cast<int>(_share * canvas.height + 0.5);
    const double restless = std::min(1.0, 0.35 + 0.3 * _wind);
    for (int y = shore; y < canvas.height; ++y) {
        // As seen at a slant: ripples are flat and dense at the shore, large before the camera.
        const double depth = (y - shore + 0.5) / canvas.height, nearness = 0.25 + 1.6 * depth;
        const double along = 1 / (0.12 + depth), swellSpeed = 0.5 * seconds, chopSpeed = (0.4 + 0.5 * _wind) * seconds;
        for (int x = 0; x < canvas.width; ++x) {
            const double across = (x - canvas.width / 2.0) / canvas.height / nearness;
            // Two trains of ripples, -1..1; where both are high, the sun glints.
            const double swell = 2 * Landscape(_seed, across * 5 + swellSpeed, along * 7 + swellSpeed) - 1;
            const double chop = 2 * Landscape(_seed + 1, across * 17 - chopSpeed, along * 23 + 1.4 * chopSpeed) - 1;
            const double bright = 0.4 + restless * (0.25 * swell + 0.3 * chop);
            const double sun = std::clamp(restless * (swell + chop) * 3 - 2.4, 0.0, 1.0);
            const Colour surface = Mix(deep, sky, static_cast<float>(std::clamp(bright, 0.0, 1.0)));
            canvas.pixels[canvas.IndexOf(x, y)] = Mix(surface, glint, static_cast<float>(0.8 * sun));
        }
    }
}

}  // namespace MdScene
