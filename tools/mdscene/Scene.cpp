// In which order is a frame rendered?  Backdrop, water, leaves, shadows, things from back to front, the camera's motion,
// weather, light, what is on the lens, chroma, noise: see Scene.h.
#include "Scene.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

#include "CameraMotion.h"
#include "DisturbedLight.h"
#include "LensObstacles.h"
#include "SceneRandom.h"
#include "Weather.h"

namespace MdScene {
namespace {

constexpr float shadowStrength = 0.42f;  // of the light that a shadow takes away
constexpr double driftCycle = 47;        // seconds in which the light rises and falls, away from any other period
constexpr double driftStrength = 0.03;   // of the light
constexpr std::uint8_t blackLuma = 16, whiteLuma = 235;

const Settings& Checked(const Settings& settings) {
    assert(settings.width >= 32 && settings.width <= 7680);
    assert(settings.height >= 32 && settings.height <= 4320);
    assert(settings.fps > 0 && settings.frames >= 0 && settings.quietSeconds >= 0);
    assert(settings.pauseSeconds >= -60 && settings.pauseSeconds <= 1e6);
    assert(settings.noise >= 0 && settings.noise <= 20);
    assert(settings.wind >= 0 && settings.wind <= 10);
    assert(settings.foliage >= 0 && settings.foliage <= 0.8);
    assert(settings.water >= 0 && settings.water <= 0.8);
    for (const Disturbance& one : settings.disturbances) assert(one.begin >= 0 && one.end >= one.begin);
    return settings;
}

std::vector<Actor> ActorsOf(const Settings& settings) {
    if (settings.isEmpty) return {};
    return MakeActors({.quietSeconds = settings.quietSeconds,
                       .pauseSeconds = settings.pauseSeconds,
                       .endSeconds = settings.frames / settings.fps,
                       .pictureWidth = static_cast<double>(settings.width) / settings.height},
                      settings.seed);
}

std::uint8_t ByteOf(float value) { return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5f), 0.0f, 255.0f)); }

// The actors who are on their way at a moment, with their position in frame.things.
struct Present {
    std::size_t thing;
    Figure figure;
};

void PaintShadow(const Figure& figure, Canvas& canvas, Frame& frame, PixelBox& touched) {
    const double softness = figure.shadowSoftness;
    const PixelBox reach = ReachOf(figure.shadow, softness, canvas);
    for (int y = reach.top; y < reach.bottom; ++y)
        for (int x = reach.left; x < reach.right; ++x) {
            const float strength = shadowStrength * static_cast<float>(CoverageOf(figure.shadow, x, y, softness));
            if (strength <= 0) continue;
            const std::size_t index = canvas.IndexOf(x, y);
            const Colour lit = canvas.pixels[index];
            // Shadows are lit by the sky alone: darker, a little duller.
            canvas.pixels[index] = Mix(Scaled(lit, 1 - strength), {Scaled(lit, 1 - strength).y, 128, 128}, strength * 0.3f);
            frame.mask[index] = maskShadow;
            touched.Add(x, y);
        }
}

Colour ColourOfRow(const Part& part, const PixelBox& reach, int y) {
    const float share = static_cast<float>(y - reach.top) / static_cast<float>(std::max(1, reach.bottom - reach.top - 1));
    return Mix(part.top, part.bottom, share);
}

// Paints the parts over one another; `cover` collects how much of every pixel the whole figure hides.
void PaintParts(const Figure& figure, Canvas& canvas, std::vector<float>& cover, PixelBox& touched) {
    for (const Part& part : figure.parts) {
        const PixelBox reach = ReachOf(part.shape, 1, canvas);
        for (int y = reach.top; y < reach.bottom; ++y) {
            const Colour colour = ColourOfRow(part, reach, y);
            for (int x = reach.left; x < reach.right; ++x) {
                const float share = static_cast<float>(CoverageOf(part.shape, x, y, 1));
                if (share <= 0) continue;
                const std::size_t index = canvas.IndexOf(x, y);
                canvas.pixels[index] = Mix(canvas.pixels[index], colour, share);
                cover[index] = 1 - (1 - cover[index]) * (1 - share);
                touched.Add(x, y);
            }
        }
    }
}

