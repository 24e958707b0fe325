// Where are drops and flakes, and how bright?  See Weather.h.
#include "Weather.h"

#include <cmath>

#include "SceneRandom.h"

namespace MdScene {
namespace {

constexpr double lengthUnit = 1.0 / 240;  // of the picture's height; sizes below are told in it
constexpr Colour water = ColourOfRgb(220, 220, 220), ice = ColourOfRgb(236, 238, 242);

// As dense in every size and shape of picture: so many in a picture of 4:3.
int CountIn(const Canvas& canvas, int count) { return count * 3 * canvas.width / (4 * canvas.height); }

double PartOf(double value) { return value - std::floor(value); }

void PaintRain(std::uint64_t seed, int number, Canvas& canvas) {
    const double unit = lengthUnit * canvas.height;
    Random random(Scramble(Scramble(seed, 'R'), static_cast<std::uint64_t>(number)));
    for (int drop = CountIn(canvas, 120); drop > 0; --drop) {
        const double x = random.Between(0, canvas.width), y = random.Between(-10 * unit, canvas.height);
        const double length = random.Between(8, 22) * unit, strength = random.Between(0.15, 0.45);
        const Shape streak = {.corners = {{x, y}, {x + 0.15 * length, y + length}}, .radius = 0.5 * unit};
        Blend(streak, 1, water, static_cast<float>(strength), canvas);
    }
}

void PaintSnow(double seconds, std::uint64_t seed, Canvas& canvas) {
    const double unit = lengthUnit * canvas.height;
    Random random(Scramble(seed, 'S'));
    for (int flake = CountIn(canvas, 140); flake > 0; --flake) {
        const double radius = random.Between(0.7, 2.4), nearness = radius / 2.4;  // near ones are large and fast
        const double fall = (0.12 + 0.28 * nearness) * random.Between(0.8, 1.2), drift = random.Between(0.02, 0.08);
        const double top = random.Unit(), left = random.Unit(), phase = random.Unit();
        const double y = PartOf(top + fall * seconds) * 1.1 - 0.05;
        const double x = PartOf(left + drift * seconds + 0.015 * Swing(0.6 * seconds + phase)) * 1.1 - 0.05;
        const Shape disc = {.corners = {{x * canvas.width, y * canvas.height}}, .radius = radius * unit};
        Blend(disc, 1.5, ice, static_cast<float>(0.35 + 0.4 * nearness), canvas);
    }
}

}  // namespace

void PaintWeather(const DisturbancePlan& plan, double seconds, int number, std::uint64_t seed, Canvas& canvas) {
    if (IsOn(plan, DisturbanceKind::Rain, seconds)) PaintRain(seed, number, canvas);
    if (IsOn(plan, DisturbanceKind::Snow, seconds)) PaintSnow(seconds, seed, canvas);
}

}  // namespace MdScene
