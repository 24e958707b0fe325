// Where are insects, thread and cover, and how bright?  See LensObstacles.h.
#include "LensObstacles.h"

#include <algorithm>
#include <cmath>

#include "SceneRandom.h"

namespace MdScene {
namespace {

// A bright blob out of focus: brightest in its middle, nothing at its rim.
void PaintBlob(Point middle, double radius, float strength, Canvas& canvas) {
    constexpr Colour bright = ColourOfRgb(244, 244, 240);
    const PixelBox reach = ReachOf({.corners = {middle}, .radius = radius}, 1, canvas);
    for (int y = reach.top; y < reach.bottom; ++y)
        for (int x = reach.left; x < reach.right; ++x) {
            const double dx = (x + 0.5 - middle.x) / radius, dy = (y + 0.5 - middle.y) / radius;
            const double inside = std::max(0.0, 1 - dx * dx - dy * dy);
            Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
            pixel = Mix(pixel, bright, strength * static_cast<float>(inside * inside));
        }
}

// One sets out every 0.9 seconds and crosses the picture on a bent path.
void PaintInsects(double since, std::uint64_t seed, Canvas& canvas) {
    constexpr double every = 0.9, longestFlight = 1.8;  // seconds
    const int newest = static_cast<int>(since / every);
    for (int insect = std::max(0, newest - static_cast<int>(longestFlight / every)); insect <= newest; ++insect) {
        Random random(Scramble(Scramble(seed, 'I'), static_cast<std::uint64_t>(insect)));
        const double flight = random.Between(0.7, longestFlight), share = (since - insect * every) / flight;
        const double radius = random.Between(0.05, 0.15), strength = random.Between(0.5, 0.95);
        const double from = random.Unit(), to = random.Unit(), bend = random.Between(-0.3, 0.3);
        const bool leftwards = random.Below(2) != 0;
        if (share >= 1) continue;
        const double along = share * (1 + 2 * radius) - radius;  // beyond the edges at both ends
        const Point middle = {(leftwards ? 1 - along : along) * canvas.width,
                              (from + (to - from) * share + bend * Swing(share)) * canvas.height};
        PaintBlob(middle, radius * canvas.height, static_cast<float>(strength), canvas);
    }
}

// From the upper edge to the right one; its middle swings.
void PaintThread(double since, Canvas& canvas) {
    constexpr Colour silk = ColourOfRgb(216, 218, 222);
    const double width = canvas.width, height = canvas.height;
    const double swing = (0.6 * Swing(since / 1.7) + 0.4 * Swing(since / 4.3)) * 0.05 * height;
    const Point top = {0.35 * width, -0.05 * height}, side = {width + 0.05 * height, 0.8 * height};
    const Point middle = {0.72 * width + swing, 0.3 * height + 0.6 * swing};
    for (const Shape& half : {Shape{{top, middle}, 0.008 * height}, Shape{{middle, side}, 0.008 * height}})
        Blend(half, 0.02 * height, silk, 0.4f, canvas);
}

void PaintCover(float share, std::uint64_t seed, Canvas& canvas) {
    constexpr float darkest = 18, structure = 8;  // video levels
    const double cells = 10.0 / canvas.height;
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            const double cloth = Landscape(Scramble(seed, 'C'), x * cells, y * cells);
            Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
            pixel = Mix(pixel, {darkest + structure * static_cast<float>(cloth), 128, 128}, share);
        }
}

}  // namespace

float CoverAt(const DisturbancePlan& plan, double seconds) {
    constexpr double fade = 0.6;  // seconds
    double share = 0;
    for (const Disturbance& one : plan)
        if (one.kind == DisturbanceKind::Covered && one.IsOn(seconds))
            share = std::max(share, std::min({1.0, (seconds - one.begin) / fade, (one.end - seconds) / fade}));
    return static_cast<float>(share);
}

void PaintLensObstacles(const DisturbancePlan& plan, double seconds, std::uint64_t seed, Canvas& canvas) {
    for (const Disturbance& one : plan) {
        if (!one.IsOn(seconds)) continue;
        if (one.kind == DisturbanceKind::Insects) PaintInsects(seconds - one.begin, seed, canvas);
        if (one.kind == DisturbanceKind::Web) PaintThread(seconds - one.begin, canvas);
    }
    if (const float cover = CoverAt(plan, seconds); cover > 0) PaintCover(cover, seed, canvas);
}

}  // namespace MdScene