// Gives the touched pixels to their thing and clears `cover` for the next one.
void TakePixels(const PixelBox& touched, std::uint16_t owner, const Canvas& canvas, std::vector<float>& cover,
                std::vector<std::uint16_t>& owners) {
    for (int y = touched.top; y < touched.bottom; ++y)
        for (int x = touched.left; x < touched.right; ++x) {
            const std::size_t index = canvas.IndexOf(x, y);
            const bool isFree = owners[index] == 0;
            if (cover[index] >= 0.5f || (cover[index] > 0 && isFree)) owners[index] = owner;
            cover[index] = 0;
        }
}

// Sum of four bytes of chance: near enough to a bell curve.  Mean 510, standard deviation 147.8.
int BellOf(std::uint64_t chance) {
    return static_cast<int>((chance >> 56) + (chance >> 48 & 255) + (chance >> 40 & 255) + (chance >> 32 & 255));
}

void AddNoiseTo(std::vector<std::uint8_t>& plane, double deviation, std::uint64_t seed) {
    const float scale = static_cast<float>(deviation / 147.8);
    std::uint64_t state = seed;
    for (std::uint8_t& sample : plane) {
        state =
            state * 6364136223846793005 + 1442695040888963407;  // a linear congruence; its upper half is good enough here
        sample = ByteOf(static_cast<float>(sample) + scale * static_cast<float>(BellOf(state) - 510));
    }
}

}  // namespace

Scene::Scene(const Settings& settings) : Scene(settings, ActorsOf(Checked(settings))) {}

Scene::Scene(const Settings& settings, std::vector<Actor> actors)
    : _settings(Checked(settings)),
      _backdrop(settings.width, settings.height, settings.seed, settings.wind),
      _water(settings.seed, settings.water, settings.wind),
      _foliage(settings.width, settings.height, settings.seed, settings.foliage, settings.wind),
      _actors(std::move(actors)) {}

void Scene::Render(int number, Frame& frame) const { Render(number, true, frame); }

void Scene::RenderEmpty(int number, Frame& frame) const { Render(number, false, frame); }

void Scene::Render(int number, bool withActors, Frame& frame) const {
    Canvas canvas(_settings.width, _settings.height);
    Begin(ShownAt(number), frame, canvas);
    if (withActors) PaintActors(frame, canvas);
    Disturb(frame, canvas);
    Expose(canvas, frame);
    AddNoise(frame);
    frame.number = number;
    frame.seconds = number / _settings.fps;
    if (IsOn(_settings.disturbances, DisturbanceKind::Frozen, frame.seconds))
        frame.disturbances.push_back(DisturbanceKind::Frozen);
}

// The frame that is to be seen: where the picture is frozen, the first of those that are.
int Scene::ShownAt(int number) const {
    const auto isFrozen = [this](int frame) {
        return IsOn(_settings.disturbances, DisturbanceKind::Frozen, frame / _settings.fps);
    };
    while (number > 0 && isFrozen(number) && isFrozen(number - 1)) --number;
    return number;
}

void Scene::Begin(int number, Frame& frame, Canvas& canvas) const {
    frame.number = number;
    frame.seconds = number / _settings.fps;
    frame.width = _settings.width;
    frame.height = _settings.height;
    frame.mask.assign(canvas.pixels.size(), maskEmpty);
    frame.things.clear();
    frame.disturbances = KindsAt(_settings.disturbances, frame.seconds);
    std::erase(frame.disturbances, DisturbanceKind::Frozen);
    _backdrop.Paint(frame.seconds, canvas);
    _water.Paint(frame.seconds, canvas);
    _foliage.Paint(frame.seconds, canvas);
}

