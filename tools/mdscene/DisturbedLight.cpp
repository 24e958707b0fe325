// How bright is a row of the picture, and what is a colour in infrared?  See DisturbedLight.h.
#include "DisturbedLight.h"

#include <algorithm>
#include <cmath>

#include "Backdrop.h"
#include "SceneRandom.h"

namespace MdScene {
namespace {

constexpr double step = 0.2, deepestRamp = 0.4, hunting = 0.15, bars = 0.08;  // shares of the light

// What a disturbance does to the light of a row, y heights of the picture from its top.
double LightFactor(const Disturbance& one, double seconds, double y) {
    const double since = seconds - one.begin, part = since / (one.end - one.begin);
    switch (one.kind) {
        case DisturbanceKind::Light: return part < 0.5 ? 1 + step : 1 - step;
        case DisturbanceKind::Ramp: return 1 - deepestRamp * (1 - std::abs(2 * part - 1));
        case DisturbanceKind::Exposure:
            return since - std::floor(since / 10) * 10 < 6 ? 1 + hunting * Swing(since / 3) : 1.0;
        case DisturbanceKind::Banding: return 1 + bars * Swing(1.3 * y + 0.7 * since);
        default: return 1;
    }
}

// Plants and cloth are bright in infrared, differences of colour are gone.
Colour InfraredOf(Colour colour) {
    const float y = 1.164f * (colour.y - 16), cb = colour.cb - 128, cr = colour.cr - 128;
    const float red = y + 1.596f * cr, green = y - 0.392f * cb - 0.813f * cr, blue = y + 2.017f * cb;
    const float grey = std::clamp((0.5f * red + 0.3f * green + 0.2f * blue) / 255, 0.0f, 1.0f);
    const float root = std::sqrt(grey);
    return {16 + 219 * 0.9f * root * std::sqrt(root), 128, 128};  // to the power of 3/4
}

// From the lamps, which pass below the picture's edge or behind the houses' corner, to the far end of the light.
Shape ConeAt(double since, const Canvas& canvas) {
    constexpr double cycle = 8, sweep = 3;  // seconds
    const double turn = since - std::floor(since / cycle) * cycle;
    if (turn >= sweep) return {};
    const double height = canvas.height, width = canvas.width;
    const double share = turn / sweep, x = width * (1.5 * share - 0.25), spread = 0.18 * height;
    const double far = (farPavementTop - 0.08) * height, reach = x + width * (0.35 - 0.5 * share);
    return {.corners = {{x, 1.1 * height}, {reach - spread, far}, {reach + spread, far}}, .radius = 0.02 * height};
}

}  // namespace

void PaintHeadlights(const DisturbancePlan& plan, double seconds, Canvas& canvas) {
    for (const Disturbance& one : plan) {
        if (one.kind != DisturbanceKind::Headlights || !one.IsOn(seconds)) continue;
        const Shape cone = ConeAt(seconds - one.begin, canvas);
        if (cone.corners.empty()) continue;
        const double softness = 0.12 * canvas.height;
        const PixelBox reach = ReachOf(cone, softness, canvas);
        for (int y = reach.top; y < reach.bottom; ++y)
            for (int x = reach.left; x < reach.right; ++x) {
                const float share = static_cast<float>(CoverageOf(cone, x, y, softness));
                Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
                pixel = Scaled(pixel, 1 + 0.7f * share);
            }
    }
}

void Illuminate(const DisturbancePlan& plan, double seconds, float daylight, Canvas& canvas) {
    const bool isInfrared = IsOn(plan, DisturbanceKind::Infrared, seconds);
    for (int y = 0; y < canvas.height; ++y) {
        float light = daylight;
        for (const Disturbance& one : plan)
            if (one.IsOn(seconds))
                light *= static_cast<float>(LightFactor(one, seconds, static_cast<double>(y) / canvas.height));
        for (int x = 0; x < canvas.width; ++x) {
            Colour& pixel = canvas.pixels[canvas.IndexOf(x, y)];
            pixel = Scaled(pixel, light);
            if (isInfrared) pixel = InfraredOf(pixel);
        }
    }
}

}  // namespace MdScene