void Scene::PaintActors(Frame& frame, Canvas& canvas) const {
    std::vector<Present> present;
    for (const Actor& actor : _actors) {
        if (frame.seconds < actor.Start() || frame.seconds > actor.End()) continue;
        present.push_back({frame.things.size(), FigureOf(actor, frame.seconds, _settings.height)});
        frame.things.push_back({.id = actor.id, .kind = actor.kind, .box = {}, .shadow = {}});
    }
    for (const Present& one : present) PaintShadow(one.figure, canvas, frame, frame.things[one.thing].shadow);

    std::stable_sort(present.begin(), present.end(),
                     [](const Present& a, const Present& b) { return a.figure.ground < b.figure.ground; });
    std::vector<float> cover(canvas.pixels.size());
    std::vector<std::uint16_t> owners(canvas.pixels.size());  // 0, or position in frame.things + 1
    for (const Present& one : present) {
        PixelBox touched;
        PaintParts(one.figure, canvas, cover, touched);
        TakePixels(touched, static_cast<std::uint16_t>(one.thing + 1), canvas, cover, owners);
    }
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x)
            if (const std::uint16_t owner = owners[canvas.IndexOf(x, y)]) {
                frame.things[owner - 1u].box.Add(x, y);
                frame.mask[canvas.IndexOf(x, y)] = maskThing;
            }
    std::erase_if(frame.things, [](const Thing& thing) { return thing.box.IsEmpty() && thing.shadow.IsEmpty(); });
}

// Everything between the things and the sensor.  The slow light is always there.
void Scene::Disturb(Frame& frame, Canvas& canvas) const {
    const DisturbancePlan& plan = _settings.disturbances;
    const double seconds = frame.seconds;
    PaintHeadlights(plan, seconds, canvas);
    const CameraPose pose = PoseAt(plan, seconds, frame.number, _settings.seed, _settings.height);
    if (!pose.IsStill()) MoveCamera(pose, canvas, frame);
    PaintWeather(plan, seconds, frame.number, _settings.seed, canvas);
    Illuminate(plan, seconds, static_cast<float>(1 + driftStrength * Swing(seconds / driftCycle)), canvas);
    PaintLensObstacles(plan, seconds, _settings.seed, canvas);
    if (CoverAt(plan, seconds) < 1) return;
    frame.mask.assign(frame.mask.size(), maskEmpty);
    frame.things.clear();
}

// Floats to bytes: luma per pixel, chroma as the mean of up to four.
void Scene::Expose(const Canvas& canvas, Frame& frame) const {
    frame.y.resize(canvas.pixels.size());
    for (std::size_t i = 0; i < canvas.pixels.size(); ++i)
        frame.y[i] = std::clamp(ByteOf(canvas.pixels[i].y), blackLuma, whiteLuma);

    const int columns = (frame.width + 1) / 2, rows = (frame.height + 1) / 2;
    frame.cb.clear();
    frame.cr.clear();
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const int x = 2 * column, y = 2 * row;
            const int right = std::min(x + 1, frame.width - 1), below = std::min(y + 1, frame.height - 1);
            float cb = 0, cr = 0;
            for (const std::size_t index :
                 {canvas.IndexOf(x, y), canvas.IndexOf(right, y), canvas.IndexOf(x, below), canvas.IndexOf(right, below)}) {
                cb += canvas.pixels[index].cb;
                cr += canvas.pixels[index].cr;
            }
            frame.cb.push_back(ByteOf(cb / 4));
            frame.cr.push_back(ByteOf(cr / 4));
        }
}

void Scene::AddNoise(Frame& frame) const {
    const std::uint64_t seed = Scramble(Scramble(_settings.seed, 'N'), static_cast<std::uint64_t>(frame.number));
    AddNoiseTo(frame.y, _settings.noise, seed);
    if (IsOn(_settings.disturbances, DisturbanceKind::Infrared, frame.seconds)) return;  // a grey picture's chroma is exact
    AddNoiseTo(frame.cb, _settings.noise / 2, Scramble(seed, 1));  // chroma is smoothed by cameras and by its resolution
    AddNoiseTo(frame.cr, _settings.noise / 2, Scramble(seed, 2));
}

}  // namespace MdScene
